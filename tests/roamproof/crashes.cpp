#include "scenarios.h"

#include "desk.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <algorithm>
#include <csignal>

namespace roamproof {

namespace {

constexpr int c_nClients = 8;
constexpr int c_nDocuments = 4;

// The titles of the server's processes tell whom they serve.
QVector<int> backendsOf(const CPostgresServer& server, const QByteArray& user)
{
    QVector<int> processes = server.processes();
    const auto isOther = [&user](int process) {
        return !contentOf(QStringLiteral("/proc/%1/cmdline").arg(process)).contains(user);
    };
    processes.erase(std::remove_if(processes.begin(), processes.end(), isOther), processes.end());
    return processes;
}

class CCrashes {
public:
    explicit CCrashes(CPostgresServer& server)
        : m_server(server)
    {
    }

    /// One after the other, a second or two between them.
    void run(int seconds)
    {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; timer.elapsed() < 1000LL * seconds; ++i) {
            sleepMsecs(700 + QRandomGenerator::global()->bounded(1000));
            crash(i);
        }
    }

    QString told() const
    {
        return QStringLiteral("%1 backends and %2 postmasters killed, %3 immediate stops")
            .arg(m_nBackends)
            .arg(m_nPostmasters)
            .arg(m_nStops);
    }

    bool isEach() const { return m_nBackends > 0 && m_nPostmasters > 0 && m_nStops > 0; }

private:
    // A backend that is gone may have held what the others of a killed postmaster wait for.
    void crash(int i)
    {
        if (i % 4 == 0 || i % 4 == 3) {
            killBackend();
        }
        if (i % 4 == 1 || i % 4 == 3) {
            killPostmaster();
        }
        if (i % 4 == 2) {
            stop();
        }
    }

    void killBackend()
    {
        const QVector<int> backends = backendsOf(m_server, "trader1");
        if (!backends.isEmpty()) {
            const int nOne = QRandomGenerator::global()->bounded(backends.size());
            m_nBackends += ::kill(backends[nOne], SIGKILL) == 0 ? 1 : 0;
        }
    }

    void killPostmaster()
    {
        m_server.kill();
        ++m_nPostmasters;
        m_server.start();
    }

    void stop()
    {
        m_server.stop(CPostgresServer::Stop::Immediate);
        ++m_nStops;
        m_server.start();
    }

    CPostgresServer& m_server;
    int m_nBackends = 0;
    int m_nPostmasters = 0;
    int m_nStops = 0;
};

struct Crashed {
    QString strCrashes;
    bool bEach = false;
    Heard heard;
    Verdict verdict;
};

Crashed crashed(CPostgresServer& server, const Database& database, int seconds)
{
    CClients clients(database.trader, c_nClients, c_nDocuments);
    CCrashes crashes(server);
    crashes.run(seconds);
    // Whatever waits for an answer gets it.
    answers(database.owner);
    sleepMsecs(1000);
    Crashed crashed { crashes.told(), crashes.isEach(), clients.stopped(), {} };
    answers(database.owner);
    crashed.verdict = judged(crashed.heard.said, storedIn(database.owner));
    return crashed;
}

} // namespace

Database::Database(CPostgresServer& server)
{
    const QString strName = server.makeDatabase();
    trader = server.options(strName, "trader1");
    owner = server.options(strName, "postgres");
}

void sleepMsecs(int msecs)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(msecs));
}

bool answers(const roaming::ConnectionOptions& options)
{
    for (int i = 0; i < 600; ++i) {
        if (!sqlError(options, "select 1")) {
            return true;
        }
        sleepMsecs(100);
    }
    return false;
}

Outcome manyClients(const Measure& measure)
{
    CPostgresServer server(CPostgresServer::Durability::Real);
    const Database database(server);
    CClients clients(database.trader, 16, 4);
    sleepMsecs(1000 * measure.nSeconds);
    const Heard heard = clients.stopped();
    const Verdict verdict = judged(heard.said, storedIn(database.owner));
    return { "16 clients on 4 documents", QStringLiteral("%1 s").arg(measure.nSeconds),
             told(verdict),
             verdict.isClean() && verdict.nAsides > 0 && verdict.nAsides < verdict.nAcknowledged
                 && heard.nBehind == 0 && heard.failures.isEmpty() };
}

Outcome crashes(const Measure& measure)
{
    CPostgresServer server(CPostgresServer::Durability::Real);
    const Database database(server);
    const Crashed found = crashed(server, database, measure.nSeconds);
    return { "the server killed and stopped under 8 clients",
             QStringLiteral("%1 s: %2").arg(measure.nSeconds).arg(found.strCrashes),
             told(found.verdict),
             found.bEach && found.verdict.isClean() && found.verdict.nAcknowledged > 0
                 && found.heard.nBehind == 0 };
}

// What the server calls saved there is not on its disk: whoever looks for losses has to find some.
Outcome crashesUnsynced(const Measure& measure)
{
    CPostgresServer server(CPostgresServer::Durability::Real);
    const Database database(server);
    for (const char* const pszLine :
         { "alter system set synchronous_commit = off", "alter system set wal_writer_delay = '10s'",
           "alter system set wal_writer_flush_after = '1GB'", "select pg_reload_conf()" }) {
        sql(database.owner, pszLine);
    }
    const Crashed found = crashed(server, database, measure.nSeconds);
    return { "the same with `synchronous_commit` off, where the check must find losses",
             QStringLiteral("%1 s: %2").arg(measure.nSeconds).arg(found.strCrashes),
             told(found.verdict) + QStringLiteral(": seen"), found.verdict.nLost > 0 };
}

} // namespace roamproof
