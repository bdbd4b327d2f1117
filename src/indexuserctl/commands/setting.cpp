#include "commands/bringback.h"
#include "commands/settings.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"
#include "terminal/output.h"
#include "terminal/secret.h"

#include <inspect/closest.h>
#include <inspect/optionvalues.h>
#include <inspect/plaintext.h>

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>
#include <platform/strategybase.h>

#include <QDir>

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

CFailure notStored(const QString& key)
{
    const standalone::WriteFailure failure = standalone::lastWriteFailure();
    const QString strCause = failure.strReason.isEmpty()
        ? standalone::settingReadError(section(), key)
        : failure.strReason + ": " + failure.strPath;
    const QString strColon = strCause.isEmpty() ? QString() : QStringLiteral(": ");
    return CFailure(ExitStatus::InputOutput,
                    QStringLiteral("the setting '%1' was not stored").arg(key) + strColon
                        + strCause);
}

QJsonValue shown(const std::optional<QByteArray>& value)
{
    return value ? QJsonValue(QString::fromUtf8(*value)) : QJsonValue();
}

// People see the values of what is not done yet only.
void printChange(const Request& request, const mend::CTransaction::SettingStep& step)
{
    if (request.isDryRun() || request.format == Format::Json) {
        print({ { "changes",
                  "Setting",
                  { "part", "value", "left", "right" },
                  { { "settings", step.strSetting, shown(step.before), shown(step.after) } } } },
              request.format);
    }
}

// Byte for byte.
std::optional<QByteArray> stored(const QString& key)
{
    std::string strValue;
    if (se::readConfig(section().toStdString(), key.toStdString(), strValue, false) == 0) {
        return QByteArray::fromStdString(strValue);
    }
    const QString strError = standalone::settingReadError(section(), key);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput, strError);
    }
    return std::nullopt;
}

bool write(const QString& key, const std::optional<QByteArray>& value)
{
    return value
        ? se::writeConfig(section().toStdString(), key.toStdString(), value->toStdString(), false)
            == 0
        : standalone::removeSetting(section(), key);
}

// Among the words, or out of sight of whoever looks at those.
QString newValue(const Request& request)
{
    const QString strKey = request.words.first();
    const bool bWord = request.words.size() > 1;
    const bool bFile = request.valueFile.has_value();
    if (!bWord && !bFile && inspect::isSecret(strKey)) {
        return readSecret(strKey);
    }
    if (bWord == bFile) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("either VALUE or --from-file FILE is wanted"));
    }
    return bWord ? request.words[1] : valueIn(*request.valueFile);
}

struct Step {
    mend::HistoryAction action = mend::HistoryAction::Edit;
    int nOf = 0;
};

// The value before is kept first, and what is there then is read again.
mend::Receipt store(const Request& request, mend::CTransaction& transaction,
                    const mend::CTransaction::SettingStep& change, const Step& step)
{
    const mend::WriteFailure failure = transaction.keepSetting(change, step.action, step.nOf);
    if (failure != mend::WriteFailure::None) {
        throw writeFailure(request, failure, {});
    }
    if (!write(change.strSetting, change.after)) {
        const CFailure refused = notStored(change.strSetting); // of the last write so far
        transaction.abandon();
        throw refused;
    }
    if (stored(change.strSetting) != change.after) {
        throw notStored(change.strSetting);
    }
    return transaction.finishSetting(change.after,
                                     standalone::settingFile(section(), change.strSetting));
}

void printStored(const QString& what, const mend::Receipt& receipt, const QString& wayBack)
{
    record({ receiptTable(receipt) });
    printReceipt(what, receipt, wayBack);
    requireDurable(receipt);
}

QByteArray digestOf(const std::optional<QByteArray>& value)
{
    return value ? mend::digestOf(*value) : QByteArray();
}

} // namespace

QByteArray settingDigest(const QString& key)
{
    return digestOf(stored(key));
}

ExitStatus stepSetting(const Request& request, const mend::HistoryEntry& entry,
                       const std::optional<QByteArray>& state, mend::HistoryAction action)
{
    const bool bUndo = action == mend::HistoryAction::Undo;
    const bool bEdit = action == mend::HistoryAction::Edit;
    requireOwner(request);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    const mend::CTransaction::SettingStep change { entry.strSetting, stored(entry.strSetting),
                                                   state };
    const bool bExpected = digestOf(change.before) == (bUndo ? entry.after : entry.before);
    if (!bEdit && !bExpected && !request.isForced()) {
        throw CFailure(
            ExitStatus::Negative,
            QStringLiteral("the setting '%1' has been changed since; --force all the same")
                .arg(entry.strSetting));
    }
    printChange(request, change);
    if (request.isDryRun()) {
        printLine(QStringLiteral("would bring back the setting '%1'").arg(entry.strSetting));
        return ExitStatus::Ok;
    }
    const mend::Receipt receipt
        = store(request, transaction, change, { action, bEdit ? 0 : entry.nNumber });
    printStored(QStringLiteral("brought back the setting '%1'").arg(entry.strSetting), receipt,
                commandBack(action, bExpected, receipt.nEdit));
    return ExitStatus::Ok;
}

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
    requireKey(strKey);
    const QString strValue = newValue(request);
    requireText(QStringLiteral("value"), strValue);
    requireOwner(request);
    // The store makes a directory that is not there yet; only then can it take the lock.
    if (!request.isDryRun()) {
        QDir().mkpath(request.strConfigDir);
    }
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    const mend::CTransaction::SettingStep change { strKey, stored(strKey), strValue.toUtf8() };
    printChange(request, change);
    if (request.isDryRun()) {
        return ExitStatus::Ok;
    }
    const mend::Receipt receipt = store(request, transaction, change, {});
    if (settingOf(strKey) != strValue) {
        throw notStored(strKey);
    }
    printStored(QStringLiteral("stored the setting '%1'").arg(strKey), receipt, "undo");
    return ExitStatus::Ok;
}

ExitStatus unsetSetting(const Request& request)
{
    const QString strKey = request.words.first();
    requiredSetting(strKey);
    requireOwner(request);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    requiredSetting(strKey); // whoever had the lock may have removed it
    const mend::CTransaction::SettingStep change { strKey, stored(strKey), std::nullopt };
    printChange(request, change);
    if (request.isDryRun()) {
        return ExitStatus::Ok;
    }
    const mend::Receipt receipt = store(request, transaction, change, {});
    printStored(QStringLiteral("removed the setting '%1'").arg(strKey), receipt, "undo");
    return ExitStatus::Ok;
}
