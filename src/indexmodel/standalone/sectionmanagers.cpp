#include "platform/commonutil.h"
#include "platform/formula.h"
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
    sections().load(root, QStringLiteral("FormulaCatalog"));
}

void CFormulaOperateManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("FormulaCatalog"), element, doc);
}

void CFormulaOperateManager::loadGroupIndexSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("GroupIndex"));
}

void CFormulaOperateManager::saveGroupIndexSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("GroupIndex"), element, doc);
}

void CExtendDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("ExtendDataCatalog"));
}

void CExtendDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("ExtendDataCatalog"), element, doc);
}

void CExternalDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("externalDataCatalog"));
}

void CExternalDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("externalDataCatalog"), element, doc);
}

void CWindDataManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("WindDataCatalog"));
}

void CWindDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("WindDataCatalog"), element, doc);
}

void CDrawGraphManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("drawGraph"));
}

void CDrawGraphManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("drawGraph"), element, doc);
}

void CStrategyTradeManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("strategyTrade"));
}

void CStrategyTradeManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("strategyTrade"), element, doc);
}

void CStrategyTradeManager::loadAlgoSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("strategyAlgoTrade"));
}

void CStrategyTradeManager::saveAlgoSettings(QDomElement& element, QDomDocument& doc, bool& omitted)
{
    omitted = !sections().contains(QStringLiteral("strategyAlgoTrade"));
    sections().save(QStringLiteral("strategyAlgoTrade"), element, doc);
}

void COrderService::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("interfaceTrade"));
}

void COrderService::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("interfaceTrade"), element, doc);
}

void CSpecialStrategyManager::loadSettings(QDomElement& root)
{
    sections().load(root, QStringLiteral("specialstrategydata"));
}

void CSpecialStrategyManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    sections().save(QStringLiteral("specialstrategydata"), element, doc);
}

// No strategy runs here, so there is no history to load; but this is the last call of every load.
void CFormulaHistoryDataManager::loadTradeStrategyHistoryData()
{
    sections().settle();
}

} // namespace KW
