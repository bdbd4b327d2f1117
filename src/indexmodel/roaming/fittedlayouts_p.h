#pragma once

#include <format/elementtree.h>
#include <inspect/screens.h>

namespace roaming {

/// The section \a section of \a root, of those that belong to an arrangement of screens, with its
/// windows brought onto \a screens. As it is where all of them fit already.
KW::ElementTree fittedSection(const KW::ElementTree& root, const KW::ElementTree& section,
                              const QVector<inspect::Screen>& screens);

} // namespace roaming
