#include "inspect/snapshots.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace inspect {

namespace {

const QString& prefix()
{
    static const QString s_prefix = QStringLiteral("indexUserConfig.xml_");
    return s_prefix;
}

QDate dateOf(const QFileInfo& file)
{
    return QDate::fromString(file.fileName().mid(prefix().size()), QStringLiteral("yyyyMMdd"));
}

} // namespace

QVector<Snapshot> snapshots(const QString& configDir)
{
    QVector<Snapshot> found;
    const QDir temp(QDir(configDir).filePath(QStringLiteral("Temp")));
    const QFileInfoList files = temp.entryInfoList({ prefix() + '*' }, QDir::Files);
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
