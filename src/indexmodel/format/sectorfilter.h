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

/// Filters by sector code.
using SectorFilterMap = QMap<QString, SectorFilterEntry>;

} // namespace KW
