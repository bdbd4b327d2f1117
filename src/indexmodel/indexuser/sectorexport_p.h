#pragma once

#include "format/sectorfilter.h"
#include "platform/strategybase.h"

namespace KW {

/// Whether \a stock meets the condition \a item; differences up to 1e-5 count as equal.
bool passes(const se::RPCSectorStock& stock, const SectorFilterItem& item);

/// Writes the stocks of \a sector that pass its filter in \a filters, if there is one, to a dated
/// file in \a directory. False when the sector has no stocks.
bool exportSectorStocks(const QString& sector, const QString& directory,
                        const SectorFilterMap& filters);

} // namespace KW
