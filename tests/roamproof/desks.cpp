#include "desk.h"
#include "scenarios.h"

#include <roaming/roamingtext.h>

#include <QElapsedTimer>
#include <QMap>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QUuid>

#include <csignal>

#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace roamproof {

namespace {

const QByteArray c_inStep = "state 1"; // SenderState::InStep
constexpr int c_nFirst = 1000; // no generation of the sample

const Stored* headOf(const QVector<Stored>& rows)
{
    const auto it = std::find_if(rows.begin(), rows.end(), [](const Stored& row) {
        return row.bHead && row.strDocument == QLatin1String("user");
    });
    return it == rows.end() ? nullptr : &*it;
}

bool isHead(const QVector<Stored>& rows, const QByteArray& live)
{
    const Stored* const pHead = headOf(rows);
    return pHead != nullptr && generationOf(pHead->text) == generationOf(live)
        && roaming::outgoingText(live) == pHead->text;
}

/// What becomes of the server during the life of a client.
enum class Trouble { None, Away, Mute, Stopped, Killed };
constexpr int c_nTroubles = 5;

class CLives {
public:
    explicit CLives(int seconds)
        : m_server(CPostgresServer::Durability::Real)
        , m_database(m_server)
    {
        if (!m_mute.listen(QHostAddress::LocalHost)) {
            qFatal("listen");
        }
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 1000LL * seconds) {
            live(static_cast<Trouble>(m_nLives++ % c_nTroubles));
        }
    }

    Outcome outcome(int seconds)
    {
        const QByteArray last = m_desk.run(m_database.trader.strConnection, ++m_nLast, 1);
        const auto rows = storedIn(m_database.owner);
        const Verdict verdict = judged({}, rows);
        int nAsides = 0;
        for (const Stored& row : rows) {
            nAsides += row.bAside ? 1 : 0;
        }
        const bool bHead = isHead(rows, m_desk.live()) && generationOf(m_desk.live()) == m_nLast;
        return {
            "a client killed at any moment, the server away, mute, stopped or killed",
            QStringLiteral("%1 s: %2 kills, %3 saves").arg(seconds).arg(m_nLives).arg(m_nSaves),
            QStringLiteral("head is %1the last file, of %2 revisions %3 twice, %4 beside its "
                           "own")
                .arg(QLatin1String(bHead ? "" : "not "))
                .arg(rows.size())
                .arg(verdict.nTwice)
                .arg(nAsides),
            bHead && last.contains(c_inStep) && verdict.isClean() && nAsides == 0 && rows.size() > 1
                && m_nSaves > m_nLives
        };
    }

private:
    QString connection(Trouble trouble) const
    {
        const QString strElsewhere = QStringLiteral("host=127.0.0.1 user=trader1 dbname=x port=");
        switch (trouble) {
        case Trouble::Away:
            return strElsewhere + '1';
        case Trouble::Mute:
            return strElsewhere + QString::number(m_mute.serverPort());
        default:
            return m_database.trader.strConnection;
        }
    }

    void begin(Trouble trouble)
    {
        if (trouble == Trouble::Stopped) {
            m_stopped = m_server.processes();
            signalAll(SIGSTOP);
        } else if (trouble == Trouble::Killed) {
            m_server.stop(CPostgresServer::Stop::Immediate);
        }
    }

    void end(Trouble trouble)
    {
        signalAll(SIGCONT);
        m_stopped.clear();
        if (trouble == Trouble::Killed) {
            m_server.start();
        }
    }

    void signalAll(int signal) const
    {
        for (const int nProcess : m_stopped) {
            ::kill(nProcess, signal);
        }
    }

    void live(Trouble trouble)
    {
        const auto pClient = m_desk.start(connection(trouble), m_nLast + 1);
        sleepMsecs(100 + QRandomGenerator::global()->bounded(900));
        begin(trouble);
        sleepMsecs(QRandomGenerator::global()->bounded(700));
        pClient->kill();
        pClient->waitForFinished();
        end(trouble);
        for (const QByteArray& line : pClient->readAllStandardOutput().split('\n')) {
            m_nSaves += line.isEmpty() ? 0 : 1;
            m_nLast = std::max(m_nLast, line.toInt());
        }
        // What was being saved.
        m_nLast = std::max(m_nLast, generationOf(m_desk.live())) + 1;
    }

    CPostgresServer m_server;
    Database m_database;
    QTcpServer m_mute;
    CClientDesk m_desk;
    QVector<int> m_stopped;
    int m_nLives = 0;
    int m_nSaves = 0;
    int m_nLast = c_nFirst;
};

/// A file system of a megabyte, if one may be mounted here.
class CSmallDisk {
public:
    CSmallDisk()
        : m_bMounted(::mount("none", path().constData(), "tmpfs", 0, "size=1m") == 0)
    {
    }

    CSmallDisk(const CSmallDisk&) = delete;
    CSmallDisk& operator=(const CSmallDisk&) = delete;

    ~CSmallDisk()
    {
        if (m_bMounted) {
            ::umount2(path().constData(), MNT_DETACH);
        }
    }

