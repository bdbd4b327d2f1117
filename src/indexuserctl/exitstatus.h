#pragma once

/// What the process ends with.
enum class ExitStatus {
    Ok = 0,
    Negative = 1, ///< the answer is no: something differs
    Usage = 2, ///< words that mean nothing here
    InputOutput = 3, ///< a file cannot be read or written
    Damaged = 4, ///< a file is no user file
    Busy = 5, ///< somebody else may write the user's file now
    RecoveredWithLoss = 6, ///< something newer is only in the file that was set aside
};
