#include "commands/snapshot.h"

#include "commands/bringback.h"
#include "commands/difftable.h"
#include "commands/shownuser.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/progress.h"

#include <inspect/closest.h>
#include <mend/reencode.h>

#include <algorithm>

namespace {

QString nearDate(const QString& word, const QDate& wanted, const QVector<inspect::Snapshot>& all)
{
    QStringList dates;
    for (const inspect::Snapshot& snapshot : all) {
        dates.append(snapshot.date.toString(Qt::ISODate));
    }
    return inspect::didYouMean(wanted.isValid() ? wanted.toString(Qt::ISODate) : word, dates);
}

// What was changed after the copy; why that cannot be said.
QString changesSince(const inspect::UserFile& copy, const std::optional<KW::UserRecords>& live)
{
    if (copy.state != inspect::FileState::Whole) {
        return toText(copy.error);
    }
    if (!live) {
        return QStringLiteral("the file of now is not whole");
    }
    return inspect::summary(inspect::differences(inspect::recordsOf(copy.document), *live));
}

std::optional<KW::UserRecords> liveRecords(const Request& request)
{
    const inspect::UserFile live = inspect::readUserFile(inspect::livePath(request.strConfigDir));
    return live.state == inspect::FileState::Whole
        ? std::make_optional(inspect::recordsOf(live.document))
        : std::nullopt;
}

} // namespace

Table snapshotTable(const Request& request)
{
    const std::optional<KW::UserRecords> live = liveRecords(request);
    Table table { "snapshots", "Dated copies", { "date", "bytes", "state", "changes" } };
    const auto snapshots = inspect::snapshots(request.strConfigDir);
    CProgress progress(snapshots.size());
    for (const inspect::Snapshot& snapshot : snapshots) {
        const inspect::UserFile copy = inspect::readUserFile(snapshot.strPath);
        table.rows.append({ snapshot.date.toString(Qt::ISODate), snapshot.nBytes,
                            inspect::stateName(copy.state), changesSince(copy, live) });
        progress.advance();
    }
    return table;
}

QDate dayOf(const QString& word)
{
    return QDate::fromString(word, word.contains('-') ? "yyyy-MM-dd" : "yyyyMMdd");
}

inspect::Snapshot datedCopy(const Request& request, const QString& word)
{
    const QDate wanted = dayOf(word);
    const QVector<inspect::Snapshot> all = inspect::snapshots(request.strConfigDir);
    const auto it = std::find_if(all.begin(), all.end(), [&](const inspect::Snapshot& snapshot) {
        return snapshot.date == wanted;
    });
    if (it == all.end()) {
        throw CFailure(wanted.isValid() ? ExitStatus::Negative : ExitStatus::Usage,
                       QString(wanted.isValid() ? "there is no dated copy of '%1'"
                                                : "'%1' is no date like 2024-01-31")
                               .arg(word)
                           + nearDate(word, wanted, all));
    }
    return *it;
}

ExitStatus listSnapshots(const Request& request)
{
    print({ snapshotTable(request) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus showSnapshot(const Request& request)
{
    const QString strPath = datedCopy(request, request.words.first()).strPath;
    return showUser(request, inspect::recordsOf(wholeFile(strPath).document), request.words.mid(1));
}

ExitStatus diffSnapshots(const Request& request)
{
    const QString strLeft = datedCopy(request, request.words.first()).strPath;
    return printDifferences(request, strLeft,
                            request.words.size() > 1 ? datedCopy(request, request.words[1]).strPath
                                                     : inspect::livePath(request.strConfigDir));
}

ExitStatus restoreSnapshot(const Request& request)
{
    requireOwner(request);
    const inspect::Snapshot snapshot = datedCopy(request, request.words.first());
    // A damaged file is for recover, which sets it aside.
    liveFile(request);
    return bringBack(request, { contentOf(snapshot.strPath) }, snapshot.strPath);
}
