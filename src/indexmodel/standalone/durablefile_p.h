#pragma once

#include <QByteArray>
#include <QString>

#include <string>

namespace standalone {

/// Puts \a content in the place of the file \a path, whole or not at all, and only once it is on
/// the disk. The file is readable by its owner only. False, with the reason in the log, leaves what
/// was there, unless only the directory entry could not be made durable.
///
///     if (!replaceFile(QFile::encodeName(path), content)) { ... }
bool replaceFile(const QByteArray& path, const std::string& content);

/// Reads all of the file \a path; false, and \a content as it was, when that cannot be done.
bool readFile(const QString& path, std::string& content);

} // namespace standalone
