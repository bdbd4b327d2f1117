#pragma once

#include "format/indexuserexport.h"
#include "format/paramsettingforclient.h"
#include "format/sectorfilter.h"
#include "indexuser/userconfigfactory.h"
#include "indexuser/userconfiginterface.h"
#include "platform/commonutil.h"

#include <QDomDocument>
#include <QDomElement>
#include <QObject>
#include <QString>

#include <memory>

namespace KW {
class CUserConfigManager;
struct SaveState;
}

// Instantiated once, in the library, so that every module sees the same instance.
extern template class INDEXUSER_EXPORT utils::CSingletonT<KW::CUserConfigManager>;

namespace KW {

/// The one implementation of the service; see UserConfigInterface for its operations.
///
/// It conducts: each section of the file has a reader and a writer of its own, and this class only
/// calls them, and the managers of the sections that belong to others, in their fixed order.
/// Reached through UserConfigFactory; this header is for those who need the Qt signals, the FN10
/// switch or release().
///
///     utils::CSingletonT<KW::CUserConfigManager>::release();
class INDEXUSER_EXPORT CUserConfigManager : public QObject,
                                            public UserConfigInterface,
                                            public utils::CSingletonT<CUserConfigManager> {
    Q_OBJECT

public:
    CUserConfigManager();
    /// Leaves the layouts alive: modules keep their pointer to them.
    ~CUserConfigManager() override;

    void loadSettings() override;
    void saveSettings() override;
    void optionSettingChange() override;
    void smartKeyConfigChange() override;
    bool writeConfig(QString key, const QString& value) override;
    bool readConfig(QString key, QString& value) override;
    void conditionsChange() override;
    void readFN10DisplayConfig() override;
    bool exportSectorStock2CVS(QString sector, QString directory) override;
    CPanelGroupLayoutConfig* getLayoutConfig() override;
    void updateDataCenterSetting(se::RPCOptionSettings& settings) override;
    void updateAccerPeriod(int period) override;
    void saveSmartKeyboardSetting(int config, const QString& qsConfig) override;
    void setPanelGroupLayout(int number, const CPanelGroupLayoutSetting& setting) override;
    paramSettingForClient getParamSettingForClient() override;
    void setParamSettingForClient(const paramSettingForClient& param) override;
    void getCustomStockMap(CustomStockMap& stocks) override;
    void setCustomStockMap(CustomStockMap& stocks) override;
    void setFormulaFunctionTreeExpand(bool expand) override;
    bool getFormulaFunctionTreeExpand() override;
    void setCatalogChange(bool changed) override;
    bool getCatalogChange() override;
    void setSaveSuccess(bool success) override;
    bool getSaveSuccess() override;
    void setLinkageQuote(bool linkage) override;
    bool getLinkageQuote() override;
    void setCurrentUser(const QString& user) override;
    QString getCurrentUser() override;

    /// The FN10 display switch; readFN10DisplayConfig() turns it on, nothing turns it off.
    bool m_bDbifEnable = false;

Q_SIGNALS:
    // Emitted by optionSettingChange() and conditionsChange(); the others are for other modules to
    // emit. None of them tells that a save has ended: ask getSaveSuccess().
    void sigOptionSettingChange();
    void sigSmartKeyConfig();
    void sigConditionsChange();
    void sigUpdateView();
    void sigConfigSaved(QString text);

protected:
    // Loaders take the root and find their section; savers fill the element that they are given.
    void loadOptionSettings(QDomElement& root);
    void saveOptionSettings(QDomElement& element, QDomDocument& doc);
    void loadCustomStock(QDomElement& root);
    void saveCustomStock(QDomElement& element, QDomDocument& doc);
    void loadSectorFilterConfig(QDomElement& parent);
    void saveSectorFilterConfig(QDomElement& element, QDomDocument& doc);
    void loadUserParam(QDomElement& root);
    void saveUserParam(QDomElement& parent, QDomDocument& doc);

    // For derived classes: a save asks the managers itself.
    void saveExtendData(QDomElement& element, QDomDocument& doc);
    void saveExternalData(QDomElement& element, QDomDocument& doc);
    void saveFormulaCatalog(QDomElement& element, QDomDocument& doc);
    void saveGroupSettings(QDomElement& element, QDomDocument& doc);
    void saveSector(QDomElement& element, QDomDocument& doc);
    void saveWindData(QDomElement& element, QDomDocument& doc);
    void saveIndex(QDomElement& element, QDomDocument& doc);

    /// Writes \a doc, which nobody else may hold, and ends by setting getSaveSuccess(). It is what
    /// the thread of a save does, and lets no exception out.
    void saveSync(QDomDocument& doc);

    /// The live file, or with \a temp today's dated copy, whose directory is then made.
    QString userConfigFilePath(bool temp);

private:
    void loadSections(QDomElement& root);
    void fillSections(QMap<QString, QDomElement>& sections, QDomDocument& doc);
    QDomDocument newDocument();

    QString m_strCurrentUser;
    paramSettingForClient m_clientParam;
    SectorFilterMap m_sectorFilterMap;
    bool m_bCatalogChange = true;
    CustomStockMap m_customStockMap;
    bool m_bLinkageQuote = false;
    bool m_bFormulaFunctionTreeExpand = false;
    std::shared_ptr<SaveState> m_pSaveState; ///< shared with the threads of saves
    CPanelGroupLayoutConfig* m_pLayoutConfig;
};

} // namespace KW
