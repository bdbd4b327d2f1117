#include "inspect/panelpainter_p.h"

#include "inspect/shortened.h"
#include "inspect/userrecords.h"

namespace inspect {

namespace {

using KW::ElementTree;

constexpr qreal c_nPanelGap = 3;
constexpr qreal c_nLabel = 18; // the strip with a panel's name
constexpr qreal c_nPanelFont = 12;
constexpr qreal c_nLeast = 4;

void label(CSvgWriter& svg, const QString& text, const QRectF& area)
{
    svg.rect(QStringLiteral("panel"), area);
    if (area.height() >= c_nLabel) {
        svg.text(QStringLiteral("panelname"), area.topLeft() + QPointF(5, c_nLabel - 4),
                 shortened(text, area.width() - 8, c_nPanelFont));
    }
}

void paintTabs(CSvgWriter& svg, const QVector<ElementTree>& pages, int current, const QRectF& area)
{
    QStringList names;
    for (int i = 0; i < pages.size(); ++i) {
        const QString strName = panelNames(pages[i]).value(0, pages[i].strName);
        names.append(i == current ? QLatin1Char('[') + strName + QLatin1Char(']') : strName);
    }
    label(svg, names.join(QStringLiteral(" | ")), area);
    const ElementTree page = pages.value(current);
    if (!page.elements().isEmpty()) {
        paintPanels(svg, page,
                    area.adjusted(c_nPanelGap, c_nLabel + c_nPanelGap, -c_nPanelGap, -c_nPanelGap));
    }
}

// The share of each part: a ratio tells it for two.
QVector<qreal> sharesOf(const ElementTree& splitter, int parts)
{
    bool bOk = false;
    const qreal nRatio = splitter.attribute(QStringLiteral("ratio")).toDouble(&bOk);
    return bOk && parts == 2 && nRatio > 0 && nRatio < 1 ? QVector<qreal> { nRatio, 1 - nRatio }
                                                         : QVector<qreal>(parts, 1.0 / parts);
}

void paintSplit(CSvgWriter& svg, const QVector<ElementTree>& parts, const ElementTree& splitter,
                const QRectF& area)
{
    const bool bVertical
        = splitter.attribute(QStringLiteral("orientation")) == QLatin1String("vertical");
    const QVector<qreal> shares = sharesOf(splitter, parts.size());
    QPointF corner = area.topLeft();
    for (int i = 0; i < parts.size(); ++i) {
        const qreal nGap = i + 1 < parts.size() ? c_nPanelGap : 0;
        const QSizeF size = bVertical ? QSizeF(area.width(), shares[i] * area.height())
                                      : QSizeF(shares[i] * area.width(), area.height());
        QRectF part(corner, size);
        corner = bVertical ? part.bottomLeft() : part.topRight();
        part.adjust(0, 0, bVertical ? 0 : -nGap, bVertical ? -nGap : 0);
        paintPanels(svg, parts[i], part);
    }
}

} // namespace

void paintPanels(CSvgWriter& svg, const KW::ElementTree& panels, const QRectF& area)
{
    if (!panels.isElement() || area.width() < c_nLeast || area.height() < c_nLeast) {
        return;
    }
    const QVector<ElementTree> parts = panels.elements();
    if (parts.isEmpty()) {
        label(svg, panels.attribute(QStringLiteral("name"), panels.strName), area);
    } else if (panels.hasAttribute(QStringLiteral("current"))) {
        paintTabs(svg, parts, panels.attribute(QStringLiteral("current")).toInt(), area);
    } else {
        paintSplit(svg, parts, panels, area);
    }
}

} // namespace inspect
