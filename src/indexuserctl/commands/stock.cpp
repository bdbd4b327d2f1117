#include "commands/edit.h"
#include "commands/markets.h"
#include "commands/stocks.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/doubts.h>
#include <inspect/plaintext.h>
#include <inspect/stockcsv.h>

#include <algorithm>

namespace {

using StockList = KW::CustomStockMap::mapped_type;

KW::CustomStockMap stocksOf(KW::UserConfigInterface& service)
{
    KW::CustomStockMap stocks;
    service.getCustomStockMap(stocks);
    return stocks;
}

QString keyOf(const Request& request)
{
    return request.words[1] + request.words[2];
}

// The instrument in the list, by market and code; the list's end when it is not there.
StockList::iterator find(StockList& list, const Request& request)
{
    const std::string strMarket = request.words[1].toStdString();
    const std::string strCode = request.words[2].toStdString();
    return std::find_if(list.begin(), list.end(), [&](const auto& pDetail) {
        return pDetail->market == strMarket && pDetail->code == strCode;
    });
}

// Out of the list that has it.
StockList::value_type take(KW::CustomStockMap& stocks, int number, const Request& request)
{
    StockList list = stocks.value(number);
    const auto it = find(list, request);
    if (it == list.end()) {
        throw CFailure(
            ExitStatus::Negative,
            QStringLiteral("%1 is not in list %2").arg(keyOf(request), QString::number(number)));
    }
    const auto pDetail = *it;
    list.erase(it);
    stocks[number] = list;
    return pDetail;
}

int placeIn(const StockList& list, const QString& word)
{
    bool bOk = word.isEmpty();
    const int nPlace = bOk ? list.size() + 1 : word.toInt(&bOk);
    if (!bOk || nPlace < 1 || nPlace > list.size() + 1) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("'%1' is no place: a whole number from 1 to %2")
                           .arg(word, QString::number(list.size() + 1)));
    }
    return nPlace - 1;
}

void requirePlainText(const QStringList& words)
{
    for (const QString& word : words) {
        const QString strError = inspect::textError(word);
        if (!strError.isEmpty()) {
            throw CFailure(ExitStatus::Usage, QStringLiteral("'%1' %2").arg(word, strError));
        }
    }
    if (words[2].isEmpty()) {
        throw CFailure(ExitStatus::Usage, "a stock has a code");
    }
}

// CSV has no form for such a character, and an import would refuse it.
void requirePlainStocks(const KW::CustomStockMap& stocks)
{
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        for (const auto& pDetail : *it) {
            const QString strKey = QString::fromStdString(pDetail->market + pDetail->code);
            const QString strError
                = inspect::textError(strKey + QString::fromStdString(pDetail->name));
            if (!strError.isEmpty()) {
                throw CFailure(ExitStatus::Damaged,
                               QStringLiteral("list %1: stock %2 %3")
                                   .arg(QString::number(it.key()), strKey, strError));
            }
        }
    }
}

} // namespace

ExitStatus addStock(const Request& request)
{
    const int nList = listNumber(request.words.first());
    requirePlainText(request.words);
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::CustomStockMap stocks = stocksOf(service);
        suggestMarkets(request, stocks, QStringList(request.words[1]));
        StockList& list = stocks[nList];
        if (find(list, request) != list.end()) {
            throw CFailure(ExitStatus::Negative,
                           QStringLiteral("%1 is in list %2 already")
                               .arg(keyOf(request), QString::number(nList)));
        }
        const auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
        pDetail->market = request.words[1].toStdString();
        pDetail->code = request.words[2].toStdString();
        pDetail->name = request.words.value(3).toStdString();
        list.append(pDetail);
        service.setCustomStockMap(stocks);
    });
}

ExitStatus removeStock(const Request& request)
{
    const int nList = listNumber(request.words.first());
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::CustomStockMap stocks = stocksOf(service);
        take(stocks, nList, request);
        service.setCustomStockMap(stocks);
    });
}

// Both ends may be one list, in which the stock then has another place.
ExitStatus moveStock(const Request& request)
{
    const int nFrom = listNumber(request.words.first());
    const int nTo = listNumber(request.words[3]);
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::CustomStockMap stocks = stocksOf(service);
        const auto pDetail = take(stocks, nFrom, request);
        StockList& list = stocks[nTo];
        if (nFrom != nTo && find(list, request) != list.end()) {
            throw CFailure(ExitStatus::Negative,
                           QStringLiteral("%1 is in list %2 already")
                               .arg(keyOf(request), QString::number(nTo)));
        }
        list.insert(placeIn(list, request.words.value(4)), pDetail);
        service.setCustomStockMap(stocks);
    });
}

ExitStatus importStocks(const Request& request)
{
    const QString strPath = inputPath(request.words.first());
    const inspect::CsvStocks imported = inspect::stocksFromCsv(contentOf(strPath));
    if (!imported.strError.isEmpty()) {
        throw CFailure(ExitStatus::Damaged,
                       QStringLiteral("%1:%2: ").arg(strPath).arg(imported.nErrorLine)
                           + imported.strError,
                       { strPath, imported.nErrorLine });
    }
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::CustomStockMap stocks = stocksOf(service);
        suggestMarkets(request, stocks, inspect::marketsOf(imported.stocks));
        for (auto it = imported.stocks.begin(); it != imported.stocks.end(); ++it) {
            stocks[it.key()] = *it;
        }
        service.setCustomStockMap(stocks);
    });
}

ExitStatus exportStocks(const Request& request)
{
    const inspect::UserRecords records = inspect::recordsOf(liveFile(request).document);
    requirePlainStocks(records.stocks);
    writeFile(request, request.words.first(), inspect::stocksToCsv(records.stocks));
    return ExitStatus::Ok;
}
