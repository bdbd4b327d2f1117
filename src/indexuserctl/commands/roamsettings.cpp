#include "commands/roamsettings.h"

#include "failure.h"

#include <platform/filenames.h>
#include <platform/strategybase.h>
#include <standalone/standalone.h>

namespace {

std::optional<QByteArray> valueOf(const standalone::SettingName& name)
{
    std::string strValue;
    const bool bThere
        = se::readConfig(name.strSection.toStdString(), name.strKey.toStdString(), strValue, false)
        == 0;
    return bThere ? std::make_optional(QByteArray::fromStdString(strValue)) : std::nullopt;
}

std::optional<QVector<roaming::SharedSetting>> allSettings()
{
    QVector<roaming::SharedSetting> settings;
    const auto names = standalone::settingNames();
    for (const standalone::SettingName& name : names) {
        const auto value = valueOf(name);
        if (!value && !standalone::settingReadError(name.strSection, name.strKey).isEmpty()) {
            return std::nullopt;
        }
        if (value) {
            settings.append({ name.strSection, name.strKey, value });
        }
    }
    return settings;
}

bool writeSetting(const roaming::SharedSetting& setting)
{
    return setting.value
        ? se::writeConfig(setting.strSection.toStdString(), setting.strKey.toStdString(),
                          setting.value->toStdString(), false)
            == 0
        : standalone::removeSetting(setting.strSection, setting.strKey);
}

void requireReadable()
{
    const auto names = standalone::settingNames();
    for (const standalone::SettingName& name : names) {
        const QString strError = standalone::settingReadError(name.strSection, name.strKey);
        if (!strError.isEmpty()) {
            throw CFailure(ExitStatus::InputOutput, strError);
        }
    }
}

std::optional<QByteArray> mirror()
{
    return valueOf({ {}, KW::c_szMirrorKey });
}

} // namespace

roaming::SettingsAccess settingsAccess()
{
    requireReadable();
    return { allSettings, writeSetting, mirror };
}
