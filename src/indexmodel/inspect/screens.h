#pragma once

#include "inspect/userrecords.h"

namespace inspect {

enum class ScreenSource {
    Maximized, ///< a maximized window shows its size, or somebody has told it
    Windows, ///< at least as large as its windows together
};

/// A screen as far as the windows on it tell: a file does not describe screens.
struct Screen {
    int nId = 0;
    QRectF rect; ///< pixels of the whole desktop
    ScreenSource source = ScreenSource::Windows;
};

/// The screens of \a windows, by number. Windows without a size, or farther out than any desktop
/// reaches, tell nothing.
QVector<Screen> screensOf(const QVector<KW::CLayoutWindow>& windows);

/// Screens that somebody has told, numbered from 1 on.
struct ScreenList {
    QVector<Screen> screens;
    QString strError; ///< for people; empty: all is understood
};

/// Reads "1920x1080+0+0,2560x1440-2560+0": width, height, left and top of each in pixels of the
/// whole desktop, where "+-2560" is "-2560", too. There is one at least; all have a size, lie where
/// a desktop can reach and overlap nowhere, else that is the error and there are no screens.
ScreenList screensFromText(const QString& text);

/// All windows of a user, current ones and templates.
QVector<KW::CLayoutWindow> windowsOf(const UserRecords& records);

/// Whether no part of \a window lies on any of \a screens.
bool isOffScreen(const KW::CLayoutWindow& window, const QVector<Screen>& screens);

/// Whether \a area is wider or higher than a desktop can be.
bool isLargerThanAnyDesktop(const QRectF& area);

/// Which of \a windows lie off the screens, by their places in the list. As many of both as a file
/// may hold take hardly more than in proportion to their number.
QVector<int> offScreen(const QVector<KW::CLayoutWindow>& windows, const QVector<Screen>& screens);

} // namespace inspect
