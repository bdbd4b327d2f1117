#include "commands/markets.h"

#include "terminal/output.h"

#include <inspect/closest.h>
#include <inspect/doubts.h>
#include <platform/filenames.h>

#include <QDir>

namespace {

QStringList sectorMarkets(const Request& request)
{
    const QString strFile = QDir(request.strConfigDir).filePath(KW::c_szSectorsFile);
    QStringList markets;
    const auto sectors = standalone::readSectors(strFile).sectors;
    for (const standalone::Sector& sector : sectors) {
        for (const standalone::SectorConstituent& each : sector.constituents) {
            markets.append(each.market);
        }
    }
    markets.removeDuplicates();
    return markets;
}

} // namespace

void suggestMarkets(const Request& request, const KW::CustomStockMap& stocks,
                    const QStringList& markets)
{
    const QStringList known = sectorMarkets(request) + inspect::marketsOf(stocks);
    for (const QString& market : markets) {
        const QString strNear = inspect::didYouMean(market, known);
        if (!known.contains(market) && !strNear.isEmpty()) {
            printError(QStringLiteral("no other stock has the market '%1'").arg(market) + strNear);
        }
    }
}
