#pragma once

#include "commands.h"

/// Writes what makes the user \a left into \a right to --patch FILE, and says what of that does not
/// travel. Throws CFailure.
void writePatch(const Request& request, const KW::UserRecords& left, const KW::UserRecords& right);
