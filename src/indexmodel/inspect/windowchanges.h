#pragma once

#include "inspect/windowplaces.h"

#include <QStringList>

namespace inspect {

enum class WindowFate {
    Same,
    Changed,
    New,
    Gone,
};

/// What became of one window from one layout to another.
struct WindowChange {
    WindowFate fate = WindowFate::Same;
    int nBefore = -1; ///< its index in the layout before; -1 for a new one
    int nAfter = -1; ///< its index in the layout after; -1 for one that is gone
    bool bMoved = false; ///< its place or size is another
    QStringList notes; ///< for people: "moved +120,+80 (was 0,0)"
};

/// Windows belong together by their panel group; of several of one group those that are the same,
/// then those of one name and place, of one name, of one place, then the first with the first.
/// Those of \a after in their order, then those that are gone in the order of \a before.
QVector<WindowChange> windowChanges(const QVector<KW::CLayoutWindow>& before,
                                    const QVector<KW::CLayoutWindow>& after);

/// "1920,40" and "1280x960", in full.
QString placeText(const QRectF& rect);
QString sizeText(const QRectF& rect);

/// Both, as screens are told: "1280x960+1920+40".
QString geometryText(const QRectF& rect);

} // namespace inspect
