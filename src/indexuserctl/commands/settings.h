#pragma once

#include "commands.h"

#include <mend/history.h>

/// The keys in the shared settings store of the user's directory.
QStringList settingKeys();

/// The digest of a setting's value; empty for none.
QByteArray settingDigest(const QString& key);

/// Undoes, or does again, an edit of a setting, or brings back what was before it, which is an edit
/// of its own and asks nothing of the value that is there: \a state takes the place of its value,
/// none removes it. Throws CFailure, also where somebody else has changed it since.
ExitStatus stepSetting(const Request& request, const mend::HistoryEntry& entry,
                       const std::optional<QByteArray>& state, mend::HistoryAction action);