    bool isMounted() const { return m_bMounted; }
    QByteArray path() const { return m_directory.path().toLocal8Bit(); }

    void leave(int pages) const
    {
        struct statvfs info { };
        ::statvfs(path().constData(), &info);
        QFile filler(m_directory.filePath("filler"));
        const int nFill
            = (static_cast<int>(info.f_bavail) - pages) * static_cast<int>(info.f_frsize);
        if (!filler.open(QIODevice::WriteOnly) || filler.write(QByteArray(nFill, 'f')) != nFill) {
            qFatal("the disk cannot be filled");
        }
    }

    void makeRoom() const { QFile::remove(m_directory.filePath("filler")); }

private:
    QTemporaryDir m_directory;
    bool m_bMounted;
};

enum class Level { OnlyMirror, Saved, Wrong };

bool isStored(const QVector<Stored>& rows, int generation, bool aside)
{
    return std::any_of(rows.begin(), rows.end(), [&](const Stored& row) {
        return generationOf(row.text) == generation && row.bAside == aside;
    });
}

// A save on a disk with so many pages left, and the next start with room again.
Level saveWith(int pages, CPostgresServer& server)
{
    const CSmallDisk disk;
    const Database database(server);
    const CClientDesk desk(QString::fromLocal8Bit(disk.path() + "/user"));
    // The mirror is no larger than the file: where both are on one disk, neither is written.
    const QTemporaryDir settings;
    QFile::link(settings.path(), desk.dir() + "/Settings");
    const QString strConnection = database.trader.strConnection;
    desk.run(strConnection, c_nFirst, 1);
    disk.leave(pages);
    desk.run(strConnection, c_nFirst + 1, 1, 300);
    const QByteArray live = desk.live();
    const bool bMirror = generationOf(desk.mirror()) == c_nFirst + 1;
    const bool bAside = isStored(storedIn(database.owner), c_nFirst + 1, true);
    disk.makeRoom();
    desk.run(strConnection, 0, 0);
    const auto rows = storedIn(database.owner);
    // The file is not older than it was, and nothing was sent twice.
    if (!isHead(rows, desk.live()) || generationOf(desk.live()) < generationOf(live)
        || !judged({}, rows).isClean()) {
        return Level::Wrong;
    }
    if (generationOf(live) == c_nFirst + 1) {
        return bAside ? Level::Wrong : Level::Saved;
    }
    return bMirror && bAside ? Level::OnlyMirror : Level::Wrong;
}

} // namespace

Outcome killedClients(const Measure& measure)
{
    CLives lives(measure.nSeconds);
    return lives.outcome(measure.nSeconds);
}

Outcome fullDisk(const Measure& measure)
{
    const QString strWhat = "a full disk: the mirror is written, the file is not";
    if (!CSmallDisk().isMounted()) {
        return { strWhat, "no file system may be mounted here", "left out", true };
    }
    CPostgresServer server;
    QMap<Level, int> levels;
    for (int nPages = 0; nPages < measure.nCount; ++nPages) {
        ++levels[saveWith(nPages, server)];
    }
    return { strWhat, QStringLiteral("%1 levels of pages left").arg(measure.nCount),
             QStringLiteral("%1 only the mirror: aside on the server, not taken back by the next "
                            "start; %2 saved, %3 otherwise")
                 .arg(levels[Level::OnlyMirror])
                 .arg(levels[Level::Saved])
                 .arg(levels[Level::Wrong]),
             levels[Level::Wrong] == 0 && levels[Level::OnlyMirror] > 0 };
}

// In a dump contents are hexadecimal.
Outcome password(const Measure&)
{
    CPostgresServer server;
    const Database database(server);
    const QString strConnection = database.trader.strConnection;
    const CClientDesk desk;
    const CClientDesk other;
    const QByteArray secret = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    desk.writeLive(
        desk.live().replace("oaPassword=\"sample-only\"", "oaPassword=\"" + secret + '"'));
    desk.run(strConnection, c_nFirst, 1);
    other.run(strConnection, c_nFirst + 1, 1);
    desk.run(strConnection, 0, 0);

    const QByteArray dump = server.dump();
    const QByteArray generation = "reportRefreshTime=\"" + QByteArray::number(c_nFirst) + '"';
    const bool bSees = dump.contains(generation.toHex());
    const bool bFound = dump.contains(secret) || dump.contains(secret.toHex())
        || dump.contains(secret.toBase64());
    const bool bBack = generationOf(desk.live()) == c_nFirst + 1 && desk.live().contains(secret);
    return { "a dump of all databases searched for the OA password",
             QStringLiteral("%1 kB").arg(dump.size() / 1024),
             QStringLiteral("%1found, another option %2, %3 on the desk after another's save")
                 .arg(QLatin1String(bFound ? "" : "not "), QLatin1String(bSees ? "is" : "is not"),
                      QLatin1String(bBack ? "still" : "not")),
             !bFound && bSees && bBack && !other.live().contains(secret) };
}

} // namespace roamproof
