#pragma once

#include <inspect/snapshots.h>
#include <inspect/userfile.h>

namespace mend {

enum class RecoveryResult {
    NothingToDo, ///< the live file is whole
    Recovered,
    RecoveredWithLoss, ///< what was saved after the dated copy is only in damaged files
    NoSnapshot, ///< there is no whole dated copy to bring back; nothing was touched
    Failed, ///< the system refused; a later attempt finds what it needs
};

struct Recovery {
    RecoveryResult result = RecoveryResult::NothingToDo;
    inspect::FileState before = inspect::FileState::Whole; ///< the live file, as it was found
    inspect::Snapshot source; ///< the dated copy that was, or would be, brought back
    QString strSetAside; ///< where the damaged file is now; empty if there was none
    inspect::FileError error; ///< what was wrong with the live file, or why recovery failed
};

enum class RunMode { Do, DryRun };

/// Brings the newest whole dated copy back if the live file is missing or damaged. The damaged file
/// is kept beside it under a name with the time. A whole file is never touched, nor is one that
/// cannot be read or is in another encoding (see reencode()), and a second call finds nothing to
/// do. Dated copies are read from the newest on, down to the first whole one. For a client before
/// its first load; not while a save runs.
///
///     const mend::Recovery recovery = mend::recover(dir, mend::RunMode::Do);
Recovery recover(const QString& configDir, RunMode mode);

/// Puts the bytes of a whole dated copy in the place of a whole live file, which is kept beside it
/// under a name with the time (strSetAside). At every moment there is a whole live file. Results
/// are NothingToDo when both are the same, Recovered and Failed.
Recovery restore(const QString& configDir, const inspect::Snapshot& snapshot, RunMode mode);

} // namespace mend
