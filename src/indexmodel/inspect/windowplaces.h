#pragma once

#include "inspect/screens.h"

namespace inspect {

enum class WindowPlace {
    Shown,
    Covered, ///< nothing of it is seen for the windows above it
    OffScreens, ///< no part of it lies on a screen
    NoSize,
    TooLarge, ///< wider or higher than all screens together
};

/// A window where it is seen.
struct PlacedWindow {
    int nNumber = 0; ///< from 1, as they are stacked: what comes later lies above
    KW::CLayoutWindow window;
    WindowPlace place = WindowPlace::Shown;
    QRectF area; ///< pixels of the desktop; a maximized window fills its screen
    QRectF seen; ///< the piece of it with most room for a label; empty for none
    qreal nOnScreens = 0; ///< of its area, 0 to 1
    qreal nShare = 0; ///< of its area on the screens that is seen, 0 to 1; 1 where nobody can tell
};

/// \a windows, the lowest first, on \a screens: which of them can be seen, and where. Windows are
/// opaque; those off the screens, without a size or too large cover nothing.
///
/// Where the windows above leave more than 20,000 pieces free, none is called covered any more.
///
///     for (const inspect::PlacedWindow& each : inspect::placed(windows, screens)) { ... }
QVector<PlacedWindow> placed(const QVector<KW::CLayoutWindow>& windows,
                             const QVector<Screen>& screens);

/// All screens together; null without any.
QRectF desktopOf(const QVector<Screen>& screens);

} // namespace inspect
