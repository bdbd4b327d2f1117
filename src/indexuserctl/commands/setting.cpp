#include "commands/settings.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/closest.h>
#include <inspect/plaintext.h>

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>

namespace {

std::optional<QString> settingOf(const QString& key)
{
    QString strValue;
    const bool bThere = KW::UserConfigFactory::getIndexUserConfig()->readConfig(key, strValue);
    return bThere ? std::make_optional(strValue) : std::nullopt;
}

void requirePlain(const QString& what, const QString& text)
{
    if (inspect::hasControlCharacter(text)) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("the %1 '%2' holds a control character").arg(what, text));
    }
}

} // namespace

QStringList settingKeys()
{
    return standalone::settingKeys(QStringLiteral("UiSettingConfig"));
}

ExitStatus getSetting(const Request& request)
{
    const QString strKey = request.words.first();
    const std::optional<QString> value = settingOf(strKey);
    if (!value) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no setting '%1'").arg(strKey)
                           + inspect::didYouMean(strKey, settingKeys()));
    }
    if (request.format == Format::Json) {
        print({ Table { "settings", {}, { "key", "value" }, { { strKey, *value } } } },
              request.format);
    } else {
        printLine(*value);
    }
    return ExitStatus::Ok;
}

ExitStatus setSetting(const Request& request)
{
    const QString strKey = request.words[0];
    const QString strValue = request.words[1];
    requirePlain(QStringLiteral("key"), strKey);
    requirePlain(QStringLiteral("value"), strValue);
    if (request.isDryRun()) {
        const std::optional<QString> before = settingOf(strKey);
        print({ Table { "differences",
                        "Setting",
                        { "value", "left", "right" },
                        { { strKey, before ? QJsonValue(*before) : QJsonValue(), strValue } } } },
              request.format);
        return ExitStatus::Ok;
    }
    if (!KW::UserConfigFactory::getIndexUserConfig()->writeConfig(strKey, strValue)
        || settingOf(strKey) != strValue) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("the setting '%1' was not stored").arg(strKey));
    }
    return ExitStatus::Ok;
}
