#include "standalone/saveguard_p.h"

#include "platform/commonutil.h"
#include "standalone/standalone.h"

#include <QFile>
#include <QVector>

#include <atomic>
#include <memory>
#include <mutex>

#include <fcntl.h>
#include <sys/stat.h>

namespace standalone {

namespace {

// A file as it was before a save.
struct Replaced {
    QByteArray path;
    Sync sync = Sync::Disk;
    ReadCause cause = ReadCause::None;
    std::string strContent = {};
    struct stat info { };
};

Replaced stateOf(const QByteArray& path, Sync sync)
{
    Replaced replaced { path, sync };
    replaced.cause = readFile(QFile::decodeName(path), replaced.strContent).cause;
    if (replaced.cause == ReadCause::None && ::stat(path.constData(), &replaced.info) != 0) {
        replaced.cause = ReadCause::Unreadable;
    }
    return replaced;
}

// With its time, by which the newest file is told.
bool restore(const Replaced& replaced)
{
    const timespec times[] = { replaced.info.st_atim, replaced.info.st_mtim };
    return replaceFile(replaced.path, replaced.strContent, replaced.sync)
        && ::utimensat(AT_FDCWD, replaced.path.constData(), times, 0) == 0;
}

// What could not be read stays as the save has written it: that is more than nothing.
void putBack(const Replaced& replaced)
{
    const bool bMissing = replaced.cause == ReadCause::Missing;
    const bool bBack = bMissing ? removeFile(replaced.path)
                                : replaced.cause == ReadCause::None && restore(replaced);
    if (!bBack && g_RXStdLogger) {
        LOG4CXX_WARN(g_RXStdLogger, "cannot put back file:" << replaced.path.constData());
    }
}

class CGuardedSave {
public:
    explicit CGuardedSave(const SaveGuard& guard)
        : m_guard(guard)
    {
    }

    // Who asked may be gone before a save that does not end.
    void end()
    {
        const std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_bRefused = true;
    }

    bool replace(const QByteArray& path, const std::string& content, Sync sync)
    {
        if (isAsking() || m_bPassed) {
            return replaceFile(path, content, sync);
        }
        if (!isAllowed(content)) {
            return false;
        }
        remember(stateOf(path, sync));
        const bool bReplaced = replaceFile(path, content, sync);
        if (sync == Sync::Never) {
            return bReplaced;
        }
        m_bPassed = bReplaced && isAllowed(content);
        return m_bPassed;
    }

private:
    // Only the guard itself gets here while it is asked.
    bool isAsking()
    {
        const std::lock_guard<std::recursive_mutex> lock(m_mutex);
        return m_bAsking;
    }

    void remember(const Replaced& replaced)
    {
        const std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_replaced.append(replaced);
    }

    // A save tries again what was refused.
    bool isAllowed(const std::string& content)
    {
        const std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_bRefused) {
            return false;
        }
        m_bAsking = true;
        m_bRefused = !m_guard(content);
        while (m_bRefused && !m_replaced.isEmpty()) {
            putBack(m_replaced.takeLast());
        }
        m_bAsking = false;
        return !m_bRefused;
    }

    std::recursive_mutex m_mutex;
    SaveGuard m_guard;
    QVector<Replaced> m_replaced;
    bool m_bAsking = false;
    bool m_bRefused = false;
    // Behind the last answer the live file goes: what the save writes then is all there is.
    std::atomic<bool> m_bPassed { false };
};

// Shared with the saves that have met it, however long they take.
class CGuardOfSaves {
public:
    std::shared_ptr<CGuardedSave> get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_pSave;
    }

    std::shared_ptr<CGuardedSave> exchange(std::shared_ptr<CGuardedSave> pSave)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pSave.swap(pSave);
        return pSave;
    }

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<CGuardedSave> m_pSave;
};

CGuardOfSaves& guardOfSaves()
{
    return *utils::CManualSingletonT<CGuardOfSaves>::instance();
}

} // namespace

void guardSaves(const SaveGuard& guard)
{
    const std::shared_ptr<CGuardedSave> pBefore
        = guardOfSaves().exchange(guard ? std::make_shared<CGuardedSave>(guard) : nullptr);
    if (pBefore) {
        pBefore->end();
    }
}

bool replaceGuarded(const QByteArray& path, const std::string& content, Sync sync)
{
    const std::shared_ptr<CGuardedSave> pSave = guardOfSaves().get();
    return pSave ? pSave->replace(path, content, sync) : replaceFile(path, content, sync);
}

} // namespace standalone
