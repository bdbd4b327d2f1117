#pragma once

#include "format/elementrule.h"
#include "platform/marketdata.h"

#include <QDomElement>
#include <QList>
#include <QMap>

#include <memory>
#include <vector>

namespace KW {

/// The element around all lists, in the section CustomStock or elsewhere.
constexpr char c_szStockLists[] = "Customs";
constexpr char c_szStockList[] = "Custom"; ///< one list
constexpr char c_szListType[] = "type"; ///< what tells lists apart
constexpr char c_szStock[] = "Stock";

using InstrumentList = QList<std::shared_ptr<rxservice::CInstrumentDetail>>;

/// Custom stock lists by list type (0 and above); the instruments are shared, never copied.
using CustomStockMap = QMap<int, InstrumentList>;

/// What the file keeps of an instrument.
struct StockField {
    QString strAttribute;
    std::string rxservice::CInstrumentDetail::*pField;
    bool bFewValues; ///< the same ones in most instruments
};

const std::vector<StockField>& stockFields();

/// Whether two lists, or all lists, hold the same instruments in the same order, by what the file
/// keeps of them. A null is the same as a null only.
bool sameInstruments(const InstrumentList& left, const InstrumentList& right);
bool sameStocks(const CustomStockMap& left, const CustomStockMap& right);

/// \a stocks as a save writes them: no list of a negative type, no null.
CustomStockMap savedStocks(const CustomStockMap& stocks);

/// What tells an instrument from others: its market and its code.
std::string instrumentKey(const rxservice::CInstrumentDetail& detail);

/// The element around all lists, with what is read in it.
ElementRule stockListsRule();

/// Replaces \a stocks by the lists below \a root; leaves them alone if \a root has no lists.
void readCustomStocks(const QDomElement& root, CustomStockMap& stocks);

/// Appends the lists of type 0 and above to \a parent.
void writeCustomStocks(QDomElement& parent, QDomDocument& doc, const CustomStockMap& stocks);

} // namespace KW
