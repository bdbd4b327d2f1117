#include "inspect/legend_p.h"

#include "inspect/shortened.h"

#include <algorithm>
#include <numeric>

namespace inspect {

namespace {

constexpr qreal c_nRow = 26;
constexpr qreal c_nBaseline = 17;
constexpr qreal c_nCellFont = 13;
constexpr qreal c_nColumnGap = 16; // between columns
constexpr qreal c_nNames = 190; // of a column that may be shortened, at least

// Of names and panels, in the order of legendColumns(), those that any window has.
QVector<int> columnsOfNames(const Scene& scene)
{
    QVector<int> columns;
    for (const int nColumn : { 1, 2 }) {
        const auto isThere = [nColumn](const SceneWindow& window) {
            return !legendCells(window)[nColumn].isEmpty();
        };
        if (std::any_of(scene.windows.begin(), scene.windows.end(), isThere)) {
            columns.append(nColumn);
        }
    }
    return columns;
}

// The whole of what is shortened shows as a tooltip.
void paintCell(CSvgWriter& svg, const QString& text, const QString& shown, const char* pszRole,
               const QPointF& at)
{
    svg.begin("g");
    svg.attribute("role", QLatin1String(pszRole));
    svg.attribute("aria-label", text);
    svg.xml().writeTextElement(QStringLiteral("title"), text);
    svg.text({}, at + QPointF(0, c_nBaseline), shown);
    svg.end();
}

} // namespace

QStringList legendColumns()
{
    return { "no.", "window", "panels", "group", "place", "size", "screen", "remarks" };
}

QStringList legendCells(const SceneWindow& window)
{
    const QRectF area = areaOf(window.placed.window);
    return { QString::number(window.placed.nNumber),
             window.placed.window.m_strNavTree,
             window.panels(),
             QString::number(window.placed.window.m_nPanelGroupId),
             placeText(area),
             sizeText(area),
             QString::number(window.placed.window.m_nScreenId),
             (window.changes + window.remarks).join(QStringLiteral(", ")) };
}

QString legendClass(const SceneWindow& window)
{
    QStringList classes;
    if (window.isAmiss()) {
        classes.append(QStringLiteral("amiss"));
    }
    if (window.placed.window.m_bIsMain && window.isDrawn()) {
        classes.append(QStringLiteral("main"));
    }
    if (window.fate != WindowFate::Same) {
        static const QStringList s_fates { {}, "changed", "new", "gone" };
        classes.append(s_fates[static_cast<int>(window.fate)]);
    }
    return classes.join(QLatin1Char(' '));
}

CLegend::CLegend(const Scene& scene)
    : m_scene(scene)
    , m_names(columnsOfNames(scene))
    , m_widths(legendColumns().size(), 0)
{
    const auto widen = [this](const QStringList& cells) {
        for (int i = 0; i < cells.size(); ++i) {
            const qreal nWidth
                = m_names.contains(i) ? c_nNames : textWidth(cells[i], c_nCellFont) + c_nColumnGap;
            m_widths[i] = std::max(m_widths[i], nWidth);
        }
    };
    widen(legendColumns());
    for (const SceneWindow& window : scene.windows) {
        widen(legendCells(window));
    }
}

QSizeF CLegend::size() const
{
    return { std::accumulate(m_widths.begin(), m_widths.end(), 0.0),
             c_nRow * (m_scene.windows.size() + 1) };
}

void CLegend::paintCells(CSvgWriter& svg, const QStringList& cells, int first, const char* pszRole,
                         const QPointF& row) const
{
    qreal nLeft = row.x();
    for (int i = 0; i < cells.size(); ++i) {
        if (i >= first) {
            const QString strShown = m_names.contains(i)
                ? shortened(cells[i], m_widths[i] - c_nColumnGap, c_nCellFont)
                : cells[i];
            paintCell(svg, cells[i], strShown, pszRole, { nLeft, row.y() });
        }
        nLeft += m_widths[i];
    }
}

void CLegend::paintRow(CSvgWriter& svg, const SceneWindow& window, const QPointF& at, qreal width,
                       const QString& id) const
{
    const QStringList cells = legendCells(window);
    svg.begin("g", (QStringLiteral("row ") + legendClass(window)).trimmed());
    svg.attribute("id", legendRowId(id, window));
    svg.attribute("role", QStringLiteral("row"));
    svg.line(QStringLiteral("rule"), at, at + QPointF(width, 0));
    svg.begin("g");
    svg.attribute("role", QStringLiteral("cell"));
    svg.attribute("aria-label", cells.first());
    svg.badge(at + QPointF(0, 4), window.placed.nNumber);
    svg.end();
    paintCells(svg, cells, 1, "cell", at);
    svg.end();
}

void CLegend::paint(CSvgWriter& svg, const QPointF& corner, qreal width, const QString& id)
{
    const qreal nMore = std::max(0.0, width - size().width());
    for (const int nColumn : qAsConst(m_names)) {
        m_widths[nColumn] += nMore / m_names.size();
    }
    svg.begin("g", QStringLiteral("legend"));
    svg.attribute("role", QStringLiteral("table"));
    svg.attribute("aria-label", QStringLiteral("Windows"));
    svg.begin("g", QStringLiteral("columns"));
    svg.attribute("role", QStringLiteral("row"));
    paintCells(svg, legendColumns(), 0, "columnheader", corner);
    svg.end();
    QPointF at = corner;
    for (const SceneWindow& window : m_scene.windows) {
        at += QPointF(0, c_nRow);
        paintRow(svg, window, at, width, id);
    }
    svg.end();
}

QString windowId(const QString& id, const SceneWindow& window)
{
    return QStringLiteral("%1-window-%2").arg(id).arg(window.placed.nNumber);
}

QString legendRowId(const QString& id, const SceneWindow& window)
{
    return QStringLiteral("%1-row-%2").arg(id).arg(window.placed.nNumber);
}

} // namespace inspect
