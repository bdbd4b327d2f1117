#pragma once

#include "mend/candidates.h"
#include "mend/transaction.h"

namespace mend {

enum class RecoveryResult {
    NothingToDo, ///< the live file is whole, or what was asked for already
    Recovered,
    RecoveredWithLoss, ///< what was saved after the source is only in damaged files
    NoSnapshot, ///< there is nothing whole to bring back; nothing was touched
    Failed, ///< see write and error; a later attempt finds what it needs
};

struct Recovery {
    RecoveryResult result = RecoveryResult::NothingToDo;
    inspect::FileState before = inspect::FileState::Whole; ///< the live file, as it was found
    Candidate source; ///< what was, or would be, brought back
    QString strSetAside; ///< where what was found is now; empty if it is in the history only
    inspect::FileError error; ///< what was wrong with the live file, or what could not be written
    WriteFailure write = WriteFailure::None;
    LockHolder holder; ///< who is busy
    Receipt receipt; ///< of what was brought back
};

enum class RunMode { Do, DryRun };

/// Brings the newest whole copy back if the live file is missing or damaged; see candidates(). The
/// damaged file is kept beside it under a name with the time, so that a history which takes nothing
/// stops nothing; the receipt then has no edit. A whole file is never touched, nor is
/// one that cannot be read or is in another encoding (see reencode()), and a second call finds
/// nothing to do. Dated copies are read from the newest on, down to the first whole one. For a
/// client before its first load and before it takes the lock; not while a save runs.
///
///     const mend::Recovery recovery = mend::recover(dir, mend::RunMode::Do);
Recovery recover(const QString& configDir, RunMode mode,
                 const WriteWish& wish = { QStringLiteral("recover") });

/// The same under the lock that \a transaction holds.
Recovery recover(CTransaction& transaction);

/// Where the state before a restoration has to be kept.
enum class Keeping {
    History,
    HistoryOrBeside, ///< beside the live file where the history takes nothing
};

/// A state to bring back, and how it is written down.
struct Restoration {
    QByteArray bytes;
    HistoryAction action = HistoryAction::Edit;
    int nOf = 0;
    QByteArray expected = {}; ///< the digest that the live file must have; empty for any
    bool bOverOther = false; ///< whether a live file that has another is replaced, too
    bool bDamaged = false; ///< whether bytes that are no whole user file are put there, too
    Keeping keeping = Keeping::History;
};

/// Under the lock that \a transaction holds, which a dry run does not need, puts \a restoration in
/// the place of the live file, whose state goes into the history. At every moment there is a live
/// file. Results are NothingToDo when both are the same, NoSnapshot for bytes that are no whole
/// user file, Recovered and Failed.
Recovery restore(CTransaction& transaction, const Restoration& restoration, RunMode mode);

} // namespace mend
