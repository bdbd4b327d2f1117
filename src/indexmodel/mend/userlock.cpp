#include "mend/userlock.h"

#include <platform/filenames.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

#include <sys/stat.h>

namespace mend {

namespace {

// QLockFile doubles its pauses up to five seconds; an edit takes a few hundredths. Who has waited
// long looks more often, so that newcomers do not go first for ever.
unsigned long pauseMs(qint64 waitedMs)
{
    constexpr qint64 c_nLongest = 10;
    constexpr qint64 c_nStep = 250;
    return static_cast<unsigned long>(std::max<qint64>(1, c_nLongest - waitedMs / c_nStep));
}

// What is no file is nobody's lock; opening a named pipe would wait for its other end. In one look,
// since locks come and go.
bool isOther(const QString& path)
{
    struct stat info { };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && !S_ISREG(info.st_mode);
}

// A lock names its holder as soon as it is there: process, program and host, a line each, and then
// the machine. One that still does not was cut off.
bool isCutOff(const QString& path)
{
    constexpr qint64 c_nMostBytes = 4096;
    constexpr qint64 c_nSecondsToName = 2;
    const QDateTime time = QFileInfo(path).lastModified();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)
        || time.secsTo(QDateTime::currentDateTime()) < c_nSecondsToName) {
        return false;
    }
    const QByteArray content = file.read(c_nMostBytes);
    return !content.endsWith('\n') || content.count('\n') < 3;
}

// QLockFile takes over what names a process that has died, under a second lock so that nobody
// removes the lock of whoever was faster. What does not say who holds it, it leaves for ever. It
// removes none that the system knows to be held.
void removeCutOff(const QString& path, QLockFile& lock)
{
    QLockFile remover(path + QStringLiteral(".rmlock"));
    if (isCutOff(path) && remover.tryLock(0) && isCutOff(path)) {
        lock.removeStaleLockFile();
    }
}

} // namespace

CUserLock::CUserLock(const QString& configDir)
    : m_strPath(QDir(configDir).filePath(KW::c_szLockFile))
    , m_file(m_strPath)
{
    // However long a client runs, its lock is its own.
    m_file.setStaleLockTime(0);
}

LockState CUserLock::take(int waitMs)
{
    if (isOther(m_strPath)) {
        return LockState::Refused;
    }
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        removeCutOff(m_strPath, m_file);
        if (m_file.tryLock(0)) {
            return LockState::Taken;
        }
        if (m_file.error() != QLockFile::LockFailedError) {
            return LockState::Refused;
        }
        QString strHost;
        m_file.getLockInfo(&m_holder.nProcess, &strHost, &m_holder.strProgram);
        m_holder.since = QFileInfo(m_strPath).lastModified();
        if (timer.hasExpired(waitMs)) {
            return LockState::Busy;
        }
        QThread::msleep(pauseMs(timer.elapsed()));
    }
}

} // namespace mend
