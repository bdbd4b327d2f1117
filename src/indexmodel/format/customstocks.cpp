#include "format/customstocks.h"

#include "format/xmlelements.h"
#include "platform/mvcommon.h"

#include <algorithm>

namespace KW {

namespace {

using rxservice::CInstrumentDetail;

InstrumentList readList(const QDomElement& custom)
{
    InstrumentList list;
    const auto stocks = descendants(custom, c_szStock);
    for (const QDomElement& stock : stocks) {
        const auto pDetail = std::make_shared<CInstrumentDetail>();
        for (const StockField& field : stockFields()) {
            (*pDetail).*field.pField = stock.attribute(field.strAttribute).toStdString();
        }
        list.append(pDetail);
    }
    return list;
}

void writeStock(QDomElement& custom, QDomDocument& doc, const CInstrumentDetail& detail)
{
    static const QString s_strTag = c_szStock;
    QDomElement stock = doc.createElement(s_strTag);
    for (const StockField& field : stockFields()) {
        stock.setAttribute(field.strAttribute, MV::sToQs(detail.*field.pField));
    }
    custom.appendChild(stock);
}

void writeList(QDomElement& customs, QDomDocument& doc, int type, const InstrumentList& list)
{
    QDomElement custom = doc.createElement(c_szStockList);
    custom.setAttribute(c_szListType, type);
    for (const auto& pDetail : list) {
        if (pDetail) {
            writeStock(custom, doc, *pDetail);
        }
    }
    customs.appendChild(custom);
}

bool sameInstrument(const InstrumentList::value_type& pLeft,
                    const InstrumentList::value_type& pRight)
{
    return pLeft == pRight
        || (pLeft && pRight && pLeft->code == pRight->code && pLeft->market == pRight->market
            && pLeft->name == pRight->name);
}

} // namespace

const std::vector<StockField>& stockFields()
{
    static const std::vector<StockField> s_fields {
        { QStringLiteral("market"), &CInstrumentDetail::market },
        { QStringLiteral("code"), &CInstrumentDetail::code },
        { QStringLiteral("name"), &CInstrumentDetail::name },
    };
    return s_fields;
}

bool sameInstruments(const InstrumentList& left, const InstrumentList& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), sameInstrument);
}

bool sameStocks(const CustomStockMap& left, const CustomStockMap& right)
{
    return left.keys() == right.keys()
        && std::equal(left.begin(), left.end(), right.begin(), sameInstruments);
}

CustomStockMap savedStocks(const CustomStockMap& stocks)
{
    CustomStockMap saved;
    for (auto it = stocks.lowerBound(0); it != stocks.end(); ++it) {
        InstrumentList& list = saved[it.key()];
        list = *it;
        if (list.contains(nullptr)) {
            list.removeAll(nullptr);
        }
    }
    return saved;
}

std::string instrumentKey(const CInstrumentDetail& detail)
{
    return detail.market + detail.code;
}

ElementRule stockListsRule()
{
    ElementRule stock { c_szStock, ElementKind::Stock };
    for (const StockField& field : stockFields()) {
        stock.attributes.append(neededText(field.strAttribute));
    }
    const AttributeRule type { c_szListType, ValueKind::Integer, Presence::Needed };
    const ElementRule list {
        c_szStockList, ElementKind::StockList, { type }, { stock }, c_szListType
    };
    return { c_szStockLists, ElementKind::Holder, {}, { list } };
}

void readCustomStocks(const QDomElement& root, CustomStockMap& stocks)
{
    const QDomElement customs = MV::getSubElement(root, c_szStockLists);
    if (customs.isNull()) {
        return;
    }
    stocks.clear();
    const auto lists = descendants(customs, c_szStockList);
    for (const QDomElement& custom : lists) {
        const int nType = intAttribute(custom, c_szListType);
        if (nType >= 0) {
            stocks.insert(nType, readList(custom));
        }
    }
}

void writeCustomStocks(QDomElement& parent, QDomDocument& doc, const CustomStockMap& stocks)
{
    QDomElement customs = doc.createElement(c_szStockLists);
    for (auto it = stocks.lowerBound(0); it != stocks.end(); ++it) {
        writeList(customs, doc, it.key(), it.value());
    }
    parent.appendChild(customs);
}

} // namespace KW
