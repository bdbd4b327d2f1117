#include "roaming/desk.h"

#include <QDir>
#include <QSysInfo>

namespace roaming {

namespace {

constexpr char c_szSetting[] = "setting/";
constexpr char c_szHeld[] = "held/";

QString encoded(const QString& text)
{
    return QString::fromLatin1(text.toUtf8().toPercentEncoding());
}

QString decoded(const QString& text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.toLatin1()));
}

} // namespace

Machine thisMachine(const QString& configDir)
{
    static const QUuid s_machines("6f0d9a0c-6f1b-4c0e-9a52-0d8f6a3f1c77");
    const QString strHost = QSysInfo::machineHostName();
    const QString strPlace = QFileInfo(configDir).canonicalFilePath();
    const QByteArray place = QSysInfo::machineUniqueId() + '\n' + strHost.toUtf8() + '\n'
        + (strPlace.isEmpty() ? QDir(configDir).absolutePath() : strPlace).toUtf8();
    return { QUuid::createUuidV5(s_machines, place), strHost };
}

QString settingDocument(const SharedSetting& setting)
{
    return c_szSetting + encoded(setting.strSection) + '/' + encoded(setting.strKey);
}

// A removed one is told from an empty one.
QByteArray settingText(const SharedSetting& setting)
{
    return setting.value ? '=' + *setting.value : QByteArray();
}

std::optional<SharedSetting> settingOf(const QString& document, const QByteArray& text)
{
    const QStringList names = document.split('/');
    if (!isSettingDocument(document) || names.size() != 3
        || !(text.isEmpty() || text.startsWith('='))) {
        return std::nullopt;
    }
    const auto value = text.isEmpty() ? std::nullopt : std::make_optional(text.mid(1));
    return SharedSetting { decoded(names[1]), decoded(names[2]), value };
}

bool isSettingDocument(const QString& document)
{
    return document.startsWith(QLatin1String(c_szSetting));
}

QString heldDocument(const QString& section)
{
    return c_szHeld + section;
}

} // namespace roaming
