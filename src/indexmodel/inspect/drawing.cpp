#include "inspect/drawing.h"

#include <QXmlStreamWriter>

#include <algorithm>

namespace inspect {

namespace {

using KW::ElementTree;

constexpr qreal c_nWidth = 1200; // of the picture; the desktop is scaled to it
constexpr qreal c_nMargin = 16;
constexpr qreal c_nTitle = 40;
constexpr qreal c_nLine = 20;
constexpr qreal c_nLabel = 18; // the strip with a window's name
constexpr qreal c_nGap = 3;
constexpr qreal c_nFrame = 5; // of a screen

const QString& styleSheet()
{
    static const QString s_style = QStringLiteral(
        "text{font:13px 'Noto Sans CJK SC','Microsoft YaHei',sans-serif;fill:#1d2733}"
        ".title{font-size:18px;font-weight:bold}"
        ".screen{fill:#eef1f5;stroke:#5b6878;stroke-width:2}"
        ".guessed{stroke-dasharray:8 5}"
        ".screenname{fill:#5b6878}"
        ".window{fill-opacity:.82;stroke-width:2}"
        ".main{stroke-width:4}"
        ".panel{fill:#fff;fill-opacity:.75;stroke:#8a96a5}"
        ".off{fill:#b3261e}");
    return s_style;
}

const QStringList& fills()
{
    static const QStringList s_fills { "#cfe3ff", "#ffe3c2", "#d5f0d6", "#f3d6f0",
                                       "#fff3b8", "#d2f0f0", "#f8d4d4", "#dfdaf6" };
    return s_fills;
}

const QStringList& strokes()
{
    static const QStringList s_strokes { "#2f6fbf", "#c0741a", "#3a8c40", "#9a3f92",
                                         "#a38a00", "#2b8686", "#b54343", "#5d4fb0" };
    return s_strokes;
}

QString number(qreal value)
{
    return QString::number(value, 'f', 1);
}

QString placeText(const QRectF& rect)
{
    return QStringLiteral("%1,%2 %3x%4")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

QString labelOf(const KW::CLayoutWindow& window)
{
    QString strLabel = QStringLiteral("group %1").arg(window.m_nPanelGroupId);
    strLabel += window.m_bIsMain ? QStringLiteral(" ★ main") : QString();
    strLabel += window.m_bMaximized ? QStringLiteral(" □ maximized") : QString();
    return window.m_strNavTree.isEmpty() ? strLabel
                                         : strLabel + QStringLiteral(" · ") + window.m_strNavTree;
}

class CPainter {
public:
    CPainter(QXmlStreamWriter& xml, const Drawing& drawing)
        : m_xml(xml)
        , m_drawing(drawing)
    {
        for (const Screen& screen : drawing.screens) {
            m_desktop |= screen.rect;
        }
        m_nScale = m_desktop.isEmpty() ? 1 : (c_nWidth - 2 * c_nMargin) / m_desktop.width();
        for (const KW::CLayoutWindow& window : drawing.windows) {
            (isOffScreen(window, drawing.screens) ? m_off : m_on).append(window);
        }
    }

    void paint();

private:
    QRectF scaled(const QRectF& rect) const;
    qreal height() const;
    void rect(const QString& cssClass, const QRectF& rect, int color = -1);
    void text(const QString& cssClass, const QPointF& at, const QString& text, qreal width);
    void screen(const Screen& screen);
    void window(const KW::CLayoutWindow& window, int color);
    void panel(const ElementTree& element, const QRectF& area);
    void split(const QVector<ElementTree>& parts, const ElementTree& splitter, const QRectF& area);
    void tabs(const QVector<ElementTree>& pages, int current, const QRectF& area);
    void offScreen();

    QXmlStreamWriter& m_xml;
    const Drawing& m_drawing;
    QRectF m_desktop;
    qreal m_nScale = 1;
    QVector<KW::CLayoutWindow> m_on;
    QVector<KW::CLayoutWindow> m_off;
};

QRectF CPainter::scaled(const QRectF& rect) const
{
    const QPointF origin(c_nMargin, c_nMargin + c_nTitle + c_nLine);
    return { origin + (rect.topLeft() - m_desktop.topLeft()) * m_nScale, rect.size() * m_nScale };
}

qreal CPainter::height() const
{
    const qreal nOff = m_off.isEmpty() ? 0 : c_nLine * (m_off.size() + 2);
    return 2 * c_nMargin + c_nTitle + c_nLine + m_desktop.height() * m_nScale + nOff;
}

void CPainter::paint()
{
    m_xml.writeStartElement("svg");
    m_xml.writeDefaultNamespace("http://www.w3.org/2000/svg");
    m_xml.writeAttribute("width", number(c_nWidth));
    m_xml.writeAttribute("height", number(height()));
    m_xml.writeAttribute("viewBox", QStringLiteral("0 0 %1 %2").arg(c_nWidth).arg(height()));
    m_xml.writeTextElement("title", m_drawing.strTitle);
    m_xml.writeTextElement("style", styleSheet());
    m_xml.writeEmptyElement("rect");
    m_xml.writeAttribute("width", "100%");
    m_xml.writeAttribute("height", "100%");
    m_xml.writeAttribute("fill", "#fff");
    text("title", { c_nMargin, c_nMargin + 18 }, m_drawing.strTitle, c_nWidth - 2 * c_nMargin);
    for (const Screen& each : m_drawing.screens) {
        screen(each);
    }
    for (int i = 0; i < m_on.size(); ++i) {
        window(m_on[i], i);
    }
    offScreen();
    m_xml.writeEndElement();
}

void CPainter::rect(const QString& cssClass, const QRectF& rect, int color)
{
    m_xml.writeEmptyElement("rect");
    m_xml.writeAttribute("class", cssClass);
    m_xml.writeAttribute("x", number(rect.x()));
    m_xml.writeAttribute("y", number(rect.y()));
    m_xml.writeAttribute("width", number(std::max(1.0, rect.width())));
    m_xml.writeAttribute("height", number(std::max(1.0, rect.height())));
    if (color >= 0) {
        m_xml.writeAttribute("fill", fills()[color % fills().size()]);
        m_xml.writeAttribute("stroke", strokes()[color % strokes().size()]);
    }
}

// Text is cut at the width that it has; the whole of it shows as a tooltip.
void CPainter::text(const QString& cssClass, const QPointF& at, const QString& text, qreal width)
{
    m_xml.writeStartElement("svg");
    m_xml.writeAttribute("x", number(at.x()));
    m_xml.writeAttribute("y", number(at.y() - c_nLabel));
    m_xml.writeAttribute("width", number(std::max(1.0, width)));
    m_xml.writeAttribute("height", number(c_nLabel * 1.5));
    m_xml.writeStartElement("text");
    m_xml.writeAttribute("class", cssClass);
    m_xml.writeAttribute("y", number(c_nLabel));
    m_xml.writeTextElement("title", text);
    m_xml.writeCharacters(text);
    m_xml.writeEndElement();
    m_xml.writeEndElement();
}

void CPainter::screen(const Screen& screen)
{
    const QRectF area = scaled(screen.rect);
    const bool bKnown = screen.source == ScreenSource::Maximized;
    // Its frame and name stay outside: a maximized window covers the rest.
    rect(bKnown ? "screen" : "screen guessed",
         area.adjusted(-c_nFrame, -c_nFrame, c_nFrame, c_nFrame));
    text("screenname", area.topLeft() - QPointF(c_nFrame, c_nFrame + 4),
         QStringLiteral("screen %1%2 %3")
             .arg(QString::number(screen.nId), bKnown ? QString() : QStringLiteral(", at least"),
                  placeText(screen.rect)),
         area.width());
}

void CPainter::window(const KW::CLayoutWindow& window, int color)
{
    const QRectF area = scaled(areaOf(window));
    m_xml.writeStartElement("g");
    m_xml.writeTextElement("title",
                           labelOf(window) + QLatin1Char('\n') + placeText(areaOf(window)));
    rect(window.m_bIsMain ? "window main" : "window", area, color);
    text("label", area.topLeft() + QPointF(6, c_nLabel - 3), labelOf(window), area.width() - 12);
    panel(KW::panelTree(window), area.adjusted(c_nGap, c_nLabel + c_nGap, -c_nGap, -c_nGap));
    m_xml.writeEndElement();
}

// Panels by what docked trees usually look like: splitters, tabs, named leaves. Whatever else is in
// a tree shares its place evenly.
void CPainter::panel(const ElementTree& element, const QRectF& area)
{
    if (!element.isElement() || area.width() < 4 || area.height() < 4) {
        return;
    }
    const QVector<ElementTree> parts = element.elements();
    if (parts.isEmpty()) {
        const QString strName = element.attribute("name", element.strName);
        rect("panel", area);
        text("panelname", area.topLeft() + QPointF(5, c_nLabel - 2), strName, area.width() - 8);
    } else if (element.hasAttribute("current")) {
        tabs(parts, element.attribute("current").toInt(), area);
    } else {
        split(parts, element, area);
    }
}

void CPainter::split(const QVector<ElementTree>& parts, const ElementTree& splitter,
                     const QRectF& area)
{
    const bool bVertical = splitter.attribute("orientation") == QLatin1String("vertical");
    bool bOk = false;
    const qreal nRatio = splitter.attribute("ratio").toDouble(&bOk);
    const bool bRatio = bOk && parts.size() == 2 && nRatio > 0 && nRatio < 1;
    qreal nFrom = 0;
    for (int i = 0; i < parts.size(); ++i) {
        const qreal nShare = bRatio ? (i == 0 ? nRatio : 1 - nRatio) : 1.0 / parts.size();
        QRectF part = area;
        if (bVertical) {
            part.setTop(area.top() + nFrom * area.height());
            part.setHeight(nShare * area.height() - (i + 1 < parts.size() ? c_nGap : 0));
        } else {
            part.setLeft(area.left() + nFrom * area.width());
            part.setWidth(nShare * area.width() - (i + 1 < parts.size() ? c_nGap : 0));
        }
        panel(parts[i], part);
        nFrom += nShare;
    }
}

void CPainter::tabs(const QVector<ElementTree>& pages, int current, const QRectF& area)
{
    QStringList names;
    for (int i = 0; i < pages.size(); ++i) {
        const QString strName = panelNames(pages[i]).value(0, pages[i].strName);
        names.append(i == current ? QLatin1Char('[') + strName + QLatin1Char(']') : strName);
    }
    rect("panel", area);
    text("panelname", area.topLeft() + QPointF(5, c_nLabel - 2), names.join(" | "),
         area.width() - 8);
    const ElementTree page = pages.value(current);
    if (!page.elements().isEmpty()) {
        panel(page, area.adjusted(c_nGap, c_nLabel + c_nGap, -c_nGap, -c_nGap));
    }
}

void CPainter::offScreen()
{
    QPointF at(c_nMargin, height() - c_nMargin - c_nLine * m_off.size());
    if (!m_off.isEmpty()) {
        text("off", at, QStringLiteral("off every screen:"), c_nWidth - 2 * c_nMargin);
    }
    for (const KW::CLayoutWindow& window : qAsConst(m_off)) {
        at += QPointF(0, c_nLine);
        text("off", at,
             QStringLiteral("%1 — %2, screen %3: %4")
                 .arg(labelOf(window), placeText(areaOf(window)),
                      QString::number(window.m_nScreenId),
                      panelNames(KW::panelTree(window)).join(", ")),
             c_nWidth - 2 * c_nMargin);
    }
}

} // namespace

QByteArray toSvg(const Drawing& drawing)
{
    QByteArray svg;
    QXmlStreamWriter xml(&svg);
    xml.writeStartDocument();
    writeSvg(xml, drawing);
    xml.writeEndDocument();
    return svg;
}

void writeSvg(QXmlStreamWriter& xml, const Drawing& drawing)
{
    CPainter(xml, drawing).paint();
}

} // namespace inspect
