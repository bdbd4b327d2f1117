#pragma once

#include "commands.h"

#include <QJsonValue>
#include <QVector>

/// Rows of values in named columns: the one form in which commands hand their answer out.
struct Table {
    QString strName; ///< in JSON
    QString strTitle; ///< above the rows; wide characters count twice, as on a terminal
    QStringList columns;
    QVector<QVector<QJsonValue>> rows = {};
};

/// Prints \a tables to stdout: as text, or as one JSON object with "schema" and a list of objects
/// by the name of each table. A null is "(absent)" in text.
void print(const QVector<Table>& tables, Format format);

/// Prints one line to stdout.
void printLine(const QString& line);

/// Writes \a content to the file \a path, whole or not at all, readable by its owner only, and says
/// so; with --dry-run it only says so. Throws CFailure.
void writeFile(const Request& request, const QString& path, const QByteArray& content);
