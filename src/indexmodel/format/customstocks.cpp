#include "format/customstocks.h"

#include "format/xmlelements.h"
#include "platform/mvcommon.h"

#include <algorithm>
#include <map>
#include <string>

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

// Of a field with few values each is made a QString once.
class CStockWriter {
public:
    explicit CStockWriter(QDomDocument& doc)
        : m_doc(doc)
    {
    }

    void writeList(QDomElement& customs, int type, const InstrumentList& list)
    {
        QDomElement custom = m_doc.createElement(c_szStockList);
        custom.setAttribute(c_szListType, type);
        for (const auto& pDetail : list) {
            if (pDetail) {
                writeStock(custom, *pDetail);
            }
        }
        customs.appendChild(custom);
    }

private:
    void writeStock(QDomElement& custom, const CInstrumentDetail& detail)
    {
        QDomElement stock = m_doc.createElement(m_strStock);
        for (const StockField& field : stockFields()) {
            const std::string& value = detail.*field.pField;
            stock.setAttribute(field.strAttribute,
                               field.bFewValues ? shared(value) : MV::sToQs(value));
        }
        custom.appendChild(stock);
    }

    const QString& shared(const std::string& bytes)
    {
        QString& strText = m_texts[bytes];
        if (strText.isNull()) {
            strText = MV::sToQs(bytes);
        }
        return strText;
    }

    QDomDocument& m_doc;
    const QString m_strStock = c_szStock;
    std::map<std::string, QString> m_texts;
};

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
        { QStringLiteral("market"), &CInstrumentDetail::market, true },
        { QStringLiteral("code"), &CInstrumentDetail::code, false },
        { QStringLiteral("name"), &CInstrumentDetail::name, false },
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
    CStockWriter writer(doc);
    for (auto it = stocks.lowerBound(0); it != stocks.end(); ++it) {
        writer.writeList(customs, it.key(), it.value());
    }
    parent.appendChild(customs);
}

} // namespace KW
