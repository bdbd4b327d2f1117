#include "inspect/drawing.h"

#include "inspect/panelpainter_p.h"
#include "inspect/picture_p.h"
#include "inspect/pictureframe_p.h"
#include "inspect/shortened.h"

#include <inspect/pagetexts_p.h>

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace inspect {

namespace {

constexpr qreal c_nMargin = 24;
constexpr qreal c_nHeader = 64; // title and summary
constexpr qreal c_nLeastWidth = 1120;
constexpr qreal c_nBar = 26; // the strip of a window with its number and name
constexpr qreal c_nGap = 4;
constexpr qreal c_nSlack = 2; // what a number may be larger than its room without a harm
constexpr qreal c_nFont = 13;
constexpr qreal c_nHeading = 20;
constexpr QPointF c_pageCorner(2, 2);
constexpr qreal c_nArrowHead = 9;

class CPainter {
public:
    CPainter(QXmlStreamWriter& xml, const Scene& scene, const CPictureFrame& frame,
             const QString& id)
        : m_svg(xml)
        , m_scene(scene)
        , m_frame(frame)
        , m_strId(id)
    {
    }

    CSvgWriter& svg() { return m_svg; }
    void begin(const QSizeF& size);
    void header(const QPointF& corner, qreal width);
    void screens();
    void windows();
    void raised();

private:
    void window(const SceneWindow& window);
    void badgeAndName(const SceneWindow& window, const QRectF& area);
    void tightBadge(const SceneWindow& window);
    void change(const SceneWindow& window);
    QRectF roomOf(const SceneWindow& window) const;
    static bool isTight(const QRectF& room, int number);
    QPointF badgeCorner(const QRectF& room, int number) const;
    void arrow(const QLineF& way);
    QString idOf(const char* pszWhat) const
    {
        return m_strId + QLatin1Char('-') + QLatin1String(pszWhat);
    }

    CSvgWriter m_svg;
    const Scene& m_scene;
    const CPictureFrame& m_frame;
    QString m_strId;
};

void CPainter::begin(const QSizeF& size)
{
    m_svg.begin("svg", QStringLiteral("picture"));
    m_svg.xml().writeDefaultNamespace(QStringLiteral("http://www.w3.org/2000/svg"));
    m_svg.attribute("width", CSvgWriter::number(size.width()));
    m_svg.attribute("height", CSvgWriter::number(size.height()));
    m_svg.attribute("viewBox",
                    QStringLiteral("0 0 %1 %2")
                        .arg(CSvgWriter::number(size.width()), CSvgWriter::number(size.height())));
    m_svg.attribute("role", QStringLiteral("graphics-document document"));
    m_svg.attribute("aria-labelledby", idOf("title"));
    m_svg.attribute("aria-describedby", idOf("desc"));
    for (const auto& [pszName, strText] :
         { std::make_pair("title", m_scene.strTitle),
           std::make_pair("desc", m_scene.summary().join(QStringLiteral("; "))) }) {
        m_svg.begin(pszName);
        m_svg.attribute("id", idOf(pszName));
        m_svg.xml().writeCharacters(strText);
        m_svg.end();
    }
}

void CPainter::header(const QPointF& corner, qreal width)
{
    m_svg.text(QStringLiteral("heading"), corner + QPointF(0, c_nHeading),
               shortened(m_scene.strTitle, width, c_nHeading));
    m_svg.text(QStringLiteral("summary"), corner + QPointF(0, c_nHeading + 22),
               m_scene.summary().join(QStringLiteral(" · ")));
}

void CPainter::screens()
{
    for (const Screen& screen : m_scene.screens) {
        m_svg.begin("g");
        m_svg.attribute("role", QStringLiteral("img"));
        m_svg.attribute("aria-label", screenText(screen));
        m_svg.xml().writeTextElement("title", screenText(screen));
        m_svg.rect(screen.source == ScreenSource::Maximized ? QStringLiteral("screen")
                                                            : QStringLiteral("screen guessed"),
                   m_frame.scaled(screen.rect));
        m_svg.end();
    }
    for (const ScreenLabel& label : m_frame.labels()) {
        m_svg.text(QStringLiteral("screenname"), label.area.topLeft() + QPointF(0, 15),
                   label.strText);
    }
}

// Nothing that lies beyond the desktop is drawn over what stands around it.
void CPainter::windows()
{
    m_svg.begin("clipPath");
    m_svg.attribute("id", idOf("desktop"));
    m_svg.rect({}, m_frame.desktop().adjusted(-1, -1, 1, 1));
    m_svg.end();
    m_svg.begin("g");
    m_svg.attribute("clip-path", QStringLiteral("url(#%1)").arg(idOf("desktop")));
    for (const SceneWindow& each : m_scene.windows) {
        if (each.isDrawn()) {
            window(each);
        }
    }
    for (const SceneWindow& each : m_scene.windows) {
        tightBadge(each);
        change(each);
    }
}

// What a page shows in front of all others, and the end of the group that is clipped.
void CPainter::raised()
{
    m_svg.begin("use", QStringLiteral("raised"));
    m_svg.attribute("aria-hidden", QStringLiteral("true"));
    m_svg.attribute("pointer-events", QStringLiteral("none"));
    m_svg.end();
    m_svg.end();
}

void CPainter::window(const SceneWindow& window)
{
    const QRectF area = m_frame.scaled(window.placed.area);
    m_svg.begin("a", (QStringLiteral("window ") + legendClass(window)).trimmed());
    m_svg.attribute("href", QLatin1Char('#') + legendRowId(m_strId, window));
    m_svg.attribute("aria-label", window.label());
    m_svg.begin("g", legendClass(window));
    m_svg.attribute("id", windowId(m_strId, window));
    m_svg.xml().writeTextElement("title", window.label());
    m_svg.rect(QStringLiteral("face"), area);
    const bool bBar = area.height() > c_nBar + c_nGap && area.width() > c_nGap;
    if (bBar) {
        m_svg.rect(QStringLiteral("bar"),
                   QRectF(area.topLeft(), QSizeF(area.width(), c_nBar)).adjusted(1, 1, -1, 0));
        paintPanels(m_svg, KW::panelTree(window.placed.window),
                    area.adjusted(c_nGap, c_nBar + c_nGap, -c_nGap, -c_nGap));
    }
    badgeAndName(window, area);
    m_svg.end();
    m_svg.end();
}

// Where most of the window is seen, not below another one.
QRectF CPainter::roomOf(const SceneWindow& window) const
{
    return m_frame.scaled(window.placed.seen.isEmpty() ? window.placed.area : window.placed.seen);
}

bool CPainter::isTight(const QRectF& room, int number)
{
    const QSizeF size = CSvgWriter::badgeArea(number).size();
    return room.width() + c_nSlack < size.width() || room.height() + c_nSlack < size.height();
}

// In the corner of its room, in the middle of one that is too small for it, and always on the
// desktop, beyond which nothing is drawn.
QPointF CPainter::badgeCorner(const QRectF& room, int number) const
{
    QRectF badge = CSvgWriter::badgeArea(number);
    badge.moveCenter(room.center());
    if (!isTight(room, number)) {
        badge.moveTopLeft({ std::min(room.left() + c_nGap, badge.left()),
                            std::min(room.top() + c_nGap, badge.top()) });
    }
    const QRectF desktop = m_frame.desktop();
    return { std::max(desktop.left(), std::min(badge.left(), desktop.right() - badge.width())),
             std::max(desktop.top(), std::min(badge.top(), desktop.bottom() - badge.height())) };
}

void CPainter::badgeAndName(const SceneWindow& window, const QRectF& area)
{
    const QRectF room = roomOf(window);
    const int nNumber = window.placed.nNumber;
    const QRectF badge = m_svg.badge(badgeCorner(room, nNumber), nNumber);
    if (!isTight(room, nNumber)) {
        const QPointF at = badge.topRight() + QPointF(6, 14);
        const bool bInBar = room.top() < area.top() + 1 && area.height() > c_nBar + c_nGap;
        m_svg.text(bInBar ? QStringLiteral("name") : QStringLiteral("name over"), at,
                   shortened(window.name(), room.right() - at.x() - c_nGap, c_nFont));
    }
}

// What is seen of a window may be less than its number needs, which then stands over its
// neighbours; in front of them all a page raises it with its own.
void CPainter::tightBadge(const SceneWindow& window)
{
    const QRectF room = roomOf(window);
    const int nNumber = window.placed.nNumber;
    const bool bSeen = window.isDrawn() && window.placed.place != WindowPlace::Covered;
    if (!bSeen || !isTight(room, nNumber)) {
        return;
    }
    m_svg.begin("g", (QStringLiteral("tight ") + legendClass(window)).trimmed());
    m_svg.attribute("aria-hidden", QStringLiteral("true"));
    m_svg.attribute("pointer-events", QStringLiteral("none"));
    m_svg.badge(badgeCorner(room, nNumber), nNumber);
    m_svg.end();
}

// Where a window was, and the way from there.
void CPainter::change(const SceneWindow& window)
{
    if (!window.before) {
        return;
    }
    const QRectF before = m_frame.scaled(*window.before);
    const bool bGone = window.fate == WindowFate::Gone;
    m_svg.begin("g", bGone ? QStringLiteral("gone") : QString());
    m_svg.attribute("role", QStringLiteral("img"));
    m_svg.attribute("aria-label", window.label());
    m_svg.attribute("pointer-events", QStringLiteral("none"));
    m_svg.rect(QStringLiteral("ghost"), before);
    if (bGone) {
        m_svg.badge(badgeCorner(before, window.placed.nNumber), window.placed.nNumber);
    } else if (window.isDrawn()) {
        arrow({ before.center(), m_frame.scaled(window.placed.area).center() });
    }
    m_svg.end();
}

void CPainter::arrow(const QLineF& way)
{
    if (way.length() < 2 * c_nArrowHead) {
        return;
    }
    m_svg.line(QStringLiteral("arrow"), way.p1(), way.pointAt(1 - c_nArrowHead / way.length()));
    QString strPoints;
    for (const qreal nTurn : { 0.0, 155.0, 205.0 }) {
        QLineF edge(way.p2(), way.p2() + (way.p2() - way.p1()));
        edge.setAngle(way.angle() + nTurn);
        edge.setLength(nTurn > 0 ? 1.3 * c_nArrowHead : 0);
        strPoints += CSvgWriter::number(edge.x2()) + ',' + CSvgWriter::number(edge.y2()) + ' ';
    }
    m_svg.begin("polygon", QStringLiteral("head"));
    m_svg.attribute("points", strPoints.trimmed());
    m_svg.end();
}

} // namespace

QByteArray toSvg(const Drawing& drawing)
{
    const Scene scene = sceneOf(drawing);
    const CPictureFrame frame(scene, { c_nMargin, c_nMargin + c_nHeader }, PictureWidth::AsNeeded);
    const qreal nSummary = textWidth(scene.summary().join(QStringLiteral(" · ")), c_nFont);
    CLegend legend(scene);
    const qreal nWidth
        = std::max({ frame.area().width(), legend.size().width(), c_nLeastWidth, nSummary });
    const qreal nLegend = frame.area().bottom() + c_nMargin;
    const QString strId = QStringLiteral("layout");
    QByteArray svg;
    QXmlStreamWriter xml(&svg);
    xml.writeStartDocument();
    CPainter painter(xml, scene, frame, strId);
    painter.begin({ nWidth + 2 * c_nMargin, nLegend + legend.size().height() + c_nMargin });
    xml.writeTextElement("style", QString::fromUtf8(c_szPictureCss));
    painter.svg().begin("rect", QStringLiteral("paper"));
    painter.svg().attribute("width", QStringLiteral("100%"));
    painter.svg().attribute("height", QStringLiteral("100%"));
    painter.svg().end();
    painter.header({ c_nMargin, c_nMargin }, nWidth);
    painter.screens();
    painter.windows();
    painter.svg().end();
    legend.paint(painter.svg(), { c_nMargin, nLegend }, nWidth, strId);
    painter.svg().end();
    xml.writeEndDocument();
    return svg;
}

void writePicture(QXmlStreamWriter& xml, const Scene& scene, const QString& id)
{
    const CPictureFrame frame(scene, c_pageCorner, PictureWidth::Page);
    CPainter painter(xml, scene, frame, id);
    painter.begin(frame.area().size() + 2 * QSizeF(c_pageCorner.x(), c_pageCorner.y()));
    painter.screens();
    painter.windows();
    painter.raised();
    painter.svg().end();
}

QString pictureBox(const Scene& scene, const QRectF& part)
{
    const CPictureFrame frame(scene, c_pageCorner, PictureWidth::Page);
    const QRectF box
        = (part == scene.desktop ? frame.area() : frame.scaled(part)).adjusted(-2, -2, 2, 2);
    QStringList numbers;
    for (const qreal nNumber : { box.x(), box.y(), box.width(), box.height() }) {
        numbers.append(CSvgWriter::number(nNumber));
    }
    return numbers.join(QLatin1Char(' '));
}

} // namespace inspect
