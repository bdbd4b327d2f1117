#include "standalone/instruments_p.h"

#include "platform/commonutil.h"
#include "platform/formula.h"

#include <algorithm>

template class utils::CSingletonT<KW::CSectorManager>;
template class utils::CSingletonT<KW::CStockManager>;
template class utils::CSingletonT<KW::CFormulaManager>;

namespace KW {

namespace {

using standalone::Sector;
using standalone::SectorConstituent;

standalone::CInstruments& instruments()
{
    return *utils::CSingletonT<standalone::CInstruments>::instance();
}

// A file that cannot be read is logged once and then counts as one without sectors.
const QVector<Sector>& sectors()
{
    standalone::CInstruments& known = instruments();
    const QString strFile = standalone::sectorsFile();
    if (known.strReadFrom != strFile) {
        known.strReadFrom = strFile;
        known.catalogue = standalone::readSectors(strFile);
        if (!known.catalogue.strError.isEmpty() && g_RXStdLogger) {
            LOG4CXX_ERROR(g_RXStdLogger, known.catalogue.strError.toStdString());
        }
    }
    return known.catalogue.sectors;
}

const Sector* findSector(const QString& code)
{
    const auto it = std::find_if(sectors().begin(), sectors().end(),
                                 [&](const Sector& sector) { return sector.code == code; });
    return it == sectors().end() ? nullptr : &*it;
}

se::RPCSectorStock toSectorStock(const SectorConstituent& constituent, std::int64_t id)
{
    return { id, constituent.market.toStdString(), constituent.code.toStdString(),
             constituent.absoluteWeight, constituent.previousClose };
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
    instruments().customDetails.insert(key, pDetail);
}

std::shared_ptr<rxservice::CInstrumentDetail> CStockManager::getInstrumentDetail(const QString& key)
{
    if (auto pDetail = instruments().customDetails.value(key)) {
        return pDetail;
    }
    const Sector* const pSector = findSector(key);
    if (!pSector) {
        return nullptr;
    }
    auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
    pDetail->code = pSector->code.toStdString();
    pDetail->name = pSector->name.toStdString();
    return pDetail;
}

bool CStockManager::getSectorStock(const std::string& sector,
                                   std::vector<se::RPCSectorStock>& stocks)
{
    stocks.clear();
    const Sector* const pSector = findSector(QString::fromStdString(sector));
    if (!pSector) {
        return false;
    }
    for (const SectorConstituent& constituent : pSector->constituents) {
        const auto nId = static_cast<std::int64_t>(stocks.size()) + 1;
        stocks.push_back(toSectorStock(constituent, nId));
    }
    return true;
}

void CFormulaManager::setOptionSettings(std::map<std::string, int>&)
{
    // No formula draws lines here, so nobody wants to know how many.
}

} // namespace KW
