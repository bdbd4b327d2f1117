#include "mend/recovery.h"

#include "mend/asidename_p.h"
#include "mend/durable_p.h"
#include "mend/reencode.h"

#include <inspect/snapshots.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace mend {

using inspect::FileCause;
using inspect::FileState;

namespace {

// A save copies the dated file to the live one at once, so a live file this much younger holds
// something that the dated copy does not.
bool isYounger(const QString& live, const Candidate& source)
{
    return source.time.secsTo(QFileInfo(live).lastModified()) > inspect::c_nSecondsOfASave;
}

Recovery failed(Recovery recovery, WriteFailure write, const inspect::FileError& error)
{
    recovery.result = RecoveryResult::Failed;
    recovery.write = write;
    recovery.error = error;
    return recovery;
}

// Between its two steps there is no live file, and the next call goes on from there.
Recovery carriedOut(Recovery recovery, CTransaction& transaction, const QString& live)
{
    const WriteFailure kept = transaction.keep();
    // What was found is set aside anyway.
    if (kept != WriteFailure::None && kept != WriteFailure::NoHistory) {
        recovery.strSetAside.clear();
        return failed(recovery, kept, recovery.error);
    }
    QFile file(live);
    if (!recovery.strSetAside.isEmpty() && !file.rename(recovery.strSetAside)) {
        recovery.strSetAside.clear();
        return failed(recovery, WriteFailure::Refused,
                      { FileCause::NotSetAside, live, file.errorString(), {} });
    }
    const inspect::FileBytes source = bytesOf(recovery.source);
    if (inspect::userFileOf(source).state != FileState::Whole
        || transaction.replace(source.bytes) != WriteFailure::None) {
        return failed(recovery, WriteFailure::Refused, { FileCause::NotWritten, live, {}, {} });
    }
    recovery.receipt = transaction.finish();
    return recovery;
}

// A later save than that of \a source, torn.
bool isLaterPassedOver(const Candidate& source, const QVector<Candidate>& all)
{
    return std::any_of(all.begin(), all.end(), [&](const Candidate& other) {
        const bool bSave = other.kind == CandidateKind::Copy || other.kind == CandidateKind::Mirror;
        return bSave && source.time.secsTo(other.time) > inspect::c_nSecondsOfASave;
    });
}

bool isLossOfSaves(const Candidate& source, const QVector<Candidate>& all)
{
    const bool bNewest = source.strPath == all.first().strPath;
    // A save stores the mirror first.
    return (!bNewest && source.kind == CandidateKind::Copy)
        || source.kind == CandidateKind::History;
}

bool isLoss(const Candidate& source, const QVector<Candidate>& all, FileState live,
            const QString& configDir)
{
    if (live == FileState::Damaged && isYounger(inspect::livePath(configDir), source)) {
        return true;
    }
    const std::optional<LastState> last = lastState(configDir);
    if (last && digestOf(bytesOf(source).bytes) == last->digest) {
        return isLaterPassedOver(source, all);
    }
    return (last && source.time < last->time) || isLossOfSaves(source, all);
}

Recovery planned(const QString& configDir, const inspect::UserFile& file)
{
    Recovery recovery;
    recovery.before = file.state;
    recovery.error = file.error;
    if (file.state == FileState::Whole) {
        return recovery;
    }
    if (file.state == FileState::Unreadable || isConvertible(file.error)) {
        recovery.result = RecoveryResult::Failed;
        return recovery;
    }
    const QVector<Candidate> all = candidates(configDir);
    const std::optional<Candidate> source = newestWhole(all);
    if (!source) {
        recovery.result = RecoveryResult::NoSnapshot;
        return recovery;
    }
    const QString strLive = inspect::livePath(configDir);
    recovery.result = isLoss(*source, all, file.state, configDir)
        ? RecoveryResult::RecoveredWithLoss
        : RecoveryResult::Recovered;
    recovery.source = *source;
    recovery.strSetAside
        = file.state == FileState::Damaged ? nameAside(strLive, "damaged") : QString();
    return recovery;
}

Recovery planned(const Restoration& restoration, const inspect::FileBytes& live)
{
    Recovery recovery;
    recovery.before = inspect::userFileOf(live).state;
    recovery.error = live.error;
    if (!restoration.expected.isEmpty() && !restoration.bOverOther
        && digestOf(live.bytes) != restoration.expected) {
        return failed(recovery, WriteFailure::Changed, live.error);
    }
    const inspect::FileBytes wanted { FileState::Whole, restoration.bytes, {} };
    if (!restoration.bDamaged && inspect::userFileOf(wanted).state != FileState::Whole) {
        recovery.result = RecoveryResult::NoSnapshot;
    } else if (live.state == FileState::Unreadable) {
        recovery.result = RecoveryResult::Failed;
    } else if (live.bytes != restoration.bytes) {
        recovery.result = RecoveryResult::Recovered;
    }
    return recovery;
}

bool isReady(const Recovery& recovery)
{
    return recovery.result == RecoveryResult::Recovered
        || recovery.result == RecoveryResult::RecoveredWithLoss;
}

// What is too large to be read has no bytes that could be kept.
WriteFailure keptState(CTransaction& transaction, const Restoration& restoration,
                       Recovery& recovery, FileState live)
{
    const WriteFailure kept = transaction.keep(restoration.action, restoration.nOf);
    if (kept != WriteFailure::NoHistory || restoration.keeping == Keeping::History) {
        return kept;
    }
    if (live == FileState::Missing) {
        return WriteFailure::None;
    }
    const QString strAside = nameAside(inspect::livePath(transaction.configDir()), "replaced");
    if (live != FileState::Whole || !writeDurably(strAside, transaction.bytes())) {
        return kept;
    }
    recovery.strSetAside = strAside;
    return WriteFailure::None;
}

// Busy is no failure of one that is forced.
bool mayWrite(CTransaction& transaction, const WriteWish& wish, Recovery& recovery)
{
    const WriteFailure locked = transaction.lock();
    if (locked == WriteFailure::None || (locked == WriteFailure::Busy && wish.bForced)) {
        return true;
    }
    recovery.holder = transaction.holder();
    recovery = failed(recovery, locked, recovery.error);
    return false;
}

} // namespace

