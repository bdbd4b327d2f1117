#include "roaming/sender.h"

#include <inspect/userfile.h>

#include <QRandomGenerator>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace roaming {

namespace {

using Clock = std::chrono::steady_clock;

// Thousands of clients that lost one server do not come back in the same moment.
std::chrono::milliseconds varied(int pauseMs)
{
    const int nQuarter = pauseMs / 4;
    return std::chrono::milliseconds(pauseMs - nQuarter
                                     + QRandomGenerator::global()->bounded(2 * nQuarter + 1));
}

SenderState stateOf(SendResult result)
{
    switch (result) {
    case SendResult::Conflict:
        return SenderState::Conflict;
    case SendResult::Behind:
        return SenderState::Behind;
    case SendResult::NotWhole:
        return SenderState::NotWhole;
    case SendResult::Failed:
        return SenderState::Waiting;
    case SendResult::InStep:
    case SendResult::Sent:
    case SendResult::NotNoted:
        break;
    }
    return SenderState::InStep;
}

bool isSame(const SenderStatus& left, const SenderStatus& right)
{
    return left.state == right.state && left.error.cause == right.error.cause
        && left.nHead == right.nHead && left.nFailures == right.nFailures
        && left.last.nRevision == right.last.nRevision;
}

} // namespace

class CSender::CWorker {
public:
    CWorker(const Desk& desk, const StoreMaker& connect, const SenderTimes& times,
            const Listener& listener)
        : m_desk(desk)
        , m_connect(connect)
        , m_times(times)
        , m_listener(listener)
        , m_thread([this] { run(); })
    {
    }

    CWorker(const CWorker&) = delete;
    CWorker& operator=(const CWorker&) = delete;

    ~CWorker()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bEnd = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }

    void wake()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bWoken = true;
            m_bDone = false;
        }
        m_changed.notify_one();
    }

    SenderStatus status() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_status;
    }

    bool flush(int deadlineMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const bool bDone = m_told.wait_for(lock, std::chrono::milliseconds(deadlineMs),
                                           [this] { return m_bDone; });
        return bDone && m_status.state == SenderState::InStep;
    }

private:
    void run()
    {
        CStateLock lock(m_desk.strConfigDir);
        // A disk that takes no lock gives none to others, and is full when an aside matters most.
        while (lock.take(0) == mend::LockState::Busy) {
            SenderStatus status;
            status.state = SenderState::Busy;
            tell(status);
            if (!waitFor(varied(m_times.nFirstPause))) {
                return;
            }
            m_bUnsettled = takeWake() || m_bUnsettled;
        }
        do {
            // A session for as long as a client runs would be thousands on the server.
            work(*m_connect());
        } while (waitFor(m_pause));
    }

    // False at the end.
    bool waitFor(std::chrono::milliseconds time)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, time, [this] { return m_bEnd || m_bWoken; });
        return !m_bEnd;
    }

    bool isEnding() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bEnd;
    }

    bool takeWake()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_bWoken, false);
    }

    void work(CStore& store)
    {
        const bool bSettled = !(takeWake() || m_bUnsettled) || settle();
        if (isEnding()) {
            return;
        }
        Sending sending
            = bSettled ? Sending() : sendAside(m_desk, store, *m_desk.settings.mirror());
        const bool bAside = sending.result == SendResult::Conflict;
        m_bUnsettled = !bSettled;
        if (sending.result != SendResult::Failed) {
            sending = send(m_desk, store);
            const bool bBeside = bAside && sending.result == SendResult::InStep;
            sending.result = bBeside ? SendResult::Conflict : sending.result;
        }
        SenderStatus made = status();
        made.state = stateOf(sending.result);
        made.error = sending.error;
        if (sending.result != SendResult::Failed) {
            made.last = sending;
            askHead(store, made);
        }
        const bool bFailed = made.state == SenderState::Waiting;
        made.nFailures = bFailed ? made.nFailures + 1 : 0;
        m_pause = varied(bFailed ? pauseAfter(made.nFailures, m_times) : m_times.nAsk);
        made.retryAt
            = bFailed ? QDateTime::currentDateTimeUtc().addMSecs(m_pause.count()) : QDateTime();
        tell(made);
    }

    void askHead(CStore& store, SenderStatus& made) const
    {
        const Answer<QVector<Head>> heads = store.heads();
        Revision found;
        for (const Head& head : heads.value) {
            found = head.strDocument == QLatin1String(c_szUserDocument) ? head.revision : found;
        }
        const MachineState known = readState(m_desk.strConfigDir);
        made.nHead = heads.error ? made.nHead : found.nNumber;
        if (!heads.error && isRewound(found, known.documents.value(c_szUserDocument))) {
            made.state = SenderState::Behind;
        }
        if (heads.error) {
            made.state = SenderState::Waiting;
            made.error = heads.error;
        }
    }

    // The mirror is stored first: until the file is the same, a save is under way or has failed.
    // Sent then, the file would take back what the user has done.
    bool settle()
    {
        const auto until = Clock::now() + std::chrono::milliseconds(m_times.nSettle);
        while (!agrees()) {
            if (Clock::now() >= until) {
                return false;
            }
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait_for(lock, std::chrono::milliseconds(m_times.nLook),
                               [this] { return m_bEnd; });
            if (m_bEnd) {
                return true;
            }
        }
        return true;
    }

    bool agrees() const
    {
        const auto mirror = m_desk.settings.mirror ? m_desk.settings.mirror() : std::nullopt;
        const inspect::FileBytes live = inspect::readBytes(inspect::livePath(m_desk.strConfigDir));
        return !mirror || (live.state == inspect::FileState::Whole && live.bytes == *mirror);
    }

    void tell(const SenderStatus& status)
    {
        bool bChanged = false;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            bChanged = !isSame(m_status, status);
            m_status = status;
            m_bDone = !m_bWoken;
        }
        m_told.notify_all();
        if (bChanged && m_listener) {
            m_listener(status);
        }
    }

    const Desk m_desk;
    const StoreMaker m_connect;
    const SenderTimes m_times;
    const Listener m_listener;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::condition_variable m_told;
    bool m_bWoken = false;
    bool m_bDone = false; // since the last wake
    bool m_bEnd = false;
    std::chrono::milliseconds m_pause { 0 }; // of the thread alone, as the next
    bool m_bUnsettled = false; // the file did not follow the mirror; of the thread alone
    SenderStatus m_status;
    std::thread m_thread; // the last: it uses the others
};

int pauseAfter(int failures, const SenderTimes& times)
{
    qint64 nPause = times.nFirstPause;
    for (int i = 1; i < failures && nPause < times.nLongestPause; ++i) {
        nPause *= 2;
    }
    return static_cast<int>(std::min<qint64>(nPause, times.nLongestPause));
}

CSender::CSender(const Desk& desk, const StoreMaker& connect, const SenderTimes& times,
                 const Listener& listener)
    : m_pWorker(std::make_unique<CWorker>(desk, connect, times, listener))
{
}

CSender::~CSender() = default;

void CSender::wake()
{
    m_pWorker->wake();
}

bool CSender::flush(int deadlineMs)
{
    return m_pWorker->flush(deadlineMs);
}

SenderStatus CSender::status() const
{
    return m_pWorker->status();
}

} // namespace roaming
