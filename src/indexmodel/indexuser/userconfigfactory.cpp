#include "indexuser/userconfigfactory.h"

#include "indexuser/cuserconfigmanager.h"

namespace KW {

UserConfigInterface* UserConfigFactory::getIndexUserConfig()
{
    return utils::CSingletonT<CUserConfigManager>::instance();
}

} // namespace KW
