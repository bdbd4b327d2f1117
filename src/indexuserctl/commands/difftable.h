#pragma once

#include "terminal/output.h"

#include <inspect/userdifferences.h>
#include <inspect/userrecords.h>

/// The one form of differences: what diff, snapshot diff and edits print. As text only the first
/// 200, unless all are asked for.
Table diffTable(const Request& request, const QVector<inspect::Difference>& differences,
                const QString& left, const QString& right);

/// One of two users, and what he is called.
struct Compared {
    QString strName;
    inspect::UserRecords records;
};

/// Prints the differences of two users; Negative if there are any.
ExitStatus printDifferences(const Request& request, const Compared& left, const Compared& right);

/// The same of two files.
ExitStatus printDifferences(const Request& request, const QString& left, const QString& right);
