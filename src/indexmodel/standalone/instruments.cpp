#include "standalone/instruments_p.h"

#include "platform/commonutil.h"
#include "platform/formula.h"

namespace KW {

namespace {

standalone::CInstruments& instruments()
{
    return *utils::CSingletonT<standalone::CInstruments>::instance();
}

} // namespace

void CSectorManager::loadSettings(QDomElement&)
{
    // Sectors come with the market data, not with the user's file.
}

void CSectorManager::saveSettings()
{
    // Nobody changes a sector here, so there is nothing to save.
}

void CSectorManager::addStockListToSector(
    QList<std::shared_ptr<rxservice::CInstrumentDetail>>& stocks)
{
    instruments().customStocks = stocks;
}

void CStockManager::insertCustomDetail(const QString& key,
                                       std::shared_ptr<rxservice::CInstrumentDetail> pDetail)
{
    instruments().customDetails.insert(key, std::move(pDetail));
}

std::shared_ptr<rxservice::CInstrumentDetail> CStockManager::getInstrumentDetail(const QString& key)
{
    return instruments().customDetails.value(key);
}

bool CStockManager::getSectorStock(const std::string&, std::vector<se::RPCSectorStock>& stocks)
{
    stocks.clear();
    return false;
}

void CFormulaManager::setOptionSettings(std::map<std::string, int>& settings)
{
    instruments().lineCounts = settings;
}

void CFormulaHistoryDataManager::loadTradeStrategyHistoryData()
{
    // No strategy runs here, so there is no history to load.
}

} // namespace KW
