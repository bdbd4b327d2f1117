#pragma once

#include "platform/marketdata.h"

#include <QDomElement>
#include <QList>
#include <QMap>

#include <memory>

namespace KW {

using InstrumentList = QList<std::shared_ptr<rxservice::CInstrumentDetail>>;

/// Custom stock lists by list type (0 and above); the instruments are shared, never copied.
using CustomStockMap = QMap<int, InstrumentList>;

/// Replaces \a stocks by the lists below \a root; leaves them alone if \a root has no lists.
void readCustomStocks(const QDomElement& root, CustomStockMap& stocks);

/// Appends the lists of type 0 and above to \a parent.
void writeCustomStocks(QDomElement& parent, QDomDocument& doc, const CustomStockMap& stocks);

} // namespace KW
