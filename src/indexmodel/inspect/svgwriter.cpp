#include "inspect/svgwriter_p.h"

#include "inspect/shortened.h"

#include <algorithm>

namespace inspect {

namespace {

constexpr qreal c_nBadgeHeight = 18;
constexpr qreal c_nBadgeFont = 12;
constexpr qreal c_nBadgeBaseline = 13;

} // namespace

QString CSvgWriter::number(qreal value)
{
    return QString::number(value, 'f', 1);
}

QRectF CSvgWriter::badgeArea(int number)
{
    const qreal nText = textWidth(QString::number(number), c_nBadgeFont);
    return { 0, 0, std::max(c_nBadgeHeight, nText + 10), c_nBadgeHeight };
}

void CSvgWriter::begin(const char* pszElement, const QString& cssClass)
{
    m_xml.writeStartElement(QLatin1String(pszElement));
    if (!cssClass.isEmpty()) {
        attribute("class", cssClass);
    }
}

void CSvgWriter::attribute(const char* pszName, const QString& value)
{
    m_xml.writeAttribute(QLatin1String(pszName), value);
}

void CSvgWriter::place(const QRectF& rect)
{
    attribute("x", number(rect.x()));
    attribute("y", number(rect.y()));
    attribute("width", number(std::max(1.0, rect.width())));
    attribute("height", number(std::max(1.0, rect.height())));
}

void CSvgWriter::rect(const QString& cssClass, const QRectF& rect, qreal radius)
{
    begin("rect", cssClass);
    place(rect);
    if (radius > 0) {
        attribute("rx", number(radius));
    }
    end();
}

void CSvgWriter::line(const QString& cssClass, const QPointF& from, const QPointF& to)
{
    begin("line", cssClass);
    attribute("x1", number(from.x()));
    attribute("y1", number(from.y()));
    attribute("x2", number(to.x()));
    attribute("y2", number(to.y()));
    end();
}

void CSvgWriter::text(const QString& cssClass, const QPointF& baseline, const QString& text)
{
    if (text.isEmpty()) {
        return;
    }
    begin("text", cssClass);
    attribute("x", number(baseline.x()));
    attribute("y", number(baseline.y()));
    m_xml.writeCharacters(text);
    end();
}

QRectF CSvgWriter::badge(const QPointF& corner, int number)
{
    const QRectF area = badgeArea(number).translated(corner);
    begin("g", QStringLiteral("tag"));
    rect(QStringLiteral("badge"), area, 3);
    text(QStringLiteral("number"), { area.center().x(), area.top() + c_nBadgeBaseline },
         QString::number(number));
    end();
    return area;
}

} // namespace inspect
