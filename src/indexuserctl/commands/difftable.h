#pragma once

#include "terminal/output.h"

#include <inspect/userdifferences.h>

/// The one form of differences: what diff, snapshot diff and --dry-run print.
Table diffTable(const QVector<inspect::Difference>& differences, const QString& left,
                const QString& right, Secrets secrets);

/// Prints the differences of two users; Negative if there are any.
ExitStatus printDifferences(const Request& request, const QString& left, const QString& right);
