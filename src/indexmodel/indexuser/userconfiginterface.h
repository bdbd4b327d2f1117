#pragma once

#include "format/customstocks.h"
#include "format/indexuserexport.h"
#include "format/paramsettingforclient.h"

#include <QString>

#include <boost/signals2/signal.hpp>

namespace KW {

class CPanelGroupLayoutConfig;
class CPanelGroupLayoutSetting;

/// The configuration of the current user, as the client's modules see it.
///
/// Setters change memory only: nothing is saved before saveSettings() and nothing is announced
/// before one of the notifying operations. All operations belong to one thread, usually that of
/// the user interface; only the writing that saveSettings() starts runs elsewhere.
///
///     KW::UserConfigInterface* pConfig = KW::UserConfigFactory::getIndexUserConfig();
///     pConfig->loadSettings();
class INDEXUSER_EXPORT UserConfigInterface {
public:
    UserConfigInterface();
    virtual ~UserConfigInterface();

    /// Reads the user's file and hands its sections to their owners. A missing or malformed file
    /// is logged as an error and leaves every section at its defaults.
    virtual void loadSettings() = 0;

    /// Builds the whole document here and now and writes it on a thread of its own. Ask
    /// getSaveSuccess() when it has ended and the log for how: the file is not touched before the
    /// first loadSettings(). Throws boost::thread_resource_error when no thread can be had.
    virtual void saveSettings() = 0;

    virtual void optionSettingChange() = 0; ///< emits CUserConfigManager::sigOptionSettingChange()
    virtual void smartKeyConfigChange() = 0; ///< fires sigStockListChanged

    /// One text of the shared settings store, by key; false when it could not be stored.
    virtual bool writeConfig(QString key, const QString& value) = 0;
    /// False when there is no such key; \a value is then left alone.
    virtual bool readConfig(QString key, QString& value) = 0;

    virtual void conditionsChange() = 0; ///< emits CUserConfigManager::sigConditionsChange()

    /// Looks up the FN10 display switch in the formula server's ini file: on stays on.
    virtual void readFN10DisplayConfig() = 0;

    /// Writes the stocks of \a sector that pass its filter to a dated CSV file in \a directory.
    /// False when the sector has no stocks; true otherwise, even if the file could not be written.
    virtual bool exportSectorStock2CVS(QString sector, QString directory) = 0;

    /// The layouts, which outlive this service; null only when memory was lacking.
    virtual CPanelGroupLayoutConfig* getLayoutConfig() = 0;

    /// Passes the four line counts of \a settings to the formula engine and keeps nothing.
    virtual void updateDataCenterSetting(se::RPCOptionSettings& settings) = 0;
    /// Fires sigAccerPeriodChanged with \a period and keeps nothing.
    virtual void updateAccerPeriod(int period) = 0;

    /// Sets smartKeyConfig and qsSmartKeyConfig of the client's options.
    virtual void saveSmartKeyboardSetting(int config, const QString& qsConfig) = 0;
    /// Does nothing; layouts are set through getLayoutConfig().
    virtual void setPanelGroupLayout(int number, const CPanelGroupLayoutSetting& setting) = 0;

    virtual paramSettingForClient getParamSettingForClient() = 0;
    virtual void setParamSettingForClient(const paramSettingForClient& param) = 0;

    virtual void getCustomStockMap(CustomStockMap& stocks) = 0;
    /// Other managers learn of \a stocks with the next load, the file with the next save.
    virtual void setCustomStockMap(CustomStockMap& stocks) = 0;

    virtual void setFormulaFunctionTreeExpand(bool expand) = 0;
    virtual bool getFormulaFunctionTreeExpand() = 0;
    virtual void setCatalogChange(bool changed) = 0;
    virtual bool getCatalogChange() = 0; ///< true on a new service
    virtual void setSaveSuccess(bool success) = 0;
    /// False from saveSettings() until its writing has ended, well or badly. Any thread.
    virtual bool getSaveSuccess() = 0;
    virtual void setLinkageQuote(bool linkage) = 0;
    virtual bool getLinkageQuote() = 0;
    virtual void setCurrentUser(const QString& user) = 0;
    virtual QString getCurrentUser() = 0;

    // Slots run in the firing thread; what they throw reaches the caller of the firing operation.
    boost::signals2::signal<void()> sigStockListChanged;
    boost::signals2::signal<void()> sigInterfaceAux; ///< for other modules to fire
    boost::signals2::signal<void(int)> sigAccerPeriodChanged; ///< carries the new period
    boost::signals2::signal<void(QString)> sigInterfaceText; ///< for other modules to fire
};

} // namespace KW
