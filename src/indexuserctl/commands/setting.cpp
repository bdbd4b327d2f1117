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

QString requiredSetting(const QString& key)
{
    const std::optional<QString> value = settingOf(key);
    if (!value) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no setting '%1'").arg(key)
                           + inspect::didYouMean(key, settingKeys()));
    }
    return *value;
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

Table settingChange(const QString& key, const QJsonValue& before, const QJsonValue& after)
{
    return { "changes",
             "Setting",
             { "part", "value", "left", "right" },
             { { "settings", key, before, after } } };
}

} // namespace

QStringList settingKeys()
{
    return standalone::settingKeys(section());
}

ExitStatus getSetting(const Request& request)
{
    const QString strKey = request.words.first();
    const QString strValue = requiredSetting(strKey);
    if (request.format == Format::Json) {
        print({ Table { "settings", {}, { "key", "value" }, { { strKey, strValue } } } },
              request.format);
    } else {
        printLine(strValue);
    }
    return ExitStatus::Ok;
}

ExitStatus listSettings(const Request& request)
{
    Table table { "settings", "Settings", { "key", "value" } };
    const auto keys = settingKeys();
    for (const QString& key : keys) {
        table.rows.append({ key, settingOf(key).value_or(QString()) });
    }
    print({ table }, request.format);
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
        print({ settingChange(strKey, before ? QJsonValue(*before) : QJsonValue(), strValue) },
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

ExitStatus unsetSetting(const Request& request)
{
    const QString strKey = request.words.first();
    const QString strBefore = requiredSetting(strKey);
    requireOwner(request);
    if (request.isDryRun() || request.format == Format::Json) {
        print({ settingChange(strKey, strBefore, QJsonValue()) }, request.format);
    }
    if (request.isDryRun()) {
        return ExitStatus::Ok;
    }
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    if (!standalone::removeSetting(section(), strKey)) {
        const standalone::WriteFailure failure = standalone::lastWriteFailure();
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("the setting '%1' is still there: %2: %3")
                           .arg(strKey, failure.strReason, failure.strPath));
    }
    return ExitStatus::Ok;
}
