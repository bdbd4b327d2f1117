#pragma once

#include <QDate>
#include <QString>
#include <QVector>

namespace inspect {

/// How many seconds a save takes at most, even that of a very large user: its mirror, its dated
/// copy and its live file are no further apart.
constexpr qint64 c_nSecondsOfASave = 10;

/// A dated copy: the last save of a day. What is in it, and whether it is whole, tells
/// readUserFile().
struct Snapshot {
    QDate date;
    QString strPath;
    qint64 nBytes = 0;
};

/// The dated copies of a user's directory, newest first; files of other names are passed over. None
/// is opened: a user may have hundreds.
QVector<Snapshot> snapshots(const QString& configDir);

} // namespace inspect
