#include "indexuser/logline_p.h"

#include "platform/commonutil.h"

#include <log4cxx/level.h>
#include <log4cxx/spi/location/locationinfo.h>

namespace KW {

namespace {

constexpr char c_szFile[] = "src/indexmodel/indexuser/cuserconfigmanager";
constexpr char c_szShortFile[] = "cuserconfigmanager";

} // namespace

bool isLogged(LogLevel level)
{
    return g_RXStdLogger && g_RXStdLogger->getEffectiveLevel()->toInt() <= static_cast<int>(level);
}

void writeLogLine(LogLevel level, const LogSite& site, const std::string& message)
{
    g_RXStdLogger->forcedLog(
        log4cxx::Level::toLevel(static_cast<int>(level)), message,
        log4cxx::spi::LocationInfo(c_szFile, c_szShortFile, site.pszFunction, site.nLine));
}

} // namespace KW
