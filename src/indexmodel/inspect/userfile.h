#pragma once

#include "inspect/textpositions.h"

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

/// "whole", "damaged"; "unreadable" for missing ones, too.
QString stateName(FileState state);

/// Why a file is not whole, or did not become so.
enum class FileCause {
    None,
    System, ///< in the system's words
    NotRegular,
    TooLarge, ///< more bytes than were allowed
    NotUtf8, ///< the name of the encoding that it probably is in, empty where nobody can tell
    Malformed, ///< in the parser's words, as the next
    TooDeep, ///< nested below KW::c_nMaxDepth
    OtherRoot, ///< the name of the root that is there
    NotSetAside, ///< in the system's words
    NotWritten,
    Altered, ///< its bytes are not those that its name stands for
};

struct FileError {
    FileCause cause = FileCause::None;
    QString strPath;
    QString strDetail; ///< the words, the limit or the name that belong to the cause
    TextPosition at; ///< in the text, if that is known
};

/// One line for people: the file with line and column, and the reason; empty for no error.
QString toText(const FileError& error);

/// One user file, live or dated, read by itself: nothing is handed to the service.
struct UserFile {
    FileState state = FileState::Missing;
    QDomDocument document; ///< empty unless the file is whole
    FileError error;
    QString strText; ///< what was read of a whole file
};

/// The bytes of one file, whatever they mean.
struct FileBytes {
    FileState state = FileState::Missing; ///< damaged when there are more than were allowed
    QByteArray bytes; ///< empty unless the file is whole
    FileError error;
};

/// Reads at most \a limit bytes, and one more to know that it is too many: of an endless file, too.
/// Any thread. Anything but a regular file is unreadable, since a named pipe might never answer,
/// unless \a path names a descriptor of this process: /dev/stdin, /dev/fd/63.
FileBytes readBytes(const QString& path, qint64 limit = KW::c_nMaxFileBytes);

/// The same of a user's live file; one that a save has just removed is waited for, up to 200 ms.
FileBytes readSavedBytes(const QString& path);

/// What is done with bytes that are no UTF-8.
enum class OtherBytes {
    Refused, ///< the file is damaged
    Replaced, ///< each comes as U+FFFD, as in a load by the service
};

/// Any thread. A root that is not ICUserConfigFile makes a file damaged, though a load takes it. A
/// live file that a save has just removed is waited for, up to 200 ms.
///
///     const inspect::UserFile file = inspect::readUserFile(path);
UserFile readUserFile(const QString& path, OtherBytes others = OtherBytes::Refused);

/// What the bytes of a user's file are.
UserFile userFileOf(const FileBytes& file, OtherBytes others = OtherBytes::Refused);

/// The same for files with any root: exported templates.
UserFile readDocument(const QString& path, OtherBytes others = OtherBytes::Refused);

/// The root of every user's file.
QString rootTag();

/// The live file of a user's directory.
QString livePath(const QString& configDir);

} // namespace inspect
