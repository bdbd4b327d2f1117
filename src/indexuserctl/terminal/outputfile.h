#pragma once

#include <QByteArray>
#include <QString>

/// Notes that the command reads the file \a path, which no output of it replaces from now on.
void noteInput(const QString& path);

/// Throws CFailure when a write to \a path would replace an input of this command, or something of
/// the user's own in \a configDir, or stand among it: see inspect::belongingAt().
void requireNothingOfTheUser(const QString& configDir, const QString& path);

/// Who may read a file that was there.
enum class Readers { AsBefore, OwnerOnly };

/// Puts \a content in the place of the file \a path, at the end of all links, whole or not at all.
/// One that is there keeps its permissions and, where that is allowed, its owner and group; a new
/// one is its owner's only, as any is that holds what not everybody is to see. Devices and pipes
/// are written to. Why that failed, in the system's words; empty when it did not.
QString replaceOutput(const QString& path, const QByteArray& content,
                      Readers readers = Readers::AsBefore);
