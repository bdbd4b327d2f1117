#pragma once

#include "format/elementtree.h"
#include "inspect/difference.h"

namespace inspect {

/// What two trees do not share, by the identity of their elements: what comes before an entry does
/// not change its name. An element that only one tree has counts once, without its content; the
/// order of entries counts only where both trees have the same ones.
QVector<Difference> differences(const KW::ElementTree& left, const KW::ElementTree& right);

/// The same for lists of trees below \a parent.
void compareTrees(const Difference& parent, const QVector<KW::ElementTree>& left,
                  const QVector<KW::ElementTree>& right, QVector<Difference>& found);

} // namespace inspect
