#pragma once

#include "commands.h"

#include <inspect/check.h>

/// What the live file itself does not show: leftovers of writes, and a dated copy that is newer.
/// The file is whole.
QVector<inspect::Finding> findingsBeside(const Request& request);
