#pragma once

#include "platform/strategybase.h"

#include <QString>

#include <cstdint>

namespace KW {

/// The client's options: one plain value, handed in and out whole.
///
/// A new record holds the defaults. The library stores these values and attaches no unit to them;
/// the modules that read a field define it. Usable wherever the data centre's options are wanted.
struct paramSettingForClient : se::RPCOptionSettings {
    // The base's fields in its order: chart lines by days, hours and minutes count 3, ticks none.
    paramSettingForClient()
        : se::RPCOptionSettings { 500, 300, 300, 0, 0, 0, 1, 0, 0, 3, 3, 3, 0 }
    {
    }

    std::int32_t monitorClipboard = 0;
    std::int32_t showAllQuoteData = 0;
    std::int32_t formulaDebug = 0;

    // Read from the file, never written to it.
    std::int32_t InitPopTaskCondition = 80;
    bool updateposition = false;
    std::int32_t groupSignalCondition = 80;
    QString groupSignalRunTime = QStringLiteral("00:00"); ///< time of day

    QString updateF10DateTime;
    std::int32_t smartKeyConfig = -1;
    /// Category flags, one bit each, in the user's order.
    QString qsSmartKeyConfig = QStringLiteral(
        "4096,2097152,8192,1,8,64,16,2,256,128,512,16777216,8388608,4194304,4,32,2048,32768,"
        "268435456,536870912");
    std::int32_t dividDataTime = 1;
    std::int32_t extParam1 = 50; ///< extParam1 to 6 and extFlag1 belong to other modules; not saved
    std::int32_t wholeQuoter = 1;
    std::int32_t extParam2 = 0;
    std::int32_t extParam3 = 0;
    std::int32_t extParam4 = 0;
    std::int32_t extParam5 = 0;
    std::int32_t extParam6 = 0;
    QString oaAddress;
    QString oaTableName;
    QString oaUser;
    QString oaPassword; ///< plain text, here and in the file
    bool showGradient = true;
    bool extFlag1 = true;
    bool showParamRank = false;
    bool m_bFilterFutureOptCheck = false;
};

} // namespace KW
