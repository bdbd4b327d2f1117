#include "mend/transaction.h"

#include "mend/durable_p.h"
#include "mend/ownership.h"

#include <QDir>
#include <QFileInfo>
#include <QSysInfo>

#include <unistd.h>

namespace mend {

namespace {

bool isSame(const inspect::FileBytes& left, const inspect::FileBytes& right)
{
    return left.state == right.state && left.bytes == right.bytes;
}

} // namespace

CTransaction::CTransaction(const QString& configDir, const WriteWish& wish)
    : m_strConfigDir(configDir)
    , m_strLive(inspect::livePath(configDir))
    , m_wish(wish)
    , m_lock(configDir)
    , m_history(configDir)
{
}

WriteFailure CTransaction::lock()
{
    switch (m_lock.take(m_wish.nWaitMs)) {
    case LockState::Taken:
        return WriteFailure::None;
    case LockState::Busy:
        return WriteFailure::Busy;
    case LockState::Free:
    case LockState::Refused:
        break;
    }
    return WriteFailure::NoLock;
}

const inspect::FileBytes& CTransaction::read()
{
    m_read = inspect::readSavedBytes(m_strLive);
    return m_read;
}

WriteFailure CTransaction::keep(HistoryAction action, int of)
{
    if (!isAsRead()) {
        return WriteFailure::Changed;
    }
    m_entry = newEntry(action, of);
    // Of a file that is too large to be read there is nothing to keep; whoever replaces it moves
    // it.
    const bool bRead = m_read.state == inspect::FileState::Whole;
    const bool bKept
        = m_history.begin(m_entry, bRead ? std::make_optional(m_read.bytes) : std::nullopt);
    // Keeping takes its time.
    return !isAsRead() ? WriteFailure::Changed
        : bKept        ? WriteFailure::None
                       : WriteFailure::NoHistory;
}

HistoryEntry CTransaction::newEntry(HistoryAction action, int of) const
{
    return { 0,
             QDateTime::currentDateTimeUtc(),
             m_wish.strAccount.isEmpty() ? accountName(::getuid()) : m_wish.strAccount,
             QSysInfo::machineHostName(),
             m_wish.strCommand,
             {},
             {},
             action,
             of };
}

WriteFailure CTransaction::keepSetting(const SettingStep& step, HistoryAction action, int of)
{
    m_entry = newEntry(action, of);
    m_entry.strSetting = step.strSetting;
    m_entry.after = step.after ? digestOf(*step.after) : QByteArray();
    return m_history.begin(m_entry, step.before) ? WriteFailure::None : WriteFailure::NoHistory;
}

Receipt CTransaction::finishSetting(const std::optional<QByteArray>& after, const QString& file)
{
    const QByteArray digest = after ? digestOf(*after) : QByteArray();
    const bool bWritten = expect(digest);
    return { file,
             digest,
             after ? after->size() : 0,
             syncPath(m_strConfigDir) && bWritten,
             m_entry.nNumber,
             m_history.setAside() };
}

bool CTransaction::isAsRead() const
{
    return isSame(inspect::readSavedBytes(m_strLive), m_read);
}

bool CTransaction::expect(const QByteArray& digest)
{
    if (m_entry.nNumber == 0 || m_entry.after == digest) {
        return true;
    }
    m_entry.after = digest;
    return m_history.end(m_entry.nNumber, digest);
}

void CTransaction::abandon()
{
    // An empty digest is that of a setting which is removed.
    expect(m_entry.strSetting.isEmpty() ? QByteArray() : m_entry.before);
}

QString CTransaction::keepFound()
{
    const QByteArray digest = digestOf(m_read.bytes);
    const QString strPath = m_history.statePath(digest);
    return digest != m_entry.before && writeDurably(strPath, m_read.bytes) ? strPath : QString();
}

WriteFailure CTransaction::replace(const QByteArray& bytes)
{
    return expect(digestOf(bytes)) && writeDurably(m_strLive, bytes)
            && inspect::readBytes(m_strLive).bytes == bytes
        ? WriteFailure::None
        : WriteFailure::Refused;
}

Receipt CTransaction::finish()
{
    const inspect::FileBytes file = inspect::readBytes(m_strLive);
    const QByteArray digest = digestOf(file.bytes);
    const bool bWritten = expect(digest);
    const bool bDurable = syncPath(m_strLive) && syncPath(m_strConfigDir);
    return { m_strLive,           digest, file.bytes.size(), bDurable && bWritten, m_entry.nNumber,
             m_history.setAside() };
}

} // namespace mend
