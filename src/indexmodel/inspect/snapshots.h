#pragma once

#include <QDate>
#include <QString>
#include <QVector>

namespace inspect {

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
