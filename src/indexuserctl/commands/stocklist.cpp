#include "commands/shownuser.h"
#include "commands/stocks.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/closest.h>

#include <algorithm>

namespace {

KW::CustomStockMap stocksOf(const Request& request)
{
    return inspect::recordsOf(liveFile(request).document).stocks;
}

KW::CustomStockMap oneList(const KW::CustomStockMap& stocks, const QString& word)
{
    const int nList = listNumber(word);
    if (stocks.contains(nList)) {
        return { { nList, stocks[nList] } };
    }
    QStringList numbers;
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        numbers.append(QString::number(it.key()));
    }
    throw CFailure(ExitStatus::Negative,
                   QStringLiteral("there is no list %1; lists are %2")
                       .arg(word, numbers.join(QStringLiteral(", "))));
}

// A code stands alone or behind its market.
bool isStock(const QVector<QJsonValue>& row, const QString& code)
{
    return row[2].toString() == code || row[1].toString() + row[2].toString() == code;
}

} // namespace

int listNumber(const QString& word)
{
    bool bOk = false;
    const int nList = word.toInt(&bOk);
    if (!bOk || nList < 0) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("'%1' is no list: a whole number from 0 on").arg(word));
    }
    return nList;
}

ExitStatus listStocks(const Request& request)
{
    const KW::CustomStockMap all = stocksOf(request);
    print(stockTables(request.words.isEmpty() ? all : oneList(all, request.words.first())),
          request.format);
    return ExitStatus::Ok;
}

ExitStatus findStock(const Request& request)
{
    const QString strCode = request.words.first();
    Table table = stockTables(stocksOf(request)).last();
    QStringList codes;
    for (const auto& row : table.rows) {
        codes.append(row[2].toString());
    }
    table.rows.erase(std::remove_if(table.rows.begin(), table.rows.end(),
                                    [&](const auto& row) { return !isStock(row, strCode); }),
                     table.rows.end());
    if (table.rows.isEmpty()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("no list has a stock '%1'").arg(strCode)
                           + inspect::didYouMean(strCode, codes));
    }
    print({ table }, request.format);
    return ExitStatus::Ok;
}
