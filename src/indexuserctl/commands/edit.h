#pragma once

#include "commands.h"

#include <mend/edit.h>

#include <indexuser/cpanelgrouplayoutconfig.h>
#include <indexuser/userconfiginterface.h>

/// Changes the user's file by mend::prepareEdit() and mend::saveEdit(). Prints what the change is,
/// with --dry-run nothing more. A file that is not whole is not touched. Throws CFailure; what
/// \a change throws, too, leaves the file alone.
ExitStatus edit(const Request& request, const mend::Change& change);
