#pragma once

#include "format/customstocks.h"

namespace KW {

/// The instruments of all lists in ascending order of type, each list in its own order.
InstrumentList allInstruments(const CustomStockMap& stocks);

/// Hands \a instruments to the sector manager and, one by one, to the stock manager.
void registerInstruments(InstrumentList& instruments);

} // namespace KW
