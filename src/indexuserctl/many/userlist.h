#pragma once

#include "commands.h"

/// The directories of the users whom a request names, each once, by its first name: those that
/// match a pattern, in the order of their names, or those of a file's lines, in their order. Throws
/// CFailure for none.
QStringList usersOf(const Request& request);
