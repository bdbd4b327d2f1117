#include "indexuser/sectorexport_p.h"

#include "format/decimaltext.h"
#include "platform/commonutil.h"
#include "platform/formula.h"
#include "platform/indexutil.h"
#include "platform/mvcommon.h"

#include <QDateTime>
#include <QDir>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace KW {

namespace {

constexpr double c_dEpsilon = 1e-5;

// An unknown indicator compares nothing with nothing.
double difference(const se::RPCSectorStock& stock, const SectorFilterItem& item)
{
    if (item.indicator == QStringLiteral("绝对权重")) {
        return stock.absoluteWeight - item.threshold;
    }
    if (item.indicator == QStringLiteral("前收盘")) {
        return stock.previousClose - item.threshold;
    }
    return 0.0;
}

bool passesAll(const se::RPCSectorStock& stock, const QVector<SectorFilterItem>& items)
{
    return std::all_of(items.begin(), items.end(),
                       [&](const SectorFilterItem& item) { return passes(stock, item); });
}

// One substitution after the other, each looking into what those before it put in.
// clazy:excludeall=qstring-arg
QString csvLine(const se::RPCSectorStock& stock)
{
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(MV::sToQs(stock.market))
        .arg(MV::sToQs(stock.code))
        .arg(QString())
        .arg(decimalText(stock.absoluteWeight))
        .arg(QString());
}

QString sectorName(const QString& sector)
{
    const auto pDetail = utils::CSingletonT<CStockManager>::instance()->getInstrumentDetail(sector);
    return pDetail ? MV::sToQs(pDetail->name) : sector;
}

QString exportPath(const QString& directory, const QString& name)
{
    return directory + QDir::separator() + name
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd"))
        + QStringLiteral(".csv");
}

} // namespace

bool passes(const se::RPCSectorStock& stock, const SectorFilterItem& item)
{
    const double d = difference(stock, item);
    switch (item.compareOp) {
    case 0:
        return d > c_dEpsilon;
    case 1:
        return d < -c_dEpsilon;
    case 2:
        return d >= -c_dEpsilon;
    case 3:
        return d <= c_dEpsilon;
    case 4:
        return std::abs(d) <= c_dEpsilon;
    default:
        return true;
    }
}

bool exportSectorStocks(const QString& sector, const QString& directory,
                        const SectorFilterMap& filters)
{
    std::vector<se::RPCSectorStock> stocks;
    // Only the number of stocks counts: a sector nobody knows has none.
    utils::CSingletonT<CStockManager>::instance()->getSectorStock(sector.toStdString(), stocks);
    if (stocks.empty()) {
        return false;
    }
    const auto it = filters.find(sector);
    const bool bFiltered = it != filters.end();
    QString strPath = exportPath(directory, bFiltered ? it->name : sectorName(sector));
    QStringList lines;
    for (const se::RPCSectorStock& stock : stocks) {
        if (!bFiltered || passesAll(stock, it->items)) {
            lines.append(csvLine(stock));
        }
    }
    QString strContent = lines.join(QLatin1Char('\n'));
    // The result says that there were stocks; who needs the file looks whether it is there.
    QWriteFile(strPath, strContent);
    return true;
}

} // namespace KW
