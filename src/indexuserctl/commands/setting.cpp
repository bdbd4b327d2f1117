#include "commands/settings.h"
#include "commands/userguard.h"
#include "commands/writing.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/closest.h>
#include <inspect/plaintext.h>

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>

namespace {

// Where the service keeps them.
QString section()
{
    return QStringLiteral("UiSettingConfig");
}

// The service does not tell a value that is not there from one that cannot be read.
std::optional<QString> settingOf(const QString& key)
{
    QString strValue;
    if (KW::UserConfigFactory::getIndexUserConfig()->readConfig(key, strValue)) {
        return strValue;
    }
    const QString strError = standalone::settingReadError(section(), key);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput, strError);
    }
    return std::nullopt;
}

void requireText(const QString& what, const QString& text)
{
    const QString strError = inspect::textError(text);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("the %1 '%2' %3").arg(what, text, strError));
    }
}

void requireKey(const QString& key)
{
    if (key.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("the key is empty"));
    }
    requireText(QStringLiteral("key"), key);
}

[[noreturn]] void failStore(const QString& key)
{
    const standalone::WriteFailure failure = standalone::lastWriteFailure();
    const QString strCause = failure.strReason.isEmpty()
        ? standalone::settingReadError(section(), key)
        : failure.strReason + ": " + failure.strPath;
    const QString strColon = strCause.isEmpty() ? QString() : QStringLiteral(": ");
    throw CFailure(ExitStatus::InputOutput,
                   QStringLiteral("the setting '%1' was not stored").arg(key) + strColon
                       + strCause);
}

} // namespace

QStringList settingKeys()
{
    return standalone::settingKeys(section());
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
    requireKey(strKey);
    requireText(QStringLiteral("value"), strValue);
    requireOwner(request);
    if (request.isDryRun() || request.format == Format::Json) {
        const std::optional<QString> before = settingOf(strKey);
        print({ Table { "changes",
                        "Setting",
                        { "part", "value", "left", "right" },
                        { { "settings", strKey, before ? QJsonValue(*before) : QJsonValue(),
                            strValue } } } },
              request.format);
    }
    if (request.isDryRun()) {
        return ExitStatus::Ok;
    }
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    // A directory that is not there yet takes no lock, and the store makes it; one that is closed
    // takes no setting either.
    takeLock(request, transaction);
    if (!KW::UserConfigFactory::getIndexUserConfig()->writeConfig(strKey, strValue)
        || settingOf(strKey) != strValue) {
        failStore(strKey);
    }
    return ExitStatus::Ok;
}
