#include "indexuser/cuserconfigmanager.h"

#include "format/optionsettings.h"
#include "format/sections.h"
#include "format/sectorfiltertext.h"
#include "format/userparams.h"
#include "indexuser/cpanelgrouplayoutconfig.h"
#include "indexuser/instruments_p.h"
#include "indexuser/leakcheck_p.h"
#include "indexuser/sectorexport_p.h"
#include "indexuser/userconfigfile_p.h"
#include "platform/formula.h"
#include "platform/managersections.h"
#include "platform/mvcommon.h"
#include "platform/orderservice.h"
#include "platform/specialstrategy.h"
#include "platform/strategybase.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include <map>
#include <memory>
#include <new>
#include <utility>

template class utils::CSingletonT<KW::CUserConfigManager>;

namespace KW {

namespace {

constexpr char c_szSettingsSection[] = "UiSettingConfig";

// Made with every document and dropped: these names stay taken, and no file holds them.
const char* const c_apszTakenNames[] = {
    "investFee",   c_szSectorFilter, "InvestCatalog",  "BasketHedges",     "tradeBaskets",
    "tradeBlacks", "OrderStrategys", "SmartKeyConfig", "QsSmartKeyConfig", "OrderAccountKeys",
    "fileImport",  "userNames",      "portNum",
};

template <typename T> T& single()
{
    return *utils::CSingletonT<T>::instance();
}

template <typename T> T& manualSingle()
{
    return *utils::CManualSingletonT<T>::instance();
}

QStringList attachedNames()
{
    QStringList names;
    for (const Section& section : sections()) {
        if (section.owner != SectionOwner::Layouts && section.strName != c_szUserParams) {
            names.append(section.strName);
        }
    }
    return names;
}

// In the order of the file; the layout store attaches its own, and the last one is made whole.
const QStringList& attachedSections()
{
    static const QStringList s_names = attachedNames();
    return s_names;
}

} // namespace

CUserConfigManager::CUserConfigManager()
    : m_pSaveState(std::make_shared<SaveState>())
    , m_pLayoutConfig(new (std::nothrow) CPanelGroupLayoutConfig)
{
    outlivesItsOwner(m_pLayoutConfig);
    attachedSections(); // now, not within the first save
}

CUserConfigManager::~CUserConfigManager() = default;

// --- notifications ---

void CUserConfigManager::optionSettingChange()
{
    Q_EMIT sigOptionSettingChange();
}

void CUserConfigManager::smartKeyConfigChange()
{
    sigStockListChanged();
}

void CUserConfigManager::conditionsChange()
{
    Q_EMIT sigConditionsChange();
}

void CUserConfigManager::updateAccerPeriod(int period)
{
    sigAccerPeriodChanged(period);
}

// --- shared settings store and ini file ---

bool CUserConfigManager::writeConfig(QString key, const QString& value)
{
    return se::writeConfig(c_szSettingsSection, key.toStdString(), value.toStdString(), false) == 0;
}

bool CUserConfigManager::readConfig(QString key, QString& value)
{
    std::string strValue;
    if (se::readConfig(c_szSettingsSection, key.toStdString(), strValue, false) != 0) {
        return false;
    }
    value = MV::sToQs(strValue);
    return true;
}

void CUserConfigManager::readFN10DisplayConfig()
{
    const auto pIni = boost::make_shared<utils::Configuration>(
        "../config/FormulaServer/formulaserver.ini", true);
    // A client without a formula server has no such file; the read below then gives its default.
    pIni->load(std::string());
    if (pIni->readInt("dbifEnable", "showDBIf", 0) == 1) {
        single<CUserConfigManager>().m_bDbifEnable = true;
    }
}

// --- client parameters ---

paramSettingForClient CUserConfigManager::getParamSettingForClient()
{
    return m_clientParam;
}

void CUserConfigManager::setParamSettingForClient(const paramSettingForClient& param)
{
    m_clientParam = param;
}

void CUserConfigManager::saveSmartKeyboardSetting(int config, const QString& qsConfig)
{
    m_clientParam.smartKeyConfig = config;
    m_clientParam.qsSmartKeyConfig = qsConfig;
}

void CUserConfigManager::updateDataCenterSetting(se::RPCOptionSettings& settings)
{
    std::map<std::string, int> lineCounts { { "mt", settings.m_multiTicklines },
                                            { "mh", settings.m_multiHourlines },
                                            { "md", settings.m_multiDaylines },
                                            { "mm", settings.m_multiMinutelines } };
    single<CFormulaManager>().setOptionSettings(lineCounts);
}

// --- plain accessors ---

CPanelGroupLayoutConfig* CUserConfigManager::getLayoutConfig()
{
    return m_pLayoutConfig;
}

void CUserConfigManager::setPanelGroupLayout(int, const CPanelGroupLayoutSetting&)
{
    // Kept for callers of old; panel groups are set through the layouts.
}

void CUserConfigManager::getCustomStockMap(CustomStockMap& stocks)
{
    stocks = m_customStockMap;
}

void CUserConfigManager::setCustomStockMap(CustomStockMap& stocks)
{
    m_customStockMap = stocks;
}

void CUserConfigManager::setFormulaFunctionTreeExpand(bool expand)
{
    m_bFormulaFunctionTreeExpand = expand;
}

bool CUserConfigManager::getFormulaFunctionTreeExpand()
{
    return m_bFormulaFunctionTreeExpand;
}

void CUserConfigManager::setCatalogChange(bool changed)
{
    m_bCatalogChange = changed;
}

bool CUserConfigManager::getCatalogChange()
{
    return m_bCatalogChange;
}

void CUserConfigManager::setSaveSuccess(bool success)
{
    m_pSaveState->m_bSaveSuccess = success;
}

bool CUserConfigManager::getSaveSuccess()
{
    return m_pSaveState->m_bSaveSuccess;
}

void CUserConfigManager::setLinkageQuote(bool linkage)
{
    m_bLinkageQuote = linkage;
}

bool CUserConfigManager::getLinkageQuote()
{
    return m_bLinkageQuote;
}

void CUserConfigManager::setCurrentUser(const QString& user)
{
    m_strCurrentUser = user;
}

QString CUserConfigManager::getCurrentUser()
{
    return m_strCurrentUser;
}

// --- own sections ---

void CUserConfigManager::loadOptionSettings(QDomElement& root)
{
    if (readOptions(root, m_clientParam) == OptionsFound::Yes) {
        updateDataCenterSetting(m_clientParam);
    }
}

void CUserConfigManager::saveOptionSettings(QDomElement& element, QDomDocument& doc)
{
    writeOptions(element, doc, m_clientParam);
}

void CUserConfigManager::loadCustomStock(QDomElement& root)
{
    readCustomStocks(root, m_customStockMap);
    InstrumentList instruments = allInstruments(m_customStockMap);
    sigStockListChanged();
    registerInstruments(instruments);
}

void CUserConfigManager::saveCustomStock(QDomElement& element, QDomDocument& doc)
{
    writeCustomStocks(element, doc, m_customStockMap);
}

void CUserConfigManager::loadSectorFilterConfig(QDomElement& parent)
{
    readSectorFilters(parent, m_sectorFilterMap);
}

void CUserConfigManager::saveSectorFilterConfig(QDomElement& element, QDomDocument& doc)
{
    writeSectorFilters(element, doc, m_sectorFilterMap);
}

void CUserConfigManager::loadUserParam(QDomElement& root)
{
    m_bFormulaFunctionTreeExpand = readFunctionTreeExpand(root, m_bFormulaFunctionTreeExpand);
}

void CUserConfigManager::saveUserParam(QDomElement& parent, QDomDocument& doc)
{
    writeFunctionTreeExpand(parent, doc, m_bFormulaFunctionTreeExpand);
}

bool CUserConfigManager::exportSectorStock2CVS(QString sector, QString directory)
{
    return exportSectorStocks(sector, directory, single<CUserConfigManager>().m_sectorFilterMap);
}

// --- sections of others ---

void CUserConfigManager::saveExtendData(QDomElement& element, QDomDocument& doc)
{
    single<CExtendDataManager>().saveSettings(element, doc);
}

void CUserConfigManager::saveExternalData(QDomElement& element, QDomDocument& doc)
{
    single<CExternalDataManager>().saveSettings(element, doc);
}

void CUserConfigManager::saveFormulaCatalog(QDomElement& element, QDomDocument& doc)
{
    single<CFormulaOperateManager>().saveSettings(element, doc);
}

void CUserConfigManager::saveGroupSettings(QDomElement& element, QDomDocument& doc)
{
    single<CFormulaOperateManager>().saveGroupIndexSettings(element, doc);
}

void CUserConfigManager::saveSector(QDomElement&, QDomDocument&)
{
    single<CSectorManager>().saveSettings();
}

void CUserConfigManager::saveWindData(QDomElement& element, QDomDocument& doc)
{
    single<CWindDataManager>().saveSettings(element, doc);
}

void CUserConfigManager::saveIndex(QDomElement&, QDomDocument&)
{
    // Indices are part of the formula catalogue.
}

// --- the whole file ---

void CUserConfigManager::loadSettings()
{
    const UserDocument file = readLiveFile();
    QDomElement root = file.document.documentElement();
    if (file.isValid()) {
        loadSections(root);
    } else {
        logNotReadable();
        single<CFormulaOperateManager>().loadSettings(root);
    }
    readFN10DisplayConfig();
    m_pSaveState->m_bNotLoaded = false;
    single<CFormulaHistoryDataManager>().loadTradeStrategyHistoryData();
}

void CUserConfigManager::loadSections(QDomElement& root)
{
    single<CSectorManager>().loadSettings(root);
    single<CFormulaOperateManager>().loadSettings(root);
    single<CFormulaOperateManager>().loadGroupIndexSettings(root);
    single<CExtendDataManager>().loadSettings(root);
    single<CExternalDataManager>().loadSettings(root);
    single<CWindDataManager>().loadSettings(root);
    loadOptionSettings(root);
    loadCustomStock(root);
    loadUserParam(root);
    if (m_pLayoutConfig) {
        m_pLayoutConfig->loadSetting(root);
    }
    single<CStrategyTradeManager>().loadSettings(root);
    single<CStrategyTradeManager>().loadAlgoSettings(root);
    single<CDrawGraphManager>().loadSettings(root);
    manualSingle<COrderService>().loadSettings(root);
    manualSingle<CSpecialStrategyManager>().loadSettings(root);
}

// The order of these calls is a contract with the managers, and not that of the file.
void CUserConfigManager::fillSections(QMap<QString, QDomElement>& sections, QDomDocument& doc)
{
    single<CSectorManager>().saveSettings();
    single<CFormulaOperateManager>().saveSettings(sections[c_szFormulaCatalog], doc);
    saveOptionSettings(sections[c_szOption], doc);
    single<CFormulaOperateManager>().saveGroupIndexSettings(sections[c_szGroupIndex], doc);
    single<CExtendDataManager>().saveSettings(sections[c_szExtendDataCatalog], doc);
    saveCustomStock(sections[c_szCustomStock], doc);
    single<CExternalDataManager>().saveSettings(sections[c_szExternalDataCatalog], doc);
    single<CWindDataManager>().saveSettings(sections[c_szWindDataCatalog], doc);
    single<CDrawGraphManager>().saveSettings(sections[c_szDrawGraph], doc);
    single<CStrategyTradeManager>().saveSettings(sections[c_szStrategyTrade], doc);
    bool bOmitted = false;
    single<CStrategyTradeManager>().saveAlgoSettings(sections[c_szStrategyAlgoTrade], doc,
                                                     bOmitted);
    if (bOmitted) {
        sections.remove(c_szStrategyAlgoTrade);
    }
    manualSingle<COrderService>().saveSettings(sections[c_szInterfaceTrade], doc);
    manualSingle<CSpecialStrategyManager>().saveSettings(sections[c_szSpecialStrategyData], doc);
}

QDomDocument CUserConfigManager::newDocument()
{
    QDomDocument doc;
    doc.appendChild(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""));
    QDomElement root = doc.createElement(c_szRoot);
    QMap<QString, QDomElement> sections;
    for (const QString& name : attachedSections()) {
        sections.insert(name, doc.createElement(name));
    }
    for (const char* pszName : c_apszTakenNames) {
        doc.createElement(pszName);
    }
    sections[c_szConfigVersion].setAttribute(c_szVersionId, c_nVersion);
    fillSections(sections, doc);
    if (m_pLayoutConfig) {
        m_pLayoutConfig->saveSetting(root, doc);
    }
    for (const QString& name : attachedSections()) {
        if (sections.contains(name)) {
            root.appendChild(sections[name]);
        }
    }
    writeFunctionTreeExpand(root, doc, m_bFormulaFunctionTreeExpand);
    doc.appendChild(root);
    return doc;
}

void CUserConfigManager::saveSettings()
{
    // Handed over, not shared: from here on only the worker knows the document.
    auto pDocument = std::make_unique<QDomDocument>(newDocument());
    m_pSaveState->m_bSaveSuccess = false;
    // Never the manager: it may end while its last save is still being written.
    boost::thread([pState = m_pSaveState, pDocument = std::move(pDocument)] {
        saveDocument(std::exchange(*pDocument, QDomDocument()), *pState);
    }).detach();
}

void CUserConfigManager::saveSync(QDomDocument& doc)
{
    saveDocument(doc, *m_pSaveState);
}

QString CUserConfigManager::userConfigFilePath(bool temp)
{
    return temp ? datedCopyPath() : liveFilePath();
}

} // namespace KW
