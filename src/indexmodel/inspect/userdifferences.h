#pragma once

#include "inspect/difference.h"
#include "inspect/userrecords.h"

namespace inspect {

/// What two users do not share, by meaning: option by option, stock by stock, window by window,
/// template by template, other sections by element. How a value was written, the order of
/// attributes and of sections, and empty sections do not count.
///
///     for (const inspect::Difference& each : inspect::differences(left, right)) { ... }
QVector<Difference> differences(const UserRecords& left, const UserRecords& right);

} // namespace inspect
