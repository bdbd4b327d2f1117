#pragma once

#include "commands.h"

/// What --against names: the user as it was.
struct Earlier {
    QString strName; ///< as typed
    inspect::UserRecords records;
};

/// The dated copy of a day, or a file. Throws CFailure for what is neither.
Earlier earlierUser(const Request& request, const QString& word);

/// Whether the word names a day or a file, so that earlierUser() is asked for it.
bool namesUser(const QString& word);
