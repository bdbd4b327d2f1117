#pragma once

#include "inspect/screens.h"

namespace inspect {

/// How a window lies on screens that are known.
enum class WindowFit {
    Fits, ///< within one of them; maximized: within the one of its number, if it has a size
    Covered, ///< the same, but nothing of it is seen for the windows above it
    Across, ///< over an edge of a screen
    Off, ///< no part of it lies on a screen; maximized: its screen is not there or elsewhere
    NoSize,
    TooLarge, ///< wider or higher than all screens together
};

/// A window and where it goes on these screens.
struct FittedWindow {
    WindowFit fit = WindowFit::Fits; ///< as it is
    KW::CLayoutWindow before;
    KW::CLayoutWindow after; ///< another place, size and screen at most
};

/// How \a windows, the lowest first, lie on \a screens, of which there is one at least, and where
/// each goes so that all lie on them; in the same order, none left out.
///
/// Windows of one screen_id belong together: they stay where they are if all of them fit, else they
/// go to a new screen together, scaled as their old screen is to the new one, and each is then
/// brought within it. The screen of the main window, or without one the lowest number, goes to the
/// main one; a screen that is still there stays; the others go to those that are left, by rank from
/// left to right; whose screen is missing goes to the main one. A covered window stays: no screen
/// helps it. One without a size gets half of its screen.
///
///     const inspect::ScreenList list = inspect::screensFromText("1920x1080+0+0");
///     if (!inspect::allFit(inspect::fitted(windows, list.screens))) { ... }
QVector<FittedWindow> fitted(const QVector<KW::CLayoutWindow>& windows,
                             const QVector<Screen>& screens);

/// Whether all are within the screens; a covered window is.
bool allFit(const QVector<FittedWindow>& windows);

/// "across", "covered", ...
QString fitName(WindowFit fit);

} // namespace inspect
