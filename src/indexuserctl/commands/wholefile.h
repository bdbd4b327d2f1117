#pragma once

#include "commands.h"

#include <inspect/userfile.h>

/// The file that a word of the command line names: "-" is standard input. Throws CFailure for none.
QString inputPath(const QString& word);

/// What helps a file in another encoding, put so that it goes behind the error; empty for others.
QString encodingHint(const inspect::FileError& error);

/// A user file that is there and whole; throws CFailure otherwise, with line and column.
inspect::UserFile wholeFile(const QString& path);

/// The same for a file with any root, such as an exported template.
inspect::UserFile wholeDocument(const QString& path);

/// The live file of the user's directory.
inspect::UserFile liveFile(const Request& request);

/// All bytes of a file, if there are not too many; throws CFailure when it cannot be read whole.
QByteArray contentOf(const QString& path);

/// A value out of a file: its first line, see firstLine(). Throws CFailure when the file cannot be
/// read, or the line is not UTF-8.
QString valueIn(const QString& word);

/// The bytes of a file that was read, which have to be a whole user's file; throws CFailure.
QByteArray wholeBytes(const inspect::FileBytes& file);
