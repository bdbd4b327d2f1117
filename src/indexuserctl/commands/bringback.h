#pragma once

#include "terminal/output.h"

/// Throws CFailure for a recovery that failed.
void requireNoFailure(const Request& request, const mend::Recovery& recovery);

/// The command that takes \a action back, which was the edit \a edit: an undo goes back only to
/// what an edit left, so what else was found comes back by its number.
QString commandBack(mend::HistoryAction action, bool bExpected, int edit);

/// Puts a state, for people \a what, in the place of the live file by mend::restore(), and prints
/// what that changes, as JSON behind the tables \a before. Throws CFailure.
ExitStatus bringBack(const Request& request, const mend::Restoration& restoration,
                     const QString& what, const QVector<Table>& before = {});
