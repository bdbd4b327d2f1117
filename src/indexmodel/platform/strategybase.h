#pragma once

#include "platform/declspec.h"

#include <cstdint>
#include <string>

namespace se {

/// Stores a value of the shared settings store; 0 means success. Safe from any thread.
PLATFORM_API int writeConfig(const std::string& key, const std::string& value);
PLATFORM_API int writeConfig(const std::string& section, const std::string& key,
                             const std::string& value, bool);

/// Reads a value of the shared settings store; anything but 0 leaves \a value alone.
PLATFORM_API int readConfig(const std::string& section, const std::string& key, std::string& value,
                            bool);

/// The data centre's options.
struct RPCOptionSettings {
    std::int32_t reportRefreshTime = 0;
    std::int32_t indexSortUpdate = 0;
    std::int32_t riseCompareTime = 0;
    std::int32_t delayRefreshTime = 0;
    std::int32_t oMinDataRestorePeroid = 0;
    std::int32_t fMinDataRestorePeroid = 0;
    std::int32_t tickRestoreDay = 0;
    std::int32_t flashKeepDataPeriod = 0;
    std::int32_t graphDisplay = 0;
    std::int32_t m_multiDaylines = 0;
    std::int32_t m_multiHourlines = 0;
    std::int32_t m_multiMinutelines = 0;
    std::int32_t m_multiTicklines = 0;
};

/// One constituent of a sector; texts are UTF-8.
struct RPCSectorStock {
    std::int64_t id = 0;
    std::string market;
    std::string code;
    double absoluteWeight = 0.0;
    double previousClose = 0.0;
};

} // namespace se
