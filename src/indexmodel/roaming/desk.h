#pragma once

#include "roaming/arrangement.h"
#include "roaming/store.h"

#include <functional>
#include <optional>

namespace roaming {

/// A value of the settings store that a host's modules share.
struct SharedSetting {
    QString strSection;
    QString strKey;
    std::optional<QByteArray> value; ///< none: it is not there
};

/// The settings store, by whoever links it. Any thread.
struct SettingsAccess {
    /// Nothing where one of them cannot be read now: it would be taken for one that was removed.
    std::function<std::optional<QVector<SharedSetting>>()> all;
    std::function<bool(const SharedSetting&)> write; ///< true if it is stored, or removed
    std::function<std::optional<QByteArray>()> mirror; ///< of the user's file, as stored last
};

/// One user on one computer.
struct Desk {
    QString strConfigDir;
    Machine machine;
    CArrangement arrangement = {};
    SettingsAccess settings = {}; ///< where one is empty its part does not roam
};

/// This computer for the user's directory \a configDir: the same in every process, another one for
/// a copy elsewhere.
Machine thisMachine(const QString& configDir);

/// The document of a setting, "setting/UiSettingConfig/theme", and its text; and back.
QString settingDocument(const SharedSetting& setting);
QByteArray settingText(const SharedSetting& setting);
std::optional<SharedSetting> settingOf(const QString& document, const QByteArray& text);
bool isSettingDocument(const QString& document);

/// The document of a section that is held unless asked for: "held/strategyTrade".
QString heldDocument(const QString& section);

} // namespace roaming
