#pragma once

#include <QDomDocument>
#include <QString>

namespace inspect {

enum class FileState {
    Whole,
    Missing,
    Unreadable, ///< it is there, but the system does not let it be read
    Damaged, ///< it was read and is no user file
};

/// One user file, live or dated, read by itself: nothing is handed to the service.
struct UserFile {
    FileState state = FileState::Missing;
    QDomDocument document; ///< empty unless the file is whole
    QString strError; ///< names the file and, if it is damaged, line and column; empty if whole
    QString strText; ///< what was read of a whole file
};

/// A file larger than this is no user's, and is called damaged unread.
constexpr qint64 c_nMaxFileBytes = 256LL * 1024 * 1024;

/// Any thread.
///
///     const inspect::UserFile file = inspect::readUserFile(path);
UserFile readUserFile(const QString& path);

/// The live file of a user's directory.
QString livePath(const QString& configDir);

} // namespace inspect
