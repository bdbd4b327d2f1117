#pragma once

#include "format/indexuserexport.h"

namespace KW {

class UserConfigInterface;

class INDEXUSER_EXPORT UserConfigFactory {
public:
    /// The service of this process, created by the first call, from any thread. It lives until
    /// utils::CSingletonT<KW::CUserConfigManager>::release(). Null when memory is lacking.
    static UserConfigInterface* getIndexUserConfig();
};

} // namespace KW
