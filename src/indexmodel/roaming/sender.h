#pragma once

#include "roaming/sending.h"

#include <QDateTime>

#include <functional>
#include <memory>

namespace roaming {

/// What a sender is at.
enum class SenderState {
    Starting,
    InStep, ///< the server has what is here
    Waiting, ///< it did not: see error and retryAt
    Conflict, ///< another machine has written: asides are kept until somebody chooses
    Behind, ///< the server does not know what this machine has
    NotWhole, ///< the live file is missing or damaged; the server keeps what it has
    Busy, ///< another process of this user is in touch with the server
};

struct SenderStatus {
    SenderState state = SenderState::Starting;
    StoreError error = {};
    Sending last = {}; ///< that has reached the server
    qint64 nHead = 0; ///< of the user's document on the server, when it was asked last
    int nFailures = 0; ///< in a row
    QDateTime retryAt = {}; ///< UTC; null: when it is told of a change
};

/// How long a sender waits, in milliseconds.
struct SenderTimes {
    int nSettle = 10000; ///< for the live file and its mirror to be the same
    int nLook = 50; ///< between two looks at them
    int nFirstPause = 1000; ///< behind a failure; the next are twice as long each
    int nLongestPause = 60000;
    int nAsk = 300000; ///< between two questions for the head; all pauses vary by a quarter
};

/// Sends what a user saves to the server, on a thread of its own, for as long as it lives. The live
/// file is the queue: whatever was not sent yet is sent later, by the next process, too. One a user
/// and machine. It ends with what is under way, at most the deadline of its store.
///
///     roaming::CSender sender(desk, connect, {}, [](const roaming::SenderStatus&) { ... });
///     standalone::onStored([&](const QString& section, const QString& key) { sender.wake(); });
class CSender {
public:
    /// Told of every change of the status on the sender's thread; it must not wait for the sender.
    using Listener = std::function<void(const SenderStatus&)>;

    /// \a connect is asked on the sender's thread, each time that there is something to do.
    CSender(const Desk& desk, const StoreMaker& connect, const SenderTimes& times = {},
            const Listener& listener = {});
    CSender(const CSender&) = delete;
    CSender& operator=(const CSender&) = delete;
    ~CSender();

    /// Something was stored; the live file may still be on its way. Any thread; it takes
    /// microseconds and waits for neither network nor disk.
    void wake();

    /// Waits until all that it was woken for has been tried, at most \a deadlineMs: before the end
    /// of a process, so that the next desk has it. True if the server has what is here.
    bool flush(int deadlineMs);

    SenderStatus status() const;

private:
    class CWorker;
    std::unique_ptr<CWorker> m_pWorker;
};

/// The pause behind the failure number \a failures, from 1 on, before it is varied.
int pauseAfter(int failures, const SenderTimes& times);

} // namespace roaming
