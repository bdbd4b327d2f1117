#pragma once

#include <algorithm>
#include <array>

/// What the process ends with.
enum class ExitStatus {
    Ok = 0,
    Negative = 1, ///< the answer is no: something differs
    Usage = 2, ///< words that mean nothing here
    InputOutput = 3, ///< a file cannot be read or written, a server not be reached
    Damaged = 4, ///< a file is no user file
    Busy = 5, ///< somebody else may write the user's file now
    RecoveredWithLoss = 6, ///< something newer is only in the file that was set aside
};

/// The graver of two ends. From the least on: ok, negative, recovered with loss, damaged, busy,
/// input-output, usage.
inline ExitStatus graver(ExitStatus left, ExitStatus right)
{
    constexpr std::array<ExitStatus, 7> c_order {
        ExitStatus::Ok,      ExitStatus::Negative, ExitStatus::RecoveredWithLoss,
        ExitStatus::Damaged, ExitStatus::Busy,     ExitStatus::InputOutput,
        ExitStatus::Usage
    };
    return std::find(c_order.begin(), c_order.end(), left)
            < std::find(c_order.begin(), c_order.end(), right)
        ? right
        : left;
}
