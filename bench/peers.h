#pragma once

#include "documents.h"

namespace bench {

// The same content in what users would otherwise take. Each write ends with a durable file, and is
// the whole of what its caller waits for.

void qsettingsWrite(const QString& path, const Settings& settings);
int qsettingsRead(const QString& path);

void kconfigWrite(const QString& path, const Settings& settings);
int kconfigRead(const QString& path);

/// Reads the very file that the library reads, and forgets it; counts its elements.
int ptreeElements(const QString& path);

void ptreeWrite(const QString& path, const Settings& settings);
int ptreeRead(const QString& path);

} // namespace bench
