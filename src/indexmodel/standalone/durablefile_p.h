#pragma once

#include <QByteArray>
#include <QString>

#include <string>

namespace standalone {

enum class Sync {
    Disk, ///< only once it is on the disk, and reads back as it was written
    Never, ///< the system may take its time, and nobody looks
};

/// Puts \a content in the place of the file \a path, whole or not at all. The file is readable by
/// its owner only. False, with the reason in the log, leaves what was there, unless only the
/// directory entry could not be made durable.
///
///     if (!replaceFile(QFile::encodeName(path), content)) { ... }
bool replaceFile(const QByteArray& path, const std::string& content, Sync sync = Sync::Disk);

/// Makes the directory \a path and those above it that are missing, for their owner only.
bool makeDirectory(const QString& path);

/// Reads all of the file \a path; false, for one of more than KW::c_nMaxFileBytes, too, and \a
/// content as it was, when that cannot be done.
bool readFile(const QString& path, std::string& content);

} // namespace standalone
