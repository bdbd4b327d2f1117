#pragma once

#include "inspect/treefields.h"
#include "inspect/userrecords.h"

namespace inspect {

/// What two users do not share, by meaning: option by option, stock by stock, window by window,
/// template by template, other sections by element. How a value was written, the order of
/// attributes and of sections, and empty sections do not count.
///
///     for (const inspect::Difference& each : inspect::differences(left, right)) { ... }
QVector<Difference> differences(const UserRecords& left, const UserRecords& right);

/// The part of the user that a difference lies in: options, stocks, layouts, templates or sections.
QString partOf(const Difference& difference);

/// The option that differs; empty in other parts.
QString optionOf(const Difference& difference);

/// How many differences each part has, in one line: "options 2, stocks 1"; "none" without any.
QString summary(const QVector<Difference>& differences);

} // namespace inspect
