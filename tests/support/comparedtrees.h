#pragma once

#include <inspect/treedifferences.h>

namespace inspect {

/// What two trees do not share.
inline QVector<Difference> differences(const KW::ElementTree& left, const KW::ElementTree& right)
{
    QVector<Difference> found;
    compareTrees({}, { left }, { right }, found);
    return found;
}

} // namespace inspect
