#pragma once

#include "platform/declspec.h"

#include <QString>

namespace KW {

/// The directory that holds the user's configuration, without a trailing separator.
PLATFORM_API QString getConfigDir();

} // namespace KW
