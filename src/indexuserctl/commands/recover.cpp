#include "commands/bringback.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"

#include <inspect/closest.h>
#include <mend/filekeeper.h>

#include <QFileInfo>

#include <algorithm>

namespace {

using mend::Candidate;

int windowCount(const QVector<inspect::Layout>& layouts)
{
    int nWindows = 0;
    for (const inspect::Layout& layout : layouts) {
        nWindows += layout.windows.size();
    }
    return nWindows;
}

int stockCount(const KW::CustomStockMap& stocks)
{
    int nStocks = 0;
    for (const auto& list : stocks) {
        nStocks += static_cast<int>(list.size());
    }
    return nStocks;
}

// What a candidate holds, in numbers.
QVector<QJsonValue> rowOf(const Candidate& candidate)
{
    using inspect::LayoutSide;
    const inspect::UserFile file = inspect::userFileOf(mend::bytesOf(candidate));
    QVector<QJsonValue> row { candidate.strName, mend::kindName(candidate.kind),
                              candidate.time.toString(Qt::ISODate),
                              inspect::stateName(file.state) };
    if (file.state != inspect::FileState::Whole) {
        return row + QVector<QJsonValue> { "", "", "", "", "" };
    }
    const KW::UserRecords records = inspect::recordsOf(file.document);
    const int nTemplates = inspect::templatesOf(records, LayoutSide::Quote).size()
        + inspect::templatesOf(records, LayoutSide::Trade).size();
    return row
        + QVector<QJsonValue> { static_cast<int>(records.stocks.size()), stockCount(records.stocks),
                                windowCount(inspect::layoutsOf(records)), nTemplates,
                                KW::contents(records.sections).size() };
}

ExitStatus listCandidates(const Request& request)
{
    Table table { "candidates",
                  "What the file could be brought back from, in the order of 'recover'",
                  { "name", "kind", "time", "state", "lists", "stocks", "windows", "templates",
                    "sections" } };
    const auto all = mend::candidates(request.strConfigDir);
    for (const Candidate& candidate : all) {
        table.rows.append(rowOf(candidate));
    }
    print({ table }, request.format);
    return ExitStatus::Ok;
}

// Links in the user's directory must lead no further than its owner gets.
inspect::FileBytes ownersFile(const Request& request, const Candidate& candidate)
{
    requireOwner(request);
    return mend::bytesOf(candidate);
}

bool isInside(const Request& request, const QString& path)
{
    return QFileInfo(path).absoluteFilePath().startsWith(
        QFileInfo(request.strConfigDir).absoluteFilePath() + '/');
}

inspect::FileBytes sourceOf(const Request& request, const QString& name)
{
    QStringList names;
    const auto all = mend::candidates(request.strConfigDir);
    for (const Candidate& candidate : all) {
        if (candidate.strName == name) {
            return ownersFile(request, candidate);
        }
        names.append(candidate.strName);
    }
    if (QFileInfo(name).isFile() && !isInside(request, name)) {
        return inspect::readBytes(name); // as whoever named it
    }
    requireOwner(request);
    if (QFileInfo(name).isFile()) {
        return inspect::readBytes(name);
    }
    throw CFailure(ExitStatus::Negative,
                   QStringLiteral("there is no '%1' to bring back").arg(name)
                       + inspect::didYouMean(name, names));
}

ExitStatus recoverFrom(const Request& request, const inspect::FileBytes& source)
{
    mend::Restoration restoration { wholeBytes(source) };
    restoration.keeping = mend::Keeping::HistoryOrBeside;
    return bringBack(request, restoration, source.error.strPath);
}

ExitStatus recoverNewest(const Request& request)
{
    const std::optional<Candidate> copy = mend::newerCopy(request.strConfigDir);
    if (!copy) {
        printNothing(request, "no dated copy is newer than the file");
        return ExitStatus::Ok;
    }
    return recoverFrom(request, mend::bytesOf(*copy));
}

void printRecovery(const Request& request, const mend::Recovery& recovery)
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
        printReceipt("brought back " + recovery.source.strPath, recovery.receipt,
                     recovery.strSetAside.isEmpty() ? QString() : "undo --force");
    }
    if (recovery.result == mend::RecoveryResult::RecoveredWithLoss) {
        printLine("lost: what was changed after that copy was saved");
    }
}

