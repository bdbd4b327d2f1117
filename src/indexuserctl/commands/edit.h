#pragma once

#include "commands.h"

#include <indexuser/cpanelgrouplayoutconfig.h>
#include <indexuser/userconfiginterface.h>

#include <functional>

using Change = std::function<void(KW::UserConfigInterface& service)>;

/// Changes the user's file through the service: load, \a change, save, wait; then reads the file
/// again, since the service answers the same however a save ended. Prints what the change is, with
/// --dry-run nothing more. A file that is not whole is not touched. Throws CFailure; what \a change
/// throws, too, leaves the file alone.
ExitStatus edit(const Request& request, const Change& change);

/// Saves and waits until the save has ended, well or badly.
void saveAndWait(KW::UserConfigInterface& service);
