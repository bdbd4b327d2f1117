#pragma once

#include "commands.h"
#include "terminal/outputfile.h"
#include "terminal/table.h"

#include <QJsonObject>

class CFailure;

/// What is known of a command before its words are understood.
struct AnswerForm {
    Format format = Format::Text;
    QString strCommand; ///< empty: the words name none
    bool bDryRun = false;
    bool bWide = false; ///< tables are as wide as they need
    bool bLines = false; ///< an object of JSON is one line
};

// All that is printed goes through here, and control characters of any text come out as \uXXXX:
// names in a user's file steer no terminal.

/// Before anything is printed. In JSON there is one answer, which comes out when it ends, and lines
/// for people do not come out at all.
void beginAnswer(const AnswerForm& form);
void endAnswer(ExitStatus status);
void endAnswer(const CFailure& failure);

/// From now on the answer of each command goes to \a descriptor, as one line of JSON, also where
/// people read its text on standard output.
void answerInto(int descriptor);

/// Nothing is left to answer: what there was to say has been printed.
void dropAnswer();

/// Prints \a tables to stdout: as text, or into the JSON answer, each by its name. A null is
/// "(absent)" in text.
void print(const QVector<Table>& tables, Format format);

/// Whether there is a JSON answer.
bool isRecorded();

/// Puts \a tables into the JSON answer, if there is one, and prints nothing.
void record(const QVector<Table>& tables);

/// The tables as text on stderr.
void printAside(const QVector<Table>& tables);

/// Prints one line to stdout.
void printLine(const QString& line = {});

/// Prints a line that sums up, unless this answer is one of many, which have a sum of their own.
void printSum(const QString& line);

/// Prints what a command line named \a name has printed elsewhere to stdout, and then what it has
/// said to stderr, each below the name, and brings both out.
void printAnswerOf(const QString& name, const QByteArray& text, const QByteArray& messages);

/// Prints an object to stdout, as one line, and brings it out.
void printObject(const QJsonObject& object);

/// Prints lines of the tool's own, with their line feeds.
void printText(const QString& text);

/// The same of a text that is the whole answer, in JSON, too.
void printPage(const QString& text);

/// Prints a line that tells what has just been changed, and keeps it for the case that standard
/// output takes nothing: see finishOutput().
void printDone(const QString& line);

/// Keeps \a line for the same case, until the next one.
void noteDone(const QString& line);

/// Prints one line to stderr, behind the tool's name.
void printError(const QString& message);

/// Brings out what was printed so far, on a terminal by the user's pager if it is long, and tells
/// nobody if that fails.
void flushOutput();

/// Brings out what was printed. Throws CFailure when it did not all go out, with the cause and what
/// was done nevertheless.
void finishOutput();

/// A page or picture for people, without the control characters of the texts in it.
QByteArray harmlessPage(const QByteArray& page);

/// Writes \a content to the file \a path by replaceOutput() and says so; with --dry-run it only
/// says so. What is the user's own is never replaced. "-" is standard output, and what is said then
/// goes to stderr. Throws CFailure.
void writeFile(const Request& request, const QString& path, const QByteArray& content,
               Readers readers = Readers::AsBefore);
