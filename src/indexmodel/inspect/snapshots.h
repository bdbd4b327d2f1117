#pragma once

#include "inspect/userfile.h"

#include <QDate>
#include <QVector>

namespace inspect {

/// A dated copy: the last save of a day.
struct Snapshot {
    QDate date;
    QString strPath;
    qint64 nBytes = 0;
    FileState state = FileState::Whole;
    QString strError; ///< why it is not whole
};

/// The dated copies of a user's directory, newest first; files of other names are passed over.
QVector<Snapshot> snapshots(const QString& configDir);

} // namespace inspect
