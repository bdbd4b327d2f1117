#include "terminal/tabletext.h"

#include <inspect/plaintext.h>

#include <QJsonArray>
#include <QMap>

#include <fmt/color.h>

#include <algorithm>
#include <cwchar>
#include <numeric>

namespace {

constexpr int c_nGap = 2; // before each column
constexpr int c_nReadable = 8; // what is left of a column before the next one has to give
constexpr int c_nFew = 3; // what is left of it at last
const QString c_strMore = QStringLiteral(" \u2026"); // behind a row whose last columns are left out

std::string styled(const fmt::text_style& style, const QString& text, const TableLook& look)
{
    return look.bColor ? fmt::format(style, "{}", text.toStdString()) : text.toStdString();
}

// Only states and effects have colours: one looks for what is not in order.
fmt::text_style styleOf(const QString& column, const QString& cell)
{
    static const QMap<QString, fmt::color> s_colors {
        { "damaged", fmt::color::red },     { "unreadable", fmt::color::red },
        { "dropped", fmt::color::red },     { "changed", fmt::color::orange },
        { "merged", fmt::color::orange },   { "DIFFERS", fmt::color::red },
        { "whole", fmt::color::sea_green }, { "same", fmt::color::sea_green },
    };
    const bool bState = column == QLatin1String("state") || column == QLatin1String("effect");
    const auto it = s_colors.find(cell);
    return bState && it != s_colors.end() ? fmt::fg(*it) : fmt::text_style();
}

QString listText(const QJsonArray& values)
{
    QStringList parts;
    for (const auto& each : values) {
        parts.append(cellText(each));
    }
    return parts.join(QStringLiteral(", "));
}

int widthOf(uint codePoint)
{
    return std::max(0, ::wcwidth(static_cast<wchar_t>(codePoint)));
}

int displayWidth(const QString& text)
{
    const auto codePoints = text.toUcs4();
    return std::accumulate(codePoints.begin(), codePoints.end(), 0,
                           [](int width, uint c) { return width + widthOf(c); });
}

// As much of the text as goes before an ellipsis.
QString shortened(const QString& text, int width)
{
    if (displayWidth(text) <= width) {
        return text;
    }
    int nLeft = width - 1;
    QString strKept;
    const auto codePoints = text.toUcs4();
    for (const uint c : codePoints) {
        nLeft -= widthOf(c);
        if (nLeft < 0) {
            break;
        }
        strKept += QString::fromUcs4(&c, 1);
    }
    return strKept + QChar(0x2026);
}

QVector<QStringList> texts(const Table& table)
{
    QVector<QStringList> rows;
    for (const auto& row : table.rows) {
        QStringList cells;
        for (const QJsonValue& value : row) {
            cells.append(inspect::harmless(cellText(value)));
        }
        rows.append(cells);
    }
    return rows;
}

QVector<int> columnWidths(const QVector<QStringList>& rows)
{
    QVector<int> widths(rows.first().size());
    for (const QStringList& row : rows) {
        for (int i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    return widths;
}

// From the right on columns give what is too much, down to \a least.
void narrow(QVector<int>& widths, int least, int wanted)
{
    int nTooMuch = std::accumulate(widths.begin(), widths.end(), c_nGap * widths.size()) - wanted;
    for (int i = widths.size() - 1; i >= 0 && nTooMuch > 0; --i) {
        const int nCut = std::clamp(widths[i] - least, 0, nTooMuch);
        widths[i] -= nCut;
        nTooMuch -= nCut;
    }
}

// Where there is no room for a few letters of each, only the first columns stay.
void fit(QVector<int>& widths, int wanted)
{
    if ((c_nGap + c_nFew) * widths.size() > wanted) {
        wanted -= displayWidth(c_strMore);
        widths.resize(std::clamp(wanted / (c_nGap + c_nReadable), 1, widths.size()));
    }
    for (const int nLeast : { c_nReadable, c_nFew, 1 }) {
        narrow(widths, nLeast, wanted);
    }
}

std::string paddedRow(const QStringList& row, const QVector<int>& widths, const Table* pTable,
                      const TableLook& look)
{
    int nLast = widths.size() - 1;
    while (nLast > 0 && row[nLast].isEmpty()) {
        --nLast;
    }
    std::string strLine;
    for (int i = 0; i <= nLast; ++i) {
        const fmt::text_style style = pTable == nullptr ? fmt::emphasis::faint | fmt::text_style()
                                                        : styleOf(pTable->columns[i], row[i]);
        const QString strCell = shortened(row[i], widths[i]);
        strLine += std::string(c_nGap, ' ') + styled(style, strCell, look);
        if (i < nLast) {
            strLine.append(static_cast<std::size_t>(widths[i] - displayWidth(strCell)), ' ');
        }
    }
    return strLine + (widths.size() < row.size() ? c_strMore.toStdString() : std::string()) + '\n';
}

} // namespace

QString cellText(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("(absent)");
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'g', 15);
    case QJsonValue::Array:
        return listText(value.toArray());
    default:
        return value.toString();
    }
}

std::string tableText(const Table& table, const TableLook& look)
{
    const QString strTitle = inspect::harmless(table.strTitle);
    std::string strText = '\n' + styled(fmt::emphasis::bold, strTitle, look) + '\n';
    if (table.rows.isEmpty()) {
        return strText + "  none\n";
    }
    const QVector<QStringList> rows = texts(table);
    QVector<int> widths = columnWidths(QVector<QStringList> { table.columns } + rows);
    if (look.nWidth > 0) {
        fit(widths, look.nWidth);
    }
    strText += paddedRow(table.columns, widths, nullptr, look);
    for (const QStringList& row : rows) {
        strText += paddedRow(row, widths, &table, look);
    }
    return strText;
}
