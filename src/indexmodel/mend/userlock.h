#pragma once

#include <QDateTime>
#include <QLockFile>
#include <QString>

namespace mend {

enum class LockState {
    Free, ///< not taken
    Taken, ///< by this object
    Busy, ///< by another: see holder()
    Refused, ///< the directory takes no lock: no permission, no space, not there
};

struct LockHolder {
    QString strProgram;
    qint64 nProcess = 0;
    QDateTime since; ///< of local time
};

/// The right to write one user's directory, held from the reading to the end of a write; by a
/// client for as long as it runs. It goes with its holder: that of a process that has died is taken
/// over.
///
///     mend::CUserLock lock(dir);
///     if (lock.take(5000) == mend::LockState::Taken) { ... }
class CUserLock {
public:
    explicit CUserLock(const QString& configDir);

    /// Waits for at most \a waitMs.
    LockState take(int waitMs);

    /// Who had it when it was busy.
    const LockHolder& holder() const { return m_holder; }

private:
    QString m_strPath;
    QLockFile m_file;
    LockHolder m_holder;
};

} // namespace mend
