#pragma once

#include "exitstatus.h"

#include <QStringList>

/// Prints what the last of \a words, which may be empty, can become, a line each. Never an error: a
/// shell asks while somebody types.
ExitStatus complete(const QStringList& words);
