#include "indexuser/instruments_p.h"

#include "platform/commonutil.h"
#include "platform/formula.h"
#include "platform/mvcommon.h"

namespace KW {

InstrumentList allInstruments(const CustomStockMap& stocks)
{
    InstrumentList all;
    for (const InstrumentList& list : stocks) {
        all += list;
    }
    return all;
}

void registerInstruments(InstrumentList& instruments)
{
    utils::CSingletonT<CSectorManager>::instance()->addStockListToSector(instruments);
    CStockManager* const pStocks = utils::CSingletonT<CStockManager>::instance();
    for (const auto& pDetail : qAsConst(instruments)) {
        if (pDetail) {
            pStocks->insertCustomDetail(MV::sToQs(pDetail->market + pDetail->code), pDetail);
        }
    }
}

} // namespace KW
