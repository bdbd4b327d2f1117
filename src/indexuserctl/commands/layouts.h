#pragma once

#include "commands.h"

/// The layout or template that a request is about; throws CFailure for a template that is not
/// there.
inspect::Layout wantedLayout(const Request& request, const inspect::UserRecords& records);
