#pragma once

namespace KW {

// What stands in a user's directory, and what the settings store calls the mirror of the file.
constexpr char c_szLiveFile[] = "indexUserConfig.xml";
constexpr char c_szDatedCopyPrefix[] = "indexUserConfig.xml_"; ///< the date follows, as yyyyMMdd
constexpr char c_szLockFile[] = "indexUserConfig.lock";
constexpr char c_szCopiesFolder[] = "Temp";
constexpr char c_szHistoryFolder[] = "History";
constexpr char c_szSettingsFolder[] = "Settings";
constexpr char c_szSectorsFile[] = "sectors.json";
constexpr char c_szMirrorKey[] = "userconfig.xml";

} // namespace KW
