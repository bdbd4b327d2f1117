#pragma once

#include "terminal/output.h"

#include <inspect/userdifferences.h>

/// The one form of differences: what diff, snapshot diff and edits print. As text only the first
/// 200, unless all are asked for.
Table diffTable(const Request& request, const QVector<inspect::Difference>& differences,
                const QString& left, const QString& right);

/// Prints the differences of two users; Negative if there are any.
ExitStatus printDifferences(const Request& request, const QString& left, const QString& right);
