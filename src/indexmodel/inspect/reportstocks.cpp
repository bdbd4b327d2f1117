#include "inspect/plaintext.h"
#include "inspect/report_p.h"
#include "inspect/stockchanges.h"

#include <algorithm>

namespace inspect {

namespace {

constexpr int c_nRowsOfATable = 250; // browsers lay out only the tables that are seen
constexpr int c_nOpen = 40; // lists of up to so many stocks are open
constexpr int c_nPrinted = 1000;

using Stock = rxservice::CInstrumentDetail;

QString shown(const std::string& text)
{
    return harmless(QString::fromStdString(text));
}

// One line a row: the script takes a table's text apart at its line feeds.
void writeStock(CHtmlWriter& page, const Stock& stock)
{
    page.begin("tr");
    page.element("td", shown(stock.market));
    page.element("td", shown(stock.code));
    page.element("td", shown(stock.name));
    page.end();
    page.text(QStringLiteral("\n"));
}

void writeTable(CHtmlWriter& page, const KW::InstrumentList& list, int first, const QString& name)
{
    const int nEnd = std::min(first + c_nRowsOfATable, list.size());
    page.beginTable(QStringLiteral("%1, %2 to %3").arg(name).arg(first + 1).arg(nEnd),
                    { "market", "code", "name" }, "stocks");
    for (int i = first; i < nEnd; ++i) {
        writeStock(page, *list[i]);
    }
    page.endTable();
}

void writeChanges(CHtmlWriter& page, const ReportUser& user, int type, const QString& name)
{
    const KW::InstrumentList before = user.facts.before->records.stocks.value(type);
    const KW::InstrumentList now = user.records.stocks.value(type);
    const auto changes = stockChanges(before, now);
    if (changes.isEmpty()) { // a list of no stocks came or went
        return;
    }
    const QStringList headings { "market", "code", "name", "change" };
    page.beginTable(QStringLiteral("What changed in ") + name, headings, "changes");
    for (const StockChange& change : changes) {
        const Stock& stock = change.nAfter < 0 ? *before[change.nBefore] : *now[change.nAfter];
        page.row(headings,
                 { shown(stock.market), shown(stock.code), shown(stock.name),
                   harmless(change.notes.join(QStringLiteral(", "))) },
                 { { "class", "changed " + change.notes.first().section(' ', 0, 0) } });
    }
    page.endTable();
}

bool isChanged(const ReportUser& user, int type)
{
    if (!user.facts.before) {
        return false;
    }
    const KW::CustomStockMap& before = user.facts.before->records.stocks;
    const KW::CustomStockMap& now = user.records.stocks;
    return before.contains(type) != now.contains(type)
        || !KW::sameInstruments(before.value(type), now.value(type));
}

void writeList(CHtmlWriter& page, const ReportUser& user, int type)
{
    const KW::InstrumentList list = user.records.stocks.value(type);
    const QString strName = QStringLiteral("List %1").arg(type);
    const bool bThere = user.records.stocks.contains(type);
    if (isChanged(user, type)) {
        page.element("h3",
                     strName + (bThere ? QStringLiteral(" changed") : QStringLiteral(" is gone")));
        writeChanges(page, user, type, strName);
    }
    if (!bThere) {
        return;
    }
    const bool bOpen = list.size() <= c_nOpen && !user.facts.before;
    beginFold(page, QStringLiteral("stocks-%1").arg(type), strName,
              grouped(list.size()) + (list.size() == 1 ? " stock" : " stocks"),
              bOpen                          ? Fold::Open
                  : list.size() > c_nPrinted ? Fold::Long
                                             : Fold::Closed);
    page.begin("div", { { "class", QStringLiteral("chunks") } });
    for (int i = 0; i < list.size(); i += c_nRowsOfATable) {
        page.begin("div", { { "class", QStringLiteral("chunk") } });
        writeTable(page, list, i, strName);
        page.end();
    }
    page.end();
    page.end();
}

} // namespace

void writeStocks(CHtmlWriter& page, const ReportUser& user)
{
    QList<int> types = user.records.stocks.keys();
    if (user.facts.before) {
        types += user.facts.before->records.stocks.keys();
        std::sort(types.begin(), types.end());
        types.erase(std::unique(types.begin(), types.end()), types.end());
        std::stable_partition(types.begin(), types.end(),
                              [&](int type) { return isChanged(user, type); });
    }
    if (types.isEmpty()) {
        writeNone(page);
    }
    for (const int nType : qAsConst(types)) {
        writeList(page, user, nType);
    }
}

} // namespace inspect
