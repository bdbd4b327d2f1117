#pragma once

#include "roaming/desk.h"
#include "roaming/machinestate.h"

namespace roaming {

/// A document of the server that this machine does not have as it is.
struct FetchedDocument {
    Head head;
    QByteArray text;
    bool bOthers = false; ///< another machine has written after the base
    bool bRewound = false; ///< the base is another text there
    bool bChosen = false; ///< of the aside that this machine stored last somebody has chosen
    QByteArrayList since = {}; ///< digests of what has been the head after the base
};

/// What the server has.
struct Fetched {
    StoreError error;
    QVector<Head> heads;
    QVector<FetchedDocument> news; ///< of the user's document and the settings
    std::optional<QByteArray> ownLayouts; ///< the newest user's document of the arrangement
};

/// What is newer than \a state on the server of \a connect, by \a deadlineMs; Late behind that.
/// Settings that are \a local for the first time and another there are kept there as asides.
Fetched fetch(const Desk& desk, const MachineState& state, const StoreMaker& connect,
              int deadlineMs);

} // namespace roaming
