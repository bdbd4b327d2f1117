#pragma once

#include <mend/history.h>

/// The command of an edit as people read it: of an undo, also which edit it was about.
QString commandText(const mend::HistoryEntry& entry);
