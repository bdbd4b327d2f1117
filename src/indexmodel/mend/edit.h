#pragma once

#include "mend/transaction.h"

#include <inspect/difference.h>

#include <format/userrecords.h>

#include <functional>
#include <optional>
#include <string>

namespace KW {
class UserConfigInterface;
} // namespace KW

namespace mend {

/// What an edit failed at.
enum class EditFailure {
    None,
    NotWhole, ///< the file could not be read: see file
    NotLoaded, ///< the service holds something else than the file
    TooDeep, ///< a save would cut elements: see strCut
    NotWritten, ///< before the save: see write
    NotEnded, ///< the save, for half a minute
    NotSaved, ///< the file was not whole after the save: see file
    OtherSaved, ///< the file holds something else than was meant: see difference
};

/// A change of a user's file by the service, on its way from one whole file to the next.
struct Edit {
    EditFailure failure = EditFailure::None;
    WriteFailure write = WriteFailure::None;
    inspect::FileState state = inspect::FileState::Whole; ///< of the file that was read last
    inspect::FileError error; ///< of that file
    QString strCut; ///< the path of the first element
    std::optional<inspect::Difference> difference;
    QString strKept; ///< the copy of what the file holds instead
    KW::UserRecords before; ///< what the file held
    KW::UserRecords expected; ///< what it is to hold
    Receipt receipt; ///< of a save that held
};

/// Asked by a save before it replaces anything by \a content; false ends it with nothing changed.
using SaveGuard = std::function<bool(const std::string& content)>;

/// How the service is changed.
struct Changer {
    KW::UserConfigInterface& service;
    /// Makes the next load of the service read these bytes, which were just read, and no others.
    std::function<void(const QByteArray& bytes)> serve;
    /// Changes what the service holds; what it throws ends the edit with nothing written.
    std::function<void(KW::UserConfigInterface& service)> change;
    /// Makes the siblings ask the guard in each save from now on; an empty one ends that.
    std::function<void(const SaveGuard& guard)> guard;
    /// Instead of change: what the user is to have where the file held \a before, the sections of
    /// other managers, too. What it throws ends the edit likewise.
    std::function<KW::UserRecords(const KW::UserRecords& before)> records = {};
};

/// Loads the service from the file as it is now, and changes it. Nothing is written.
///
///     mend::Edit edit = mend::prepareEdit(transaction, changer);
///     if (edit.failure == mend::EditFailure::None) { mend::saveEdit(transaction, changer, edit); }
Edit prepareEdit(CTransaction& transaction, const Changer& changer);

/// Keeps the state before, saves, waits and reads the file again, since the service answers the
/// same however a save ended. Whoever writes the file meanwhile ends the save, as far as the guard
/// is asked; whose text is in the file behind it is kept. False sets what \a edit failed at.
bool saveEdit(CTransaction& transaction, const Changer& changer, Edit& edit);

/// Saves and waits until the save has ended, well or badly; false after half a minute.
bool saveAndWait(KW::UserConfigInterface& service);

} // namespace mend
