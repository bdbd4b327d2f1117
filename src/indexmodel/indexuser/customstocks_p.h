#pragma once

#include "indexuser/userconfiginterface.h"

#include <QDomElement>

namespace KW {

using InstrumentList = QList<std::shared_ptr<rxservice::CInstrumentDetail>>;

/// Replaces \a stocks by the lists below \a root; leaves them alone if \a root has no lists.
void readCustomStocks(const QDomElement& root, CustomStockMap& stocks);

/// Appends the lists of type 0 and above to \a parent.
void writeCustomStocks(QDomElement& parent, QDomDocument& doc, const CustomStockMap& stocks);

/// The instruments of all lists in ascending order of type, each list in its own order.
InstrumentList allInstruments(const CustomStockMap& stocks);

/// Hands \a instruments to the sector manager and, one by one, to the stock manager.
void registerInstruments(InstrumentList& instruments);

} // namespace KW
