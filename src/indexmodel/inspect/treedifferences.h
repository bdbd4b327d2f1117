#pragma once

#include "format/elementtree.h"
#include "inspect/difference.h"

namespace inspect {

/// Adds what two lists of trees below \a parent do not share, by the identity of their elements:
/// what comes before an entry does not change its name. An element that only one list has counts
/// once, without its content; the order of entries counts only where both have the same ones.
void compareTrees(const Difference& parent, const QVector<KW::ElementTree>& left,
                  const QVector<KW::ElementTree>& right, QVector<Difference>& found);

} // namespace inspect
