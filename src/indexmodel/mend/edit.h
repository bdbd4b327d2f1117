#pragma once

#include <inspect/difference.h>
#include <inspect/userfile.h>

#include <format/userrecords.h>

#include <functional>
#include <optional>

namespace KW {
class UserConfigInterface;
} // namespace KW

namespace mend {

/// Changes what \a service holds; what it throws ends the edit with nothing written.
using Change = std::function<void(KW::UserConfigInterface& service)>;

/// What an edit failed at.
enum class EditFailure {
    None,
    NotWhole, ///< the file could not be read: see error
    NotLoaded, ///< the service holds something else than the file
    TooDeep, ///< a save would cut elements: see strCut
    NotEnded, ///< the save, for half a minute
    NotSaved, ///< the file was not whole after the save: see error
    OtherSaved, ///< the file holds something else than was meant: see difference
};

/// A change of a user's file by the service, on its way from one whole file to the next.
struct Edit {
    EditFailure failure = EditFailure::None;
    inspect::FileState state = inspect::FileState::Whole; ///< of the file that was read last
    inspect::FileError error;
    QString strCut; ///< the path of the first element
    std::optional<inspect::Difference> difference;
    KW::UserRecords before; ///< what the file held
    KW::UserRecords expected; ///< what it is to hold
};

/// Loads \a service from the user's file below \a configDir, which is where it saves, and applies
/// \a change. Nothing is written.
///
///     mend::Edit edit = mend::prepareEdit(dir, service, change);
///     if (edit.failure == mend::EditFailure::None) { mend::saveEdit(dir, service, edit); }
Edit prepareEdit(const QString& configDir, KW::UserConfigInterface& service, const Change& change);

/// Saves, waits and reads the file again, since the service answers the same however a save ended.
/// False sets what \a edit failed at.
bool saveEdit(const QString& configDir, KW::UserConfigInterface& service, Edit& edit);

/// Saves and waits until the save has ended, well or badly; false after half a minute.
bool saveAndWait(KW::UserConfigInterface& service);

} // namespace mend
