#include "mend/userlock.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

namespace mend {

namespace {

// QLockFile doubles its pauses up to five seconds; an edit takes a few hundredths.
constexpr int c_nPauseMs = 10;

} // namespace

CUserLock::CUserLock(const QString& configDir)
    : m_strPath(QDir(configDir).filePath(QStringLiteral("indexUserConfig.lock")))
    , m_file(m_strPath)
{
    // However long a client runs, its lock is its own.
    m_file.setStaleLockTime(0);
}

LockState CUserLock::take(int waitMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!m_file.tryLock(0)) {
        if (m_file.error() != QLockFile::LockFailedError) {
            return LockState::Refused;
        }
        QString strHost;
        m_file.getLockInfo(&m_holder.nProcess, &strHost, &m_holder.strProgram);
        m_holder.since = QFileInfo(m_strPath).lastModified();
        if (timer.hasExpired(waitMs)) {
            return LockState::Busy;
        }
        QThread::msleep(c_nPauseMs);
    }
    return LockState::Taken;
}

} // namespace mend
