#include "commands/difftable.h"
#include "commands/shownuser.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/progress.h"

#include <inspect/closest.h>
#include <inspect/snapshots.h>
#include <mend/reencode.h>

#include <algorithm>

namespace {

QString stateName(inspect::FileState state)
{
    switch (state) {
    case inspect::FileState::Whole:
        return QStringLiteral("whole");
    case inspect::FileState::Damaged:
        return QStringLiteral("damaged");
    case inspect::FileState::Missing:
    case inspect::FileState::Unreadable:
        break;
    }
    return QStringLiteral("unreadable");
}

QString nearDate(const QString& word, const QDate& wanted, const QVector<inspect::Snapshot>& all)
{
    QStringList dates;
    for (const inspect::Snapshot& snapshot : all) {
        dates.append(snapshot.date.toString(Qt::ISODate));
    }
    return inspect::didYouMean(wanted.isValid() ? wanted.toString(Qt::ISODate) : word, dates);
}

inspect::Snapshot snapshotOf(const Request& request, const QString& date)
{
    const QDate wanted = QDate::fromString(date, date.contains('-') ? "yyyy-MM-dd" : "yyyyMMdd");
    const QVector<inspect::Snapshot> all = inspect::snapshots(request.strConfigDir);
    const auto it = std::find_if(all.begin(), all.end(), [&](const inspect::Snapshot& snapshot) {
        return snapshot.date == wanted;
    });
    if (it == all.end()) {
        throw CFailure(wanted.isValid() ? ExitStatus::Negative : ExitStatus::Usage,
                       QString(wanted.isValid() ? "there is no dated copy of '%1'"
                                                : "'%1' is no date like 2024-01-31")
                               .arg(date)
                           + nearDate(date, wanted, all));
    }
    return *it;
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

Table snapshotTable(const Request& request)
{
    const std::optional<KW::UserRecords> live = liveRecords(request);
    Table table { "snapshots", "Dated copies", { "date", "bytes", "state", "changes" } };
    const auto snapshots = inspect::snapshots(request.strConfigDir);
    CProgress progress(snapshots.size());
    for (const inspect::Snapshot& snapshot : snapshots) {
        const inspect::UserFile copy = inspect::readUserFile(snapshot.strPath);
        table.rows.append({ snapshot.date.toString(Qt::ISODate), snapshot.nBytes,
                            stateName(copy.state), changesSince(copy, live) });
        progress.advance();
    }
    return table;
}

void printRecovery(const mend::Recovery& recovery, const Request& request)
{
    if (recovery.error.cause != inspect::FileCause::None) {
        printLine(toText(recovery.error));
    }
    if (!recovery.strSetAside.isEmpty()) {
        printLine((request.isDryRun() ? "would be set aside as " : "set aside as ")
                  + recovery.strSetAside);
    }
    if (request.isDryRun()) {
        printLine("would bring back " + recovery.source.strPath);
    } else {
        printDone("brought back " + recovery.source.strPath);
    }
    if (recovery.result == mend::RecoveryResult::RecoveredWithLoss) {
        printLine("lost: what was changed after that copy was saved");
    }
}

// The link would be set aside, and what it leads to with it.
void requireNoDamagedLink(const Request& request, const CUserGuard& guard)
{
    if (!guard.target().isEmpty()
        && inspect::readUserFile(guard.target()).state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput,
                       inspect::livePath(request.strConfigDir) + " is a link to the damaged file "
                           + guard.target() + ", which is not set aside: put a file there");
    }
}

// The file is what it was.
ExitStatus statusWithoutCopy(inspect::FileState file)
{
    return file == inspect::FileState::Damaged ? ExitStatus::Damaged : ExitStatus::InputOutput;
}

} // namespace

ExitStatus listSnapshots(const Request& request)
{
    print({ snapshotTable(request) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus showSnapshot(const Request& request)
{
    const QString strPath = snapshotOf(request, request.words.first()).strPath;
    return showUser(request, inspect::recordsOf(wholeFile(strPath).document), request.words.mid(1));
}

ExitStatus diffSnapshots(const Request& request)
{
    const QString strLeft = snapshotOf(request, request.words.first()).strPath;
    return printDifferences(request, strLeft,
                            request.words.size() > 1 ? snapshotOf(request, request.words[1]).strPath
                                                     : inspect::livePath(request.strConfigDir));
}

ExitStatus restoreSnapshot(const Request& request)
{
    const CUserGuard guard(request);
    guard.requireReplaceable();
    const inspect::Snapshot snapshot = snapshotOf(request, request.words.first());
    printDifferences(request, inspect::livePath(request.strConfigDir), snapshot.strPath);
    const mend::Recovery recovery = mend::restore(request.strConfigDir, snapshot, request.mode);
    if (recovery.result == mend::RecoveryResult::Failed) {
        throw CFailure(ExitStatus::InputOutput, toText(recovery.error));
    }
    guard.giveBack();
    if (recovery.result == mend::RecoveryResult::NothingToDo) {
        printLine("the file and the dated copy are the same");
    } else {
        printRecovery(recovery, request);
    }
    return ExitStatus::Ok;
}

ExitStatus recoverUser(const Request& request)
{
    if (request.encoding) {
        return reencodeUser(request);
    }
    const CUserGuard guard(request);
    requireNoDamagedLink(request, guard);
    const mend::Recovery recovery = mend::recover(request.strConfigDir, request.mode);
    guard.giveBack();
    switch (recovery.result) {
    case mend::RecoveryResult::NothingToDo:
        printLine(inspect::livePath(request.strConfigDir) + ": whole, nothing to recover");
        return ExitStatus::Ok;
    case mend::RecoveryResult::Recovered:
        printRecovery(recovery, request);
        return ExitStatus::Ok;
    case mend::RecoveryResult::RecoveredWithLoss:
        printRecovery(recovery, request);
        return ExitStatus::RecoveredWithLoss;
    case mend::RecoveryResult::NoSnapshot:
        throw CFailure(statusWithoutCopy(recovery.before),
                       toText(recovery.error) + QStringLiteral("; there is no whole dated copy"));
    case mend::RecoveryResult::Failed:
        break;
    }
    throw CFailure(mend::isConvertible(recovery.error) ? ExitStatus::Damaged
                                                       : ExitStatus::InputOutput,
                   toText(recovery.error) + encodingHint(recovery.error));
}
