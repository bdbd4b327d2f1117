#pragma once

#include "roaming/desk.h"
#include "roaming/machinestate.h"

#include <mend/recovery.h>

namespace roaming {

enum class PrepareResult {
    InStep, ///< the live file is the newest there is, sent or not
    Taken, ///< the server's is the live file now; what was there is in the history
    Conflict, ///< both have changed: the local one stays live, the server's is head
    Behind, ///< the server does not know what this machine has: another one, or a rewound one
    Alone, ///< the server did not answer in time, see error; the local file goes on
    Busy, ///< another process of this user is in touch with the server
    NotWritten, ///< see recovery; the local file goes on
};

/// What was found before a load.
struct Preparation {
    PrepareResult result = PrepareResult::InStep;
    StoreError error = {};
    Revision server = {}; ///< the head of the user's document; number 0 without one
    mend::Recovery recovery = {}; ///< of a file that was taken: where the one before is
    int nSettings = 0; ///< that were taken
    int nSettingsRefused = 0; ///< by the settings store
    bool bNoted = true; ///< the state beside the live file says so; else the next run finds out
};

/// What is done with a head that this machine does not have yet.
enum class Decision { Nothing, Note, Take, Conflict, Behind };

/// What is known of both sides.
struct Sides {
    qint64 nBase = 0; ///< that the machine knows
    bool bFirst = false; ///< it has never been in touch
    bool bUnsent = false; ///< it has changed since
    bool bMissing = false; ///< it has nothing
    bool bSame = false; ///< it is what taking the head would leave
    qint64 nHead = 0; ///< 0: the server has nothing
    bool bOthers = false; ///< another machine has written after the base
    bool bOwn = false; ///< the head is what this machine sent and never heard of again
    bool bRewound = false; ///< the server's base is another text
    bool bChosen = false; ///< what is here was an aside, and somebody has chosen the other side
};

/// The first start of a machine takes the server's, and so does one that is missing; unchanged ones
/// take what is newer, and so does a machine that was set back; of two that have changed the local
/// one stays. What this machine wrote last itself it only notes: it was killed before it could.
Decision decide(const Sides& sides);

/// Which head of the server takes the place of the live file.
enum class Taking {
    Newer, ///< as decide() says
    Always, ///< whatever it is: somebody has chosen it; what is here goes into the history
};

/// Before the first load, behind mend::recover(), before anybody holds the user's lock: fetches
/// what is newer on the server and puts it in the place of the live file, whose state before goes
/// into the history, and into the settings store. Ends within \a deadlineMs, and then the local
/// file is as it was; a connection that still hangs is left to itself, on a thread of its own.
/// Needs the siblings' panel trees where layouts are fitted to other screens.
///
///     const roaming::Preparation preparation = roaming::prepare(desk, connect, 3000);
Preparation prepare(const Desk& desk, const StoreMaker& connect, int deadlineMs,
                    const mend::WriteWish& wish = { QStringLiteral("roam pull") },
                    Taking taking = Taking::Newer);

} // namespace roaming
