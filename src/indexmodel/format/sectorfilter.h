#pragma once

#include <QMap>
#include <QString>
#include <QVector>

#include <cstdint>

namespace KW {

/// One condition on a stock of a sector.
struct SectorFilterItem {
    std::int32_t id = 0;
    QString indicator; ///< the figure that is tested; unknown ones compare 0 with 0
    double threshold = 1.0;
    std::int32_t extra = 0;
    std::int32_t compareOp = 0; ///< 0 >, 1 <, 2 >=, 3 <=, 4 ==; any other sets no condition
};

/// The conditions, all of which a stock must meet, under the name that the user gave them.
struct SectorFilterEntry {
    QString name;
    QVector<SectorFilterItem> items;
};

inline bool operator==(const SectorFilterItem& left, const SectorFilterItem& right)
{
    return left.id == right.id && left.indicator == right.indicator
        && left.threshold == right.threshold && left.extra == right.extra
        && left.compareOp == right.compareOp;
}

inline bool operator==(const SectorFilterEntry& left, const SectorFilterEntry& right)
{
    return left.name == right.name && left.items == right.items;
}

/// Filters by sector code.
using SectorFilterMap = QMap<QString, SectorFilterEntry>;

} // namespace KW
