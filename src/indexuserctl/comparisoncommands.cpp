#include "commands.h"

#include "failure.h"
#include "texttable.h"
#include "userstate.h"

#include <inspect/treefields.h>

#include <algorithm>

namespace {

QString shown(const inspect::Difference& difference, const std::optional<QString>& value)
{
    if (!value) {
        return QStringLiteral("(absent)");
    }
    if (value->isEmpty() && (!difference.left || !difference.right)) {
        return QStringLiteral("(present)");
    }
    const bool bSecret = difference.strPath.endsWith("@oaPassword") && !value->isEmpty();
    return bSecret ? QStringLiteral("(hidden)") : *value;
}

inspect::TreeFields fieldsOfFile(const QString& path)
{
    return inspect::fieldsOf(wholeFile(path).documentElement(), inspect::FieldNames::ByIdentity);
}

QString pathOfCopy(const QString& configDir, const QString& date)
{
    const QDate wanted = QDate::fromString(QString(date).remove('-'), "yyyyMMdd");
    const QVector<inspect::Snapshot> all = inspect::snapshots(configDir);
    const auto it = std::find_if(all.begin(), all.end(), [&](const inspect::Snapshot& snapshot) {
        return snapshot.date == wanted;
    });
    if (!wanted.isValid() || it == all.end()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no dated copy of '%1'").arg(date));
    }
    return it->strPath;
}

} // namespace

ExitStatus diffFiles(const QString& left, const QString& right)
{
    const QVector<inspect::Difference> found
        = inspect::differences(fieldsOfFile(left), fieldsOfFile(right));
    if (found.isEmpty()) {
        printLine("no differences");
        return ExitStatus::Ok;
    }
    CTextTable table({ "value", left, right });
    for (const inspect::Difference& difference : found) {
        table.add({ difference.strPath.section('/', 1), shown(difference, difference.left),
                    shown(difference, difference.right) });
    }
    table.print(QStringLiteral("%1 differences").arg(found.size()));
    return ExitStatus::Negative;
}

ExitStatus diffSnapshots(const QString& configDir, const QStringList& dates)
{
    const QString strLeft = pathOfCopy(configDir, dates.first());
    return diffFiles(
        strLeft, dates.size() > 1 ? pathOfCopy(configDir, dates[1]) : inspect::livePath(configDir));
}
