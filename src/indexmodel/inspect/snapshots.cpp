#include "inspect/snapshots.h"

#include <platform/filenames.h>

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace inspect {

namespace {

QDate dateOf(const QFileInfo& file)
{
    return QDate::fromString(file.fileName().mid(qstrlen(KW::c_szDatedCopyPrefix)),
                             QStringLiteral("yyyyMMdd"));
}

} // namespace

QVector<Snapshot> snapshots(const QString& configDir)
{
    QVector<Snapshot> found;
    const QDir temp(QDir(configDir).filePath(KW::c_szCopiesFolder));
    const QFileInfoList files
        = temp.entryInfoList({ KW::c_szDatedCopyPrefix + QStringLiteral("*") }, QDir::Files);
    for (const QFileInfo& file : files) {
        if (dateOf(file).isValid()) {
            found.append({ dateOf(file), file.filePath(), file.size() });
        }
    }
    std::sort(found.begin(), found.end(),
              [](const Snapshot& left, const Snapshot& right) { return left.date > right.date; });
    return found;
}

} // namespace inspect
