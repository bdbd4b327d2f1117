#pragma once

#include "roaming/desk.h"
#include "roaming/machinestate.h"

namespace roaming {

enum class SendResult {
    InStep, ///< there is nothing to send
    Sent,
    Conflict, ///< the head is another machine's: what was sent is an aside beside it
    Behind, ///< the server does not know the base: another one, or a rewound one
    NotWhole, ///< the live file is missing, damaged or cannot be read; it is not sent
    NotNoted, ///< it was sent, and the state beside the live file could not be written
    Failed, ///< see error
};

/// What became of a sending.
struct Sending {
    SendResult result = SendResult::InStep;
    StoreError error = {};
    qint64 nRevision = 0; ///< of the user's document, where it was sent
    qint64 nHead = 0; ///< of the same on the server
    int nSettings = 0; ///< that were sent
};

/// Which head a sending is put on.
enum class SendBase {
    Known, ///< that which this machine knows
    Server, ///< that of the server, whatever it is: it stays in the server's history
};

/// Sends what of \a desk is not on the server as it is here: the live file in its outgoing form and
/// the shared settings, in one transaction. The caller has the CStateLock. Sent again after any
/// crash it is the same save. Any one thread.
///
///     const roaming::Sending sending = roaming::send(desk, store);
Sending send(const Desk& desk, CStore& store, SendBase base = SendBase::Known,
             const QString& reason = QStringLiteral("save"));

/// Stores \a live, which did not become the live file, as an aside.
Sending sendAside(const Desk& desk, CStore& store, const QByteArray& live);

/// Sends one section that is held otherwise, as a document of its own.
Sending sendHeld(const Desk& desk, CStore& store, const QString& section, SendBase base);

/// What \a desk knows of the server, without the settings of a settings store that is lost: those
/// are not removed by anybody, and fetched again.
MachineState knownState(const Desk& desk);

/// Whether the live file is not what the server has, as far as \a state knows; false for one that
/// is not whole.
bool isUnsent(const Desk& desk, const MachineState& state);

/// How many shared settings are not as the server has them, as far as \a state knows.
int unsentSettings(const Desk& desk, const MachineState& state);

/// How many of the \a heads are settings that this machine has not had yet.
int newSettings(const QVector<Head>& heads, const MachineState& state);

/// Whether a server with \a head of a document is not the one that \a known comes from, or was set
/// back.
bool isRewound(const Revision& head, const DocumentState& known);

} // namespace roaming
