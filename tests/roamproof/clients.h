#pragma once

#include "record.h"

#include <QHash>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace roamproof {

/// What clients have heard.
struct Heard {
    QVector<Acknowledged> said;
    int nBehind = 0;
    qint64 nLongestGap = 0; ///< ms between two acknowledgements, of whomever
    QHash<int, int> failures; ///< by StoreCause
};

/// Machines of one person that save all the time, from the beginning of this object on. Whatever
/// fails is asked for again, under the same id, until it is acknowledged or they are stopped.
class CClients {
public:
    CClients(const roaming::ConnectionOptions& options, int count, int documents);
    CClients(const CClients&) = delete;
    CClients& operator=(const CClients&) = delete;
    ~CClients();

    Heard stopped();

private:
    void work(int number);
    void note(const Acknowledged& said);

    const roaming::ConnectionOptions m_options;
    const int m_nDocuments;
    std::atomic_bool m_bStop { false };
    std::mutex m_mutex;
    Heard m_heard;
    qint64 m_nLastMsecs;
    std::vector<std::thread> m_threads;
};

/// A text of some sections that nobody else has.
QByteArray textOf(int client, int number);

} // namespace roamproof
