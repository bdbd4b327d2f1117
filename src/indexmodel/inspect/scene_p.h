#pragma once

#include "inspect/drawing.h"
#include "inspect/windowchanges.h"

#include <QStringList>

namespace inspect {

/// A window of a picture and of its legend.
struct SceneWindow {
    PlacedWindow placed; ///< of one that is gone, where it was
    WindowFate fate = WindowFate::Same;
    std::optional<QRectF> before; ///< where it was shown, if that is elsewhere or it is gone
    QStringList changes; ///< since the earlier layout
    QStringList remarks; ///< "main", "62 % seen", "completely covered"

    bool isDrawn() const; ///< not one that is gone, nor one that the picture has no place for
    bool isAmiss() const; ///< its user hardly wants it so
    QString name() const; ///< its navigation tree, else its panels
    QString panels() const;
    QString label() const; ///< all of it in one line
};

/// What a picture and its legend are made of.
struct Scene {
    QString strTitle;
    QVector<SceneWindow> windows; ///< by number; those that are gone at the end
    QVector<Screen> screens;
    QRectF desktop; ///< null without screens
    std::optional<QString> before; ///< the name of the earlier layout

    bool isCompared() const { return before.has_value(); }
    QStringList summary() const; ///< "7 windows on 3 screens", "2 are completely covered"
};

Scene sceneOf(const Drawing& drawing);

/// "screen 2 1920,-200 2560x1400"; "at least" where its size is a guess.
QString screenText(const Screen& screen);

/// "1 window", "12 windows".
QString counted(int count, const char* pszOne, const char* pszMany);

} // namespace inspect
