#pragma once

#include "commands.h"
#include "terminal/table.h"

#include <inspect/snapshots.h>

/// The day that a word of the command line means, like 2024-01-31; invalid for any other word.
QDate dayOf(const QString& word);

/// The dated copy of that day; throws CFailure where there is none, or where the word is no day.
inspect::Snapshot datedCopy(const Request& request, const QString& word);

/// All dated copies, whether they are whole, and what changed since.
Table snapshotTable(const Request& request);
