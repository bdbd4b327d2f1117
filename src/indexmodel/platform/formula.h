#pragma once

#include "platform/commonutil.h"
#include "platform/declspec.h"
#include "platform/marketdata.h"
#include "platform/strategybase.h"

#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QString>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace KW {

// Each manager is the single instance utils::CSingletonT<T>::instance(). A loader takes the root
// of the user's file and finds its own section, leaving its defaults when there is none. A saver
// fills the element that it is given, which is not attached yet, and keeps no handle on it.

class PLATFORM_API CSectorManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings();
    void addStockListToSector(QList<std::shared_ptr<rxservice::CInstrumentDetail>>& stocks);
};

class PLATFORM_API CFormulaOperateManager {
public:
    /// \a root is null when the user's file could not be read.
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
    void loadGroupIndexSettings(QDomElement& root);
    void saveGroupIndexSettings(QDomElement& element, QDomDocument& doc);
};

class PLATFORM_API CExtendDataManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

class PLATFORM_API CExternalDataManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

class PLATFORM_API CWindDataManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

class PLATFORM_API CStrategyTradeManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
    void loadAlgoSettings(QDomElement& root);
    /// Sets \a omitted to true when the element is to stay out of the file.
    void saveAlgoSettings(QDomElement& element, QDomDocument& doc, bool& omitted);
};

class PLATFORM_API CDrawGraphManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

class PLATFORM_API CFormulaHistoryDataManager {
public:
    void loadTradeStrategyHistoryData();
};

class PLATFORM_API CFormulaManager {
public:
    void setOptionSettings(std::map<std::string, int>& settings);
};

class PLATFORM_API CStockManager {
public:
    void insertCustomDetail(const QString& key,
                            std::shared_ptr<rxservice::CInstrumentDetail> pDetail);
    /// Null when nobody knows \a key.
    std::shared_ptr<rxservice::CInstrumentDetail> getInstrumentDetail(const QString& key);
    bool getSectorStock(const std::string& sector, std::vector<se::RPCSectorStock>& stocks);
};

} // namespace KW

// Each defined once, by who supplies its manager, and imported by everybody else.
extern template class PLATFORM_API utils::CSingletonT<KW::CSectorManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CFormulaOperateManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CExtendDataManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CExternalDataManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CWindDataManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CStrategyTradeManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CDrawGraphManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CFormulaHistoryDataManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CFormulaManager>;
extern template class PLATFORM_API utils::CSingletonT<KW::CStockManager>;
