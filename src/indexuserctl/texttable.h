#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// Rows of text in columns; wide characters count twice, as on a terminal.
class CTextTable {
public:
    explicit CTextTable(const QStringList& headings);

    void add(const QStringList& cells);
    /// Prints \a title, the headings and the rows to stdout.
    void print(const QString& title) const;

private:
    QVector<QStringList> m_rows;
};

/// Prints one line to stdout.
void printLine(const QString& line);
