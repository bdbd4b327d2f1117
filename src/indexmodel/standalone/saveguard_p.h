#pragma once

#include "standalone/durablefile_p.h"

namespace standalone {

/// replaceFile(), asking the guard of the save that is going on, if there is one.
bool replaceGuarded(const QByteArray& path, const std::string& content, Sync sync = Sync::Disk);

} // namespace standalone
