#pragma once

#include <platform/limits.h>

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

/// Removes the file \a path durably; true if it is gone. Failures as with replaceFile().
bool removeFile(const QByteArray& path);

/// Makes the directory \a path and those above it that are missing, for their owner only. False,
/// and lastWriteFailure() tells why.
bool makeDirectory(const QString& path);

enum class ReadCause {
    None, ///< it was read whole
    Missing,
    Unreadable, ///< it is there, but cannot be read
};

struct ReadFailure {
    ReadCause cause = ReadCause::None;
    QString strReason; ///< in the system's words where they are its own
};

/// Reads all of the regular file \a path, if it has at most \a limit bytes; \a content stays as it
/// was when that cannot be done.
ReadFailure readFile(const QString& path, std::string& content, qint64 limit = KW::c_nMaxFileBytes);

} // namespace standalone
