#pragma once

#include "mend/history.h"
#include "mend/userlock.h"

#include <inspect/userfile.h>

namespace mend {

/// Why a user's file was not written.
enum class WriteFailure {
    None,
    Busy, ///< somebody else may write: see holder()
    NoLock, ///< the directory takes none
    NoHistory, ///< the state before could not be kept
    Changed, ///< somebody else wrote after the file was read
    Refused, ///< by the system
};

/// What a write has left.
struct Receipt {
    QString strFile; ///< that was written, or removed
    QByteArray digest; ///< of what is in the file now; empty where it is gone
    qint64 nBytes = 0;
    bool bDurable = false; ///< it outlasts a power cut
    int nEdit = 0; ///< the number of the edit in the history, which has the state before; 0: none
    QString strLogAside = {}; ///< where the history has kept its damaged log; empty if it has not

    bool isWritten() const { return nEdit > 0 || !digest.isEmpty(); }
};

/// How a writer asks for the right to write.
struct WriteWish {
    QString strCommand; ///< for the history, without secrets
    int nWaitMs = 5000;
    bool bForced = false; ///< writes though somebody else may, too
    QString strAccount = {}; ///< who asked; empty for the account of this process
};

/// One write of a user's file: the lock, what the file holds under it, the state before kept, the
/// write itself, and the proof. The lock is held until this ends.
///
///     mend::CTransaction transaction(dir, wish);
///     if (transaction.lock() == mend::WriteFailure::None) { ... transaction.read() ... }
class CTransaction {
public:
    CTransaction(const QString& configDir, const WriteWish& wish);

    const QString& configDir() const { return m_strConfigDir; }

    /// Busy is told of a forced one, too, which may go on all the same.
    WriteFailure lock();
    const LockHolder& holder() const { return m_lock.holder(); }

    /// The bytes of the live file, now; those of the last call are what may be replaced.
    const inspect::FileBytes& read();
    const QByteArray& bytes() const { return m_read.bytes; }

    /// Keeps what was read. Nothing may be written unless this answers None, or what was read is
    /// kept elsewhere and this answers NoHistory: then nothing is written down.
    WriteFailure keep(HistoryAction action = HistoryAction::Edit, int of = 0);

    /// What becomes of a setting; without a value it is not there.
    struct SettingStep {
        QString strSetting;
        std::optional<QByteArray> before;
        std::optional<QByteArray> after;
    };

    /// Keeps a setting's value before it is changed.
    WriteFailure keepSetting(const SettingStep& step, HistoryAction action, int of);

    /// Sees to it that the setting is durable; \a after is what it is now, in \a file.
    Receipt finishSetting(const std::optional<QByteArray>& after, const QString& file);

    /// Whether the live file is still what was read last, and kept.
    bool isAsRead() const;

    /// Writes down what is about to be written, so that an edit which is cut short behind its write
    /// is known by what is in the file. False where the system refuses; true without an edit.
    bool expect(const QByteArray& digest);

    /// Keeps what was read last, too, if that is somebody else's text. Its copy; empty without one.
    QString keepFound();

    /// Puts \a bytes in the place of the live file. There is a whole file at every moment.
    WriteFailure replace(const QByteArray& bytes);

    /// Writes down that nothing came of it.
    void abandon();

    /// Sees to it that what is in the file now is durable, and writes it down.
    Receipt finish();

private:
    HistoryEntry newEntry(HistoryAction action, int of) const;

    QString m_strConfigDir;
    QString m_strLive;
    WriteWish m_wish;
    CUserLock m_lock;
    CHistory m_history;
    inspect::FileBytes m_read;
    HistoryEntry m_entry;
};

} // namespace mend
