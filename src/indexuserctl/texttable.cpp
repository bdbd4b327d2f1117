#include "texttable.h"

#include <algorithm>
#include <cwchar>
#include <iostream>

namespace {

int displayWidth(const QString& text)
{
    int nWidth = 0;
    for (const uint c : text.toUcs4()) {
        nWidth += std::max(0, ::wcwidth(static_cast<wchar_t>(c)));
    }
    return nWidth;
}

// A cell is one line, whatever somebody put into a name.
QString oneLine(QString cell)
{
    for (QChar& c : cell) {
        c = c.isPrint() ? c : QChar(QLatin1Char(' '));
    }
    return cell;
}

} // namespace

CTextTable::CTextTable(const QStringList& headings)
{
    add(headings);
}

void CTextTable::add(const QStringList& cells)
{
    QStringList row;
    for (const QString& cell : cells) {
        row.append(oneLine(cell));
    }
    m_rows.append(row);
}

void CTextTable::print(const QString& title) const
{
    QVector<int> widths(m_rows.first().size());
    for (const QStringList& row : m_rows) {
        for (int i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    printLine(QString());
    printLine(title);
    for (const QStringList& row : m_rows) {
        QString strLine;
        for (int i = 0; i < row.size(); ++i) {
            strLine += QStringLiteral("  ") + row[i]
                + QString(widths[i] - displayWidth(row[i]), QLatin1Char(' '));
        }
        while (strLine.endsWith(QLatin1Char(' '))) {
            strLine.chop(1);
        }
        printLine(strLine);
    }
}

void printLine(const QString& line)
{
    std::cout << line.toStdString() << '\n';
}