Recovery recover(const QString& configDir, RunMode mode, const WriteWish& wish)
{
    CTransaction transaction(configDir, wish);
    const inspect::UserFile found = inspect::userFileOf(transaction.read());
    const bool bMendable = found.state == FileState::Missing || found.state == FileState::Damaged;
    if (mode == RunMode::DryRun || !bMendable) {
        return planned(configDir, found);
    }
    Recovery recovery;
    recovery.before = found.state;
    recovery.error = found.error;
    if (!mayWrite(transaction, wish, recovery)) {
        return recovery;
    }
    // Somebody else may have been at it.
    return recover(transaction);
}

Recovery recover(CTransaction& transaction)
{
    const QString& strDir = transaction.configDir();
    const Recovery recovery = planned(strDir, inspect::userFileOf(transaction.read()));
    return isReady(recovery) ? carriedOut(recovery, transaction, inspect::livePath(strDir))
                             : recovery;
}

Recovery restore(CTransaction& transaction, const Restoration& restoration, RunMode mode)
{
    const inspect::FileBytes& found = transaction.read();
    const FileState live = found.state;
    Recovery recovery = planned(restoration, found);
    if (mode == RunMode::DryRun || !isReady(recovery)) {
        return recovery;
    }
    WriteFailure write = keptState(transaction, restoration, recovery, live);
    write = write == WriteFailure::None ? transaction.replace(restoration.bytes) : write;
    if (write != WriteFailure::None) {
        return failed(
            recovery, write,
            { FileCause::NotWritten, inspect::livePath(transaction.configDir()), {}, {} });
    }
    recovery.receipt = transaction.finish();
    return recovery;
}

} // namespace mend
