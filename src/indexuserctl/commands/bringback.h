#pragma once

#include "commands.h"

/// Throws CFailure for a recovery that failed.
void requireNoFailure(const Request& request, const mend::Recovery& recovery);

/// Puts a state, for people \a what, in the place of the live file by mend::restore(), and prints
/// what that changes. Throws CFailure.
ExitStatus bringBack(const Request& request, const mend::Restoration& restoration,
                     const QString& what);
