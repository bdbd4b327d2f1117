#include "platform/commonutil.h"
#include "platform/formula.h"
#include "platform/managersections.h"
#include "platform/orderservice.h"
#include "platform/specialstrategy.h"
#include "standalone/foreignsections_p.h"

template class utils::CSingletonT<KW::CFormulaOperateManager>;
template class utils::CSingletonT<KW::CExtendDataManager>;
template class utils::CSingletonT<KW::CExternalDataManager>;
template class utils::CSingletonT<KW::CWindDataManager>;
template class utils::CSingletonT<KW::CStrategyTradeManager>;
template class utils::CSingletonT<KW::CDrawGraphManager>;
template class utils::CSingletonT<KW::CFormulaHistoryDataManager>;
template class utils::CManualSingletonT<KW::COrderService>;
template class utils::CManualSingletonT<KW::CSpecialStrategyManager>;

namespace KW {

namespace {

standalone::CForeignSections& sections()
{
    return *utils::CSingletonT<standalone::CForeignSections>::instance();
}

} // namespace

void CFormulaOperateManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szFormulaCatalog);
}

void CFormulaOperateManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szFormulaCatalog, element, doc);
}

void CFormulaOperateManager::loadGroupIndexSettings(QDomElement& root)
{
    sections().load(root, c_szGroupIndex);
}

void CFormulaOperateManager::saveGroupIndexSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szGroupIndex, element, doc);
}

void CExtendDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szExtendDataCatalog);
}

void CExtendDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szExtendDataCatalog, element, doc);
}

void CExternalDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szExternalDataCatalog);
}

void CExternalDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szExternalDataCatalog, element, doc);
}

void CWindDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szWindDataCatalog);
}

void CWindDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szWindDataCatalog, element, doc);
}

void CDrawGraphManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szDrawGraph);
}

void CDrawGraphManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szDrawGraph, element, doc);
}

void CStrategyTradeManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szStrategyTrade);
}

void CStrategyTradeManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szStrategyTrade, element, doc);
}

void CStrategyTradeManager::loadAlgoSettings(QDomElement& root)
{
    sections().load(root, c_szStrategyAlgoTrade);
}

void CStrategyTradeManager::saveAlgoSettings(QDomElement& element, QDomDocument& doc, bool& omitted)
{
    omitted = !sections().contains(c_szStrategyAlgoTrade);
    sections().save(c_szStrategyAlgoTrade, element, doc);
}

void COrderService::loadSettings(QDomElement& root)
{
    sections().load(root, c_szInterfaceTrade);
}

void COrderService::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szInterfaceTrade, element, doc);
}

void CSpecialStrategyManager::loadSettings(QDomElement& root)
{
    sections().load(root, c_szSpecialStrategyData);
}

void CSpecialStrategyManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(c_szSpecialStrategyData, element, doc);
}

// No strategy runs here, so there is no history to load; but this is the last call of every load.
void CFormulaHistoryDataManager::loadTradeStrategyHistoryData()
{
    sections().settle();
}

} // namespace KW
