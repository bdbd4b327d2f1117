#pragma once

#include "platform/declspec.h"

#include <QDomDocument>
#include <QDomElement>

namespace KW {

/// The single instance is utils::CManualSingletonT<COrderService>::instance().
class PLATFORM_API COrderService {
public:
    void loadSettings(QDomElement& root);
    void saveSettings(QDomElement& element, QDomDocument& doc);
};

} // namespace KW
