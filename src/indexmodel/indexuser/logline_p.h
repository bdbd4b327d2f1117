#pragma once

#include <fmt/format.h>

#include <string>

namespace KW {

enum class LogLevel { Info = 20000, Warn = 30000, Error = 40000 };

/// Where a line comes from. The text is kept by pointer: string literals only.
struct LogSite {
    const char* pszFunction;
    int nLine;
};

/// False when there is no logger or its effective level is above \a level.
bool isLogged(LogLevel level);

void writeLogLine(LogLevel level, const LogSite& site, const std::string& message);

/// Logs \a pszTemplate with {0}, {1} ... replaced by \a args, whose own braces mean nothing.
///
///     logLine(LogLevel::Info, { "void f(void)", 12 }, "[CUserConfigManager] file:{0}", path);
template <typename... Args>
void logLine(LogLevel level, const LogSite& site, const char* pszTemplate, const Args&... args)
{
    if (isLogged(level)) {
        writeLogLine(level, site, fmt::vformat(pszTemplate, fmt::make_format_args(args...)));
    }
}

} // namespace KW
