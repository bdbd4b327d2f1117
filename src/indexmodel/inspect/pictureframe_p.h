#pragma once

#include "inspect/scene_p.h"

namespace inspect {

/// The name of a screen, where it is written.
struct ScreenLabel {
    QRectF area; ///< in the picture
    QString strText; ///< its number only, where there is no more room
};

/// How wide a picture may be.
enum class PictureWidth {
    AsNeeded, ///< by its screens, and for small windows
    Page, ///< so that its text can be read where a page shows it
};

/// How a desktop lies in its picture: scale, place and the names of its screens.
class CPictureFrame {
public:
    /// The picture begins at \a corner.
    CPictureFrame(const Scene& scene, const QPointF& corner, PictureWidth width);

    QRectF scaled(const QRectF& rect) const;
    QRectF desktop() const { return scaled(m_desktop); }
    const QVector<ScreenLabel>& labels() const { return m_labels; }
    /// The desktop with the names around it.
    QRectF area() const;

private:
    void addLabel(const Screen& screen, const QVector<Screen>& screens);
    bool isFree(const QRectF& area, const QVector<Screen>& screens) const;

    QRectF m_desktop;
    qreal m_nScale = 1;
    QPointF m_origin;
    QVector<ScreenLabel> m_labels;
};

} // namespace inspect
