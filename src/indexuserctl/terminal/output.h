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

// All that is printed goes through here, and control characters of any text come out as \uXXXX:
// names in a user's file steer no terminal.

/// Prints \a tables to stdout: as text, or as one JSON object with "schema" and a list of objects
/// by the name of each table. A null is "(absent)" in text.
void print(const QVector<Table>& tables, Format format);

/// Prints one line to stdout.
void printLine(const QString& line = {});

/// Prints lines of the tool's own, with their line feeds.
void printText(const QString& text);

/// Prints a line that tells what has just been changed, and keeps it for the case that standard
/// output takes nothing: see finishOutput().
void printDone(const QString& line);

/// Prints one line to stderr, behind the tool's name.
void printError(const QString& message);

/// Brings out what was printed. Throws CFailure when it did not all go out, with the cause and what
/// was done nevertheless.
void finishOutput();

/// A page or picture for people, without the control characters of the texts in it.
QByteArray harmlessPage(const QByteArray& page);

/// Writes \a content to the file \a path by replaceOutput() and says so; with --dry-run it only
/// says so. What is the user's own is never replaced. "-" is standard output, and what is said then
/// goes to stderr. Throws CFailure.
void writeFile(const Request& request, const QString& path, const QByteArray& content);
