#pragma once

#include <QString>
#include <QStringList>

namespace inspect {

/// All that is a user's own and is there, files and folders, in no order: the live file and what
/// was set aside beside it, sectors.json, the lock, and what is in Temp, Settings and History.
QStringList belongings(const QString& configDir);

/// Where a write to \a path ends: links at its end are followed, also one to nowhere.
QString endOfLinks(const QString& path);

/// What of a user's own a write to \a path would replace or stand among: the live file, what was
/// set aside beside it, sectors.json, or anything in Temp, Settings or History. Its path; empty
/// where the user has nothing to fear. Files and folders are compared by what they are, not by
/// name: links of both kinds, other mounts and descriptors lead to the same ones. Of other users,
/// who are known by a live file, it is looked at the names around \a path. Any thread.
///
///     if (!inspect::belongingAt(dir, out).isEmpty()) { ... } // not there
QString belongingAt(const QString& configDir, const QString& path);

/// Whether both lead to one regular file.
bool isSameFile(const QString& left, const QString& right);

} // namespace inspect
