#pragma once

#include "commands.h"

#include <mend/edit.h>

#include <indexuser/cpanelgrouplayoutconfig.h>
#include <indexuser/userconfiginterface.h>

using Change = std::function<void(KW::UserConfigInterface& service)>;

/// Changes the user's file by mend::prepareEdit() and mend::saveEdit(), under the user's lock.
/// Prints what the change is and what is then in the file, with --dry-run nothing but the change. A
/// file that is not whole is not touched. Throws CFailure; what \a change throws, too, leaves the
/// file alone. So does a value that is hardly meant and was not there before, unless --force is
/// given.
ExitStatus edit(const Request& request, const Change& change);

/// Throws CFailure for a value in \a after that is hardly meant and was not there \a before, unless
/// the request is forced.
void requireSensible(const Request& request, const KW::UserRecords& before,
                     const KW::UserRecords& after);

/// The same for a change of all that a user has, the sections of other managers, too: what the user
/// is to have instead of \a before.
using RecordsChange = std::function<KW::UserRecords(const KW::UserRecords& before)>;
ExitStatus editRecords(const Request& request, const RecordsChange& change);