void recordRecovery(const mend::Recovery& recovery)
{
    const Table table { "recovery",
                        {},
                        { "found", "source", "setAside", "loss" },
                        { { toText(recovery.error), recovery.source.strPath, recovery.strSetAside,
                            recovery.result == mend::RecoveryResult::RecoveredWithLoss } },
                        TableShape::One };
    record({ table });
    if (recovery.receipt.isWritten()) {
        record({ receiptTable(recovery.receipt) });
    }
}

ExitStatus answerNothingToDo(const Request& request)
{
    const std::optional<Candidate> copy = mend::newerCopy(request.strConfigDir);
    const QString strNewer = copy
        ? "; but " + copy->strPath + " is newer and differs: recover --newest takes it"
        : QString();
    const QString strLive = inspect::livePath(request.strConfigDir);
    const QString strLink = mend::toText(mend::linkLeftOf(strLive), strLive);
    printNothing(request,
                 "whole, nothing to recover" + strNewer
                     + (strLink.isEmpty() ? QString() : "; but it " + strLink));
    return ExitStatus::Ok;
}

// The link would be set aside, and what it leads to with it. Where it leads to nothing, the file is
// made there.
void requireNoDamagedLink(const Request& request, const CUserGuard& guard)
{
    if (guard.target().isEmpty()) {
        return;
    }
    const inspect::FileState state = inspect::readUserFile(guard.target()).state;
    if (state == inspect::FileState::Missing) {
        guard.requireLink();
    } else if (state == inspect::FileState::Damaged) {
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

ExitStatus failNoSource(const mend::Recovery& recovery)
{
    throw CFailure(statusWithoutCopy(recovery.before),
                   toText(recovery.error)
                       + QStringLiteral("; there is no whole dated copy, mirror or history"),
                   placeOf(recovery.error));
}

void printAnswer(const Request& request, const mend::Recovery& recovery)
{
    recordRecovery(recovery);
    printRecovery(request, recovery);
}

ExitStatus recoverWhole(const Request& request)
{
    // Whoever has nothing to recover needs no lock.
    mend::Recovery recovery = mend::recover(request.strConfigDir, mend::RunMode::DryRun);
    const bool bReady = recovery.result == mend::RecoveryResult::Recovered
        || recovery.result == mend::RecoveryResult::RecoveredWithLoss;
    const QString strLive = inspect::livePath(request.strConfigDir);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    if (bReady || !mend::linkLeftOf(strLive).strLink.isEmpty()) {
        requireLock(request, transaction);
    }
    const CUserGuard guard(request);
    requireNoDamagedLink(request, guard);
    if (bReady && !request.isDryRun()) {
        recovery = mend::recover(transaction);
    }
    requireNoFailure(request, recovery);
    if (!request.isDryRun()) {
        guard.giveBack();
    }
    if (recovery.result == mend::RecoveryResult::NothingToDo) {
        return answerNothingToDo(request);
    }
    if (recovery.result == mend::RecoveryResult::NoSnapshot) {
        return failNoSource(recovery);
    }
    printAnswer(request, recovery);
    requireDurable(recovery.receipt);
    return recovery.result == mend::RecoveryResult::RecoveredWithLoss
        ? ExitStatus::RecoveredWithLoss
        : ExitStatus::Ok;
}

bool isLiveWhole(const Request& request)
{
    return inspect::readUserFile(inspect::livePath(request.strConfigDir)).state
        == inspect::FileState::Whole;
}

// The first would win, and the others be passed over.
void requireOneWay(const Request& request)
{
    const int nWays = (request.bList ? 1 : 0) + (request.bNewest ? 1 : 0)
        + (request.bSalvage ? 1 : 0) + (request.source ? 1 : 0) + (request.encoding ? 1 : 0);
    if (nWays > 1) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("one of --list, --newest, --from, --salvage and --encoding"));
    }
}

} // namespace

ExitStatus recoverUser(const Request& request)
{
    requireOneWay(request);
    if (request.bList) {
        return listCandidates(request);
    }
    if (request.source) {
        return recoverFrom(request, sourceOf(request, *request.source));
    }
    requireOwner(request);
    // Any whole copy is newer than what is damaged.
    if (request.bNewest && isLiveWhole(request)) {
        return recoverNewest(request);
    }
    if (request.bSalvage) {
        return salvageUser(request);
    }
    if (request.encoding) {
        return reencodeUser(request);
    }
    return recoverWhole(request);
}
