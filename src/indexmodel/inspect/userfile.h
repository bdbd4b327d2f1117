#pragma once

#include <platform/limits.h>

#include <QByteArray>
#include <QDomDocument>
#include <QString>

namespace inspect {

enum class FileState {
    Whole,
    Missing,
    Unreadable, ///< it is there, but the system does not let it be read
    Damaged, ///< it was read and is no user file: no XML, or its root is another
};

/// One user file, live or dated, read by itself: nothing is handed to the service.
struct UserFile {
    FileState state = FileState::Missing;
    QDomDocument document; ///< empty unless the file is whole
    QString strError; ///< names the file and the reason, line and column if known; empty if whole
    QString strText; ///< what was read of a whole file
};

/// The bytes of one file, whatever they mean.
struct FileBytes {
    FileState state = FileState::Missing; ///< damaged when there are more than were allowed
    QByteArray bytes; ///< empty unless the file is whole
    QString strError; ///< names the file and the reason; empty if whole
};

/// Reads at most \a limit bytes, and one more to know that it is too many: of an endless file, too.
/// Any thread. Anything but a regular file is unreadable, since a named pipe might never answer,
/// unless \a path names a descriptor of this process: /dev/stdin, /dev/fd/63.
FileBytes readBytes(const QString& path, qint64 limit = KW::c_nMaxFileBytes);

/// Any thread. A root that is not ICUserConfigFile makes a file damaged, though a load takes it.
///
///     const inspect::UserFile file = inspect::readUserFile(path);
UserFile readUserFile(const QString& path);

/// The same for files with any root: exported templates.
UserFile readDocument(const QString& path);

/// The root of every user's file.
QString rootTag();

/// The live file of a user's directory.
QString livePath(const QString& configDir);

} // namespace inspect
