#pragma once

#include "format/customstocks.h"

#include <QStringList>
#include <QVector>

namespace inspect {

/// What became of a stock from one list to another.
struct StockChange {
    int nBefore = -1; ///< its place in the list before, from 0; -1 for a new one
    int nAfter = -1; ///< its place in the list after; -1 for one that is gone
    QStringList notes = {}; ///< for people: "moved from 3 to 1", "was named 茅台"
};

/// What is not the same in \a after: new, named otherwise, or moved, in the order of \a after, and
/// behind it what is gone, in that of \a before. Moved is as little as can be: one stock that goes
/// to the top moves no other. One that stands in a list several times is told apart by its turn.
/// Neither list holds a null.
///
///     for (const inspect::StockChange& each : inspect::stockChanges(before, after)) { ... }
QVector<StockChange> stockChanges(const KW::InstrumentList& before,
                                  const KW::InstrumentList& after);

} // namespace inspect
