#include "secondmodule.h"

#include "indexuser/cuserconfigmanager.h"
#include "platform/formula.h"

KW::UserConfigInterface* serviceOfSecondModule()
{
    return KW::UserConfigFactory::getIndexUserConfig();
}

KW::CUserConfigManager* instanceOfSecondModule()
{
    return utils::CSingletonT<KW::CUserConfigManager>::instance();
}

KW::CSectorManager* siblingOfSecondModule()
{
    return utils::CSingletonT<KW::CSectorManager>::instance();
}

void releaseInSecondModule()
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
}
