#pragma once

#include <QByteArray>
#include <QString>

namespace mend {

/// Makes what stands in a file, or which names stand in a directory, outlast a power cut. False
/// where the system refuses.
bool syncPath(const QString& path);

/// Makes the directory \a path, for its owner only, and its entry durable; true if it is there.
bool makeDurableDirectory(const QString& path);

/// Replaces the file \a path by \a content, whole or not at all and durably, through the siblings.
bool writeDurably(const QString& path, const QByteArray& content);

} // namespace mend
