#pragma once

#include "platform/commonutil.h"
#include "platform/declspec.h"

#include <QDomDocument>
#include <QDomElement>

namespace KW {

/// The single instance is utils::CManualSingletonT<CSpecialStrategyManager>::instance().
class PLATFORM_API CSpecialStrategyManager {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

} // namespace KW

// Defined once, by who supplies it, and imported by everybody else.
extern template class PLATFORM_API utils::CManualSingletonT<KW::CSpecialStrategyManager>;
