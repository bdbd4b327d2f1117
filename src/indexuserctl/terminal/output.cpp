#include "terminal/output.h"

#include "failure.h"
#include "terminal/outputfile.h"

#include <inspect/plaintext.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <fmt/color.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include <unistd.h>

namespace {

// Standard output, the first error on it, and what must be told all the same.
struct Output {
    int nError = 0;
    QStringList done;
};

Output& output()
{
    static Output s_output;
    return s_output;
}

void put(const std::string& bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()
        && output().nError == 0) {
        output().nError = errno;
    }
}

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

void printTable(const Table& table)
{
    put('\n' + styled(fmt::emphasis::bold, inspect::harmless(table.strTitle)) + '\n');
    if (table.rows.isEmpty()) {
        put("  none\n");
        return;
    }
    const QVector<QStringList> rows = texts(table);
    const QVector<int> widths = columnWidths(QVector<QStringList> { table.columns } + rows);
    put(paddedRow(table.columns, widths, nullptr) + '\n');
    for (const QStringList& row : rows) {
        put(paddedRow(row, widths, &table) + '\n');
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

void writeStandardOutput(const Request& request, const QByteArray& content)
{
    std::string strSaid = "would write ";
    if (!request.isDryRun()) {
        put(content.toStdString());
        finishOutput(); // nothing is said of what did not go out
        strSaid.clear();
    }
    strSaid += "standard output (" + std::to_string(content.size()) + " bytes)\n";
    std::fputs(strSaid.c_str(), stderr);
}

} // namespace

void print(const QVector<Table>& tables, Format format)
{
    QJsonObject object { { "schema", 1 } };
    for (const Table& table : tables) {
        if (format == Format::Text) {
            printTable(table);
        } else {
            object.insert(table.strName, toJson(table));
        }
    }
    if (format == Format::Json) {
        printText(QString::fromUtf8(QJsonDocument(object).toJson()));
    }
}

void printLine(const QString& line)
{
    put(inspect::harmless(line).toStdString() + '\n');
}

void printText(const QString& text)
{
    put(inspect::harmless(text, inspect::LineEnds::Kept).toStdString());
}

QByteArray harmlessPage(const QByteArray& page)
{
    return inspect::harmless(QString::fromUtf8(page), inspect::LineEnds::Kept).toUtf8();
}

void printDone(const QString& line)
{
    printLine(line);
    output().done.append(line);
}

void printError(const QString& message)
{
    std::fputs(("indexuserctl: " + inspect::harmless(message).toStdString() + '\n').c_str(),
               stderr);
}

void finishOutput()
{
    if (std::fflush(stdout) != 0 && output().nError == 0) {
        output().nError = errno;
    }
    if (output().nError == 0) {
        return;
    }
    if (output().nError == EPIPE && output().done.isEmpty()) {
        // A reader that has seen enough of an answer is no failure to tell of.
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    QString strError = QStringLiteral("cannot write to standard output: %1")
                           .arg(QString::fromLocal8Bit(std::strerror(output().nError)));
    if (!output().done.isEmpty()) {
        strError += "; but it was done: " + output().done.join(QStringLiteral("; "));
    }
    throw CFailure(ExitStatus::InputOutput, strError);
}

void writeFile(const Request& request, const QString& path, const QByteArray& content)
{
    if (path == QLatin1String("-")) {
        writeStandardOutput(request, content);
        return;
    }
    if (path.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("FILE: the name of a file is wanted"));
    }
    requireNothingOfTheUser(request.strConfigDir, path);
    const QString strBytes = QStringLiteral(" (%1 bytes)").arg(content.size());
    if (request.isDryRun()) {
        printLine("would write " + path + strBytes);
        return;
    }
    const QString strError = replaceOutput(path, content);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("%1: %2").arg(path, strError));
    }
    printDone(path + strBytes);
}
