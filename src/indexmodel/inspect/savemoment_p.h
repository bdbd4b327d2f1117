#pragma once

#include <QString>

namespace inspect {

/// Whether the live file \a path, which is missing, may be on its way: a save removes it when it
/// has just written a dated copy, and then copies that to its place.
bool isBeingSaved(const QString& path);

} // namespace inspect
