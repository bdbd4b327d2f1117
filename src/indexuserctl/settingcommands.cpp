#include "commands.h"

#include "failure.h"
#include "texttable.h"

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>

ExitStatus getSetting(const QString& key)
{
    QString strValue;
    if (!KW::UserConfigFactory::getIndexUserConfig()->readConfig(key, strValue)) {
        throw CFailure(ExitStatus::Negative, QStringLiteral("there is no setting '%1'").arg(key));
    }
    printLine(strValue);
    return ExitStatus::Ok;
}

ExitStatus setSetting(const QString& key, const QString& value)
{
    KW::UserConfigInterface* const pService = KW::UserConfigFactory::getIndexUserConfig();
    QString strRead;
    if (!pService->writeConfig(key, value) || !pService->readConfig(key, strRead)
        || strRead != value) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("the setting '%1' was not stored").arg(key));
    }
    return ExitStatus::Ok;
}
