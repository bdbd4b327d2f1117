#pragma once

#include "exitstatus.h"

#include <inspect/recovery.h>

#include <QString>
#include <QStringList>

#include <optional>

// Each command throws CFailure when it cannot do its work.

/// Prints what the user's file in \a configDir holds; \a parts chooses tables, none means all.
ExitStatus show(const QString& configDir, const QStringList& parts);

/// Walks the road of one change on a copy of the user's file in \a configDir: load, change, save,
/// load again, compare.
ExitStatus tour(const QString& configDir);

/// Prints the dated copies of \a configDir.
ExitStatus listSnapshots(const QString& configDir);

/// Prints the values that two user files do not share; Negative if there are any.
ExitStatus diffFiles(const QString& left, const QString& right);

/// The same for the dated copy of the first date and that of the second, or the live file.
ExitStatus diffSnapshots(const QString& configDir, const QStringList& dates);

/// Prints a text of the shared settings store; throws when there is no such key.
ExitStatus getSetting(const QString& key);

/// Stores a text in the shared settings store and reads it again.
ExitStatus setSetting(const QString& key, const QString& value);

/// Brings the newest whole dated copy back if the live file is missing or damaged.
ExitStatus recoverUser(const QString& configDir, inspect::RecoveryMode mode);

/// Prints the sectors beside the user's file.
ExitStatus listSectors();

/// Writes a sector's stocks to a CSV file in \a directory and tells what is in it.
ExitStatus exportSectorCommand(const QString& sector, const QString& directory,
                               const std::optional<QString>& filter);
