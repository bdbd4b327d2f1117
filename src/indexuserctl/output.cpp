#include "output.h"

#include "failure.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSaveFile>

#include <fmt/color.h>

#include <algorithm>
#include <cwchar>
#include <iostream>

#include <unistd.h>

namespace {

bool hasColor()
{
    static const bool s_bColor
        = ::isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
    return s_bColor;
}

std::string styled(const fmt::text_style& style, const QString& text)
{
    return hasColor() ? fmt::format(style, "{}", text.toStdString()) : text.toStdString();
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

QString cellText(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("(absent)");
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'g', 15);
    case QJsonValue::Array: {
        QStringList parts;
        const auto values = value.toArray();
        for (const auto& each : values) {
            parts.append(cellText(each));
        }
        return parts.join(QStringLiteral(", "));
    }
    default:
        return value.toString();
    }
}

// A cell is one line, whatever somebody put into a name.
QString oneLine(QString cell)
{
    for (QChar& c : cell) {
        c = c.isPrint() || c.isSurrogate() ? c : QChar(QLatin1Char(' '));
    }
    return cell;
}

int displayWidth(const QString& text)
{
    int nWidth = 0;
    const auto codePoints = text.toUcs4();
    for (const uint c : codePoints) {
        nWidth += std::max(0, ::wcwidth(static_cast<wchar_t>(c)));
    }
    return nWidth;
}

QVector<QStringList> texts(const Table& table)
{
    QVector<QStringList> rows;
    for (const auto& row : table.rows) {
        QStringList cells;
        for (const QJsonValue& value : row) {
            cells.append(oneLine(cellText(value)));
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

std::string paddedRow(const QStringList& row, const QVector<int>& widths, const Table* pTable)
{
    int nLast = row.size() - 1;
    while (nLast > 0 && row[nLast].isEmpty()) {
        --nLast;
    }
    std::string strLine;
    for (int i = 0; i <= nLast; ++i) {
        const fmt::text_style style = pTable == nullptr ? fmt::emphasis::faint | fmt::text_style()
                                                        : styleOf(pTable->columns[i], row[i]);
        strLine += "  " + styled(style, row[i]);
        if (i < nLast) {
            strLine.append(static_cast<std::size_t>(widths[i] - displayWidth(row[i])), ' ');
        }
    }
    return strLine;
}

void printText(const Table& table)
{
    std::cout << '\n' << styled(fmt::emphasis::bold, table.strTitle) << '\n';
    if (table.rows.isEmpty()) {
        std::cout << "  none\n";
        return;
    }
    const QVector<QStringList> rows = texts(table);
    const QVector<int> widths = columnWidths(QVector<QStringList> { table.columns } + rows);
    std::cout << paddedRow(table.columns, widths, nullptr) << '\n';
    for (const QStringList& row : rows) {
        std::cout << paddedRow(row, widths, &table) << '\n';
    }
}

QJsonArray toJson(const Table& table)
{
    QJsonArray array;
    for (const auto& row : table.rows) {
        QJsonObject object;
        for (int i = 0; i < row.size(); ++i) {
            object.insert(table.columns[i], row[i]);
        }
        array.append(object);
    }
    return array;
}

} // namespace

void print(const QVector<Table>& tables, Format format)
{
    QJsonObject object { { "schema", 1 } };
    for (const Table& table : tables) {
        if (format == Format::Text) {
            printText(table);
        } else {
            object.insert(table.strName, toJson(table));
        }
    }
    if (format == Format::Json) {
        std::cout << QJsonDocument(object).toJson().toStdString();
    }
}

void printLine(const QString& line)
{
    std::cout << line.toStdString() << '\n';
}

void writeFile(const Request& request, const QString& path, const QByteArray& content)
{
    const QString strBytes = QStringLiteral(" (%1 bytes)").arg(content.size());
    if (request.isDryRun()) {
        printLine("would write " + path + strBytes);
        return;
    }
    QSaveFile file(path);
    const bool bWritten = file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
        && file.flush() // commit() would not tell
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) && file.commit();
    if (!bWritten) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(path, file.errorString()));
    }
    printLine(path + strBytes);
}
