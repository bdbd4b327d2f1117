#pragma once

#include "format/userrecords.h"

namespace KW {

/// Whether a save and a load give \a records back as they are: their texts hold only what a file
/// can hold, and no tree of others has an element that a reader takes for one of its own.
bool isReadBackAsItIs(const UserRecords& records);

} // namespace KW
