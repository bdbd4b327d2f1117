#include "inspect/savemoment_p.h"

#include "inspect/snapshots.h"
#include "inspect/userfile.h"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>
#include <cstdlib>

namespace inspect {

namespace {

bool isFresh(const Snapshot& snapshot)
{
    const QDateTime saved = QFileInfo(snapshot.strPath).lastModified();
    return std::abs(saved.secsTo(QDateTime::currentDateTime())) <= c_nSecondsOfASave;
}

} // namespace

bool isBeingSaved(const QString& path)
{
    const QString strDirectory = QFileInfo(path).path();
    if (QFileInfo(path).fileName() != QFileInfo(livePath(strDirectory)).fileName()) {
        return false;
    }
    const QVector<Snapshot> all = snapshots(strDirectory);
    return !all.isEmpty() && isFresh(all.first());
}

} // namespace inspect
