#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// A text that nobody should read over a shoulder or in the list of processes: asked for twice
/// without echo where standard input is a terminal, its first line otherwise. \a name is what
/// people are asked for. Throws CFailure when the two differ or nothing comes.
QString readSecret(const QString& name);

/// The first line of what a person or an editor has written down: without the mark that some begin
/// a text with, and without the carriage return that some end a line with. None if it is not UTF-8.
std::optional<QString> firstLine(const QByteArray& text);
