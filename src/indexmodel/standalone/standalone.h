#pragma once

#include "platform/declspec.h"

#include <QString>

/// What a host tells these stand-ins for the client's libraries before it asks for the service.
///
///     standalone::setConfigDir(QStringLiteral("/home/user/quotes"));
///     standalone::logToStderr();
namespace standalone {

/// The user's directory; empty for the application's own below the user's configuration location.
/// Any thread.
PLATFORM_API void setConfigDir(const QString& directory);

/// Where log lines go, from INFO upwards; nowhere until one of these is called, before any load or
/// save. logToFile() appends, and answers false when the file cannot be written.
PLATFORM_API void logToStderr();
PLATFORM_API bool logToFile(const QString& path);

/// Forgets all that loads and saves have handed over, as a new process would. Not while any runs.
PLATFORM_API void forgetAll();

} // namespace standalone
