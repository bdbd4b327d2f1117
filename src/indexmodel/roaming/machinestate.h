#pragma once

#include <mend/userlock.h>

#include <QByteArrayList>
#include <QLockFile>
#include <QMap>
#include <QString>

namespace roaming {

/// Beside the live file.
constexpr char c_szStateFile[] = "indexUserConfig.roaming";
constexpr char c_szStateLock[] = "indexUserConfig.roaming.lock";

/// How a document of this machine stands to the server.
struct DocumentState {
    qint64 nBase = 0; ///< the revision that it was made from; 0: none
    QByteArray digest; ///< of the text that is the same here and there
    QByteArray aside = {}; ///< of the text that was stored as an aside last; empty for none
    QByteArray head = {}; ///< of the revision nBase as the server has it
    QByteArrayList sent = {}; ///< of texts that were sent and not answered, the newest last
};

enum class StateError {
    None,
    Missing, ///< this machine has never been in touch with the server
    Damaged, ///< as if it were missing
    Unreadable, ///< the system does not let it be read
};

/// What this machine knows of the server. It may be older than the truth: a process was killed
/// between what it did and its note of it.
struct MachineState {
    StateError error = StateError::Missing;
    QString strArrangement; ///< that a host has told last
    QMap<QString, DocumentState> documents; ///< by name

    bool isFirst() const { return error != StateError::None; }
};

MachineState readState(const QString& configDir);

/// False where the system refuses.
bool writeState(const QString& configDir, const MachineState& state);

/// The right to be in touch with the server for this directory: one at a time, a client for as long
/// as it runs. That of a process that has died counts no more.
class CStateLock {
public:
    explicit CStateLock(const QString& configDir);

    /// Waits for at most \a waitMs.
    mend::LockState take(int waitMs);

private:
    QLockFile m_file;
};

} // namespace roaming
