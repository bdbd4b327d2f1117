#include "inspect/pictureframe_p.h"

#include "inspect/shortened.h"

#include <algorithm>

namespace inspect {

namespace {

constexpr qreal c_nWidthOfAScreen = 720;
constexpr qreal c_nLeastWidth = 960;
constexpr qreal c_nMostWidth = 2600;
constexpr qreal c_nWidthOnAPage = 1040;
constexpr qreal c_nMostHeight = 1400;
constexpr qreal c_nWidthOfAWindow = 110; // room for a number and a short name
constexpr qreal c_nLine = 20;
constexpr qreal c_nLabelFont = 13;
constexpr int c_nMostLabels = 32; // nobody tells more screens apart

qreal medianWidth(const Scene& scene)
{
    QVector<qreal> widths;
    for (const SceneWindow& window : scene.windows) {
        if (window.isDrawn()) {
            widths.append(window.placed.area.width());
        }
    }
    std::sort(widths.begin(), widths.end());
    return widths.isEmpty() ? scene.desktop.width() : widths[widths.size() / 2];
}

// As wide as the screens beside each other need, wider for small windows, never without end.
qreal scaleOf(const Scene& scene, PictureWidth width)
{
    if (scene.desktop.isEmpty()) {
        return 1;
    }
    if (width == PictureWidth::Page) {
        return std::min(c_nWidthOnAPage / scene.desktop.width(),
                        c_nMostHeight / scene.desktop.height());
    }
    qreal nWidest = 1;
    for (const Screen& screen : scene.screens) {
        nWidest = std::max(nWidest, screen.rect.width());
    }
    const qreal nWidth = c_nWidthOfAScreen * scene.desktop.width() / nWidest;
    const qreal nScale
        = std::max(qBound(c_nLeastWidth, nWidth, c_nMostWidth) / scene.desktop.width(),
                   c_nWidthOfAWindow / medianWidth(scene));
    return std::min(
        { nScale, c_nMostWidth / scene.desktop.width(), c_nMostHeight / scene.desktop.height() });
}

} // namespace

CPictureFrame::CPictureFrame(const Scene& scene, const QPointF& corner, PictureWidth width)
    : m_desktop(scene.desktop)
    , m_nScale(scaleOf(scene, width))
{
    if (scene.screens.size() <= c_nMostLabels) {
        for (const Screen& screen : scene.screens) {
            addLabel(screen, scene.screens);
        }
    }
    const QPointF shift = corner - area().topLeft();
    m_origin += shift;
    for (ScreenLabel& label : m_labels) {
        label.area.translate(shift);
    }
}

QRectF CPictureFrame::scaled(const QRectF& rect) const
{
    return { m_origin + (rect.topLeft() - m_desktop.topLeft()) * m_nScale, rect.size() * m_nScale };
}

QRectF CPictureFrame::area() const
{
    QRectF area = desktop();
    for (const ScreenLabel& label : m_labels) {
        area |= label.area;
    }
    return area;
}

bool CPictureFrame::isFree(const QRectF& area, const QVector<Screen>& screens) const
{
    return std::none_of(screens.begin(), screens.end(),
                        [&](const Screen& screen) { return scaled(screen.rect).intersects(area); })
        && std::none_of(m_labels.begin(), m_labels.end(),
                        [&](const ScreenLabel& label) { return label.area.intersects(area); });
}

// Above or below its screen, where no other screen or name is; otherwise in a line above all.
void CPictureFrame::addLabel(const Screen& screen, const QVector<Screen>& screens)
{
    const QRectF on = scaled(screen.rect);
    const QString strText = screenText(screen);
    for (const QString& text : { strText, QStringLiteral("screen %1").arg(screen.nId) }) {
        for (const qreal nTop : { on.top() - c_nLine, on.bottom() }) {
            const QRectF area(on.left(), nTop, textWidth(text, c_nLabelFont), c_nLine);
            if (isFree(area, screens)) {
                m_labels.append({ area, text });
                return;
            }
        }
    }
    QRectF area(on.left(), desktop().top(), textWidth(strText, c_nLabelFont), c_nLine);
    do {
        area.translate(0, -c_nLine);
    } while (!isFree(area, screens));
    m_labels.append({ area, strText });
}

} // namespace inspect
