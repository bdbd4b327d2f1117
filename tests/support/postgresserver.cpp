#include "postgresserver.h"

#include <roaming/administration.h>
#include <roaming/postgresconnection_p.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <csignal>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString c_strTemplate = QStringLiteral("roaming_template");

void need(bool done, const char* what)
{
    if (!done) {
        qFatal("PostgreSQL in a test: %s", what);
    }
}

bool isFree(int port)
{
    const int nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<quint16>(port));
    const bool bFree = ::bind(nSocket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    ::close(nSocket);
    return bFree;
}

// Not one that the system gives to whoever connects: somebody may have it when a server is back.
int freePort()
{
    for (int i = 0; i < 100; ++i) {
        const int nPort = QRandomGenerator::global()->bounded(20000, 32000);
        if (isFree(nPort)) {
            return nPort;
        }
    }
    qFatal("PostgreSQL in a test: no port is free");
}

// The server refuses to be root's.
QStringList asPostgres()
{
    return { "setpriv", "--reuid=postgres", "--regid=postgres", "--init-groups", "env", "-C", "/" };
}

void giveToPostgres(const QString& path)
{
    const passwd* const pUser = ::getpwnam("postgres");
    need(pUser != nullptr, "there is no user postgres");
    const QByteArray strPath = QFile::encodeName(path);
    need(::chown(strPath.constData(), pUser->pw_uid, pUser->pw_gid) == 0, "chown");
}

// Of all databases of this process.
QStringList& madeNames()
{
    static QStringList names;
    return names;
}

QString newName()
{
    static int nMade = 0;
    const qint64 nProcess = QCoreApplication::applicationPid();
    madeNames().append(QStringLiteral("t%1_%2").arg(nProcess).arg(++nMade));
    return madeNames().last();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// One that has ended and that nobody has waited for has no command line any more.
bool isAlive(int process)
{
    return !contentOf(QStringLiteral("/proc/%1/cmdline").arg(process)).isEmpty();
}

bool isAnyAlive(const QVector<int>& processes)
{
    return std::any_of(processes.begin(), processes.end(), isAlive);
}

void waitFor(const QVector<int>& processes, int msecs)
{
    for (int i = 0; i < msecs / 50 && isAnyAlive(processes); ++i) {
        QThread::msleep(50);
    }
}

// Of a test that was killed or has failed for good nobody else would stop the server.
void endWith(qint64 process, const QString& directory)
{
    QProcess watch;
    watch.setStandardInputFile(QProcess::nullDevice());
    watch.setStandardOutputFile(QProcess::nullDevice());
    watch.setStandardErrorFile(QProcess::nullDevice());
    watch.setProgram("setsid");
    watch.setArguments({ "sh", "-c",
                         "while kill -0 $1 && [ -d $0 ]; do sleep 1; done;"
                         "[ ! -d $0 ] || kill -QUIT $(head -n 1 $0/pg/data/postmaster.pid);"
                         "while rm -rf $0; [ -d $0 ]; do sleep 1; done",
                         directory, QString::number(process) });
    need(watch.startDetached(), "setsid");
}

} // namespace

bool CPostgresServer::isInstalled()
{
    return QFile::exists(POSTGRES_BIN "/postgres");
}

CPostgresServer& CPostgresServer::shared()
{
    static const std::unique_ptr<CPostgresServer> pServer = [] {
        auto pRuns = adopted(QString::fromLocal8Bit(qgetenv("INDEXUSER_POSTGRES")));
        return pRuns ? std::move(pRuns) : std::make_unique<CPostgresServer>();
    }();
    return *pServer;
}

CPostgresServer::CPostgresServer(Durability durability, qint64 process)
    : m_strDirectory(newDirectory(process))
    , m_nPort(freePort())
{
    makeHome();
    createCluster(durability);
    start();
}

QString CPostgresServer::newDirectory(qint64 process)
{
    QTemporaryDir directory(QDir::tempPath() + QStringLiteral("/pg-XXXXXX"));
    directory.setAutoRemove(false);
    endWith(process == 0 ? QCoreApplication::applicationPid() : process, directory.path());
    return directory.path();
}

CPostgresServer::CPostgresServer(const QString& directory, int port)
    : m_strDirectory(directory)
    , m_nPort(port)
    , m_owner(Owner::Other)
{
}

CPostgresServer::~CPostgresServer()
{
    if (m_owner == Owner::This) {
        remove();
    }
}

void CPostgresServer::remove()
{
    stop(Stop::Immediate);
    QDir(m_strDirectory).removeRecursively();
}

QString CPostgresServer::dataPath() const
{
    return m_strDirectory + QStringLiteral("/pg/data");
}

void CPostgresServer::makeHome() const
{
    const QString strHome = m_strDirectory + QStringLiteral("/pg");
    need(::chmod(QFile::encodeName(m_strDirectory).constData(), 0711) == 0, "chmod");
    need(::mkdir(QFile::encodeName(strHome).constData(), 0700) == 0, "mkdir");
    if (::geteuid() == 0) {
        giveToPostgres(strHome);
    }
}

void CPostgresServer::createCluster(Durability durability)
{
    need(run("initdb",
             { "-D", dataPath(), "-U", "postgres", "-A", "trust", "-E", "UTF8", "--locale=C.UTF-8",
               "-N" })
             == 0,
         "initdb");
    configure(QStringLiteral("listen_addresses = '127.0.0.1'\nport = %1\n"
                             "unix_socket_directories = '%2'\nmax_connections = 60\n%3")
                  .arg(m_nPort)
                  .arg(m_strDirectory + QStringLiteral("/pg"),
                       durability == Durability::None ? "fsync = off\n" : ""));
}

std::unique_ptr<CPostgresServer> CPostgresServer::makeStandby() const
{
    std::unique_ptr<CPostgresServer> pStandby(new CPostgresServer(newDirectory(0), freePort()));
    pStandby->m_owner = Owner::This;
    pStandby->makeHome();
    const QString strPrimary = QStringLiteral("host=%1/pg port=%2 user=postgres "
                                              "application_name=standby")
                                   .arg(m_strDirectory)
                                   .arg(m_nPort);
    need(pStandby->run("pg_basebackup",
                       { "-D", pStandby->dataPath(), "-d", strPrimary, "-R", "-c", "fast" })
             == 0,
         "pg_basebackup");
    pStandby->configure(QStringLiteral("port = %1\nunix_socket_directories = '%2/pg'\n")
                            .arg(pStandby->m_nPort)
                            .arg(pStandby->m_strDirectory));
    pStandby->start();
    return pStandby;
}

void CPostgresServer::promote()
{
    need(run("pg_ctl", { "-D", dataPath(), "-w", "promote" }) == 0, "promote");
}

QByteArray CPostgresServer::dump() const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(
        QStringLiteral(POSTGRES_BIN "/pg_dumpall"),
        { "-h", m_strDirectory + "/pg", "-p", QString::number(m_nPort), "-U", "postgres" });
    need(process.waitForFinished(120000) && process.exitCode() == 0, "pg_dumpall");
    return process.readAllStandardOutput();
}

void CPostgresServer::configure(const QString& lines) const
{
    QFile file(dataPath() + QStringLiteral("/postgresql.conf"));
    need(file.open(QIODevice::Append), "postgresql.conf");
    need(file.write(lines.toUtf8()) > 0 && file.flush(), "postgresql.conf");
}

void CPostgresServer::addFile(const QString& name, const QByteArray& content) const
{
    const QString strPath = dataPath() + '/' + name;
    QFile file(strPath);
    need(file.open(QIODevice::WriteOnly), "a file of the server");
    need(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner), "a file of the server");
    need(file.write(content) == content.size() && file.flush(), "a file of the server");
    if (::geteuid() == 0) {
        giveToPostgres(strPath);
    }
}

int CPostgresServer::run(const QString& program, const QStringList& arguments) const
{
    QStringList all = ::geteuid() == 0 ? asPostgres() : QStringList("env");
    all += QStringLiteral(POSTGRES_BIN "/") + program;
    all += arguments;
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(all.takeFirst(), all);
    const bool bEnded = process.waitForFinished(120000);
    return bEnded && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void CPostgresServer::start()
{
    const QStringList arguments {
        "-D", dataPath(), "-l", m_strDirectory + "/pg/log", "-w", "start"
    };
    if (run("pg_ctl", arguments) != 0) {
        qFatal("PostgreSQL in a test: start\n%s",
               contentOf(m_strDirectory + "/pg/log").right(4000).constData());
    }
}

void CPostgresServer::stop(Stop stop)
{
    const char* const pszMode = stop == Stop::Fast ? "fast" : "immediate";
    if (isRunning()) {
        need(run("pg_ctl", { "-D", dataPath(), "-m", pszMode, "-w", "stop" }) == 0, "stop");
    }
}

// A process of the server that waits for a lock of another that is gone does so for ever once there
// is no postmaster, and no server starts beside it. A service manager kills it, and so does this.
void CPostgresServer::kill()
{
    const auto nPostmaster = static_cast<pid_t>(processId());
    need(::kill(nPostmaster, SIGSTOP) == 0, "kill");
    const QVector<int> left = processes();
    need(::kill(nPostmaster, SIGKILL) == 0, "kill");
    waitFor(left, 3000);
    for (const int nProcess : left) {
        ::kill(nProcess, SIGKILL);
    }
    waitFor(left, 60000);
    need(!isAnyAlive(left), "the processes of a killed server");
    // A killed process that nobody has waited for yet still counts for who finds its number in
    // these.
    need(QFile::remove(dataPath() + QStringLiteral("/postmaster.pid")), "postmaster.pid");
    const auto lock = QStringLiteral("/pg/.s.PGSQL.%1.lock").arg(m_nPort);
    need(QFile::remove(m_strDirectory + lock), "the lock of the server's socket");
}

QVector<int> CPostgresServer::processes() const
{
    const QString strPostmaster = QString::number(processId());
    QVector<int> all { strPostmaster.toInt() };
    const auto path = QStringLiteral("/proc/%1/task/%1/children").arg(strPostmaster);
    for (const QByteArray& strChild : contentOf(path).split(' ')) {
        if (strChild.toInt() > 0) {
            all.append(strChild.toInt());
        }
    }
    return all;
}

bool CPostgresServer::isRunning() const
{
    return run("pg_ctl", { "-D", dataPath(), "status" }) == 0;
}

qint64 CPostgresServer::processId() const
{
    QFile file(dataPath() + QStringLiteral("/postmaster.pid"));
    need(file.open(QIODevice::ReadOnly), "postmaster.pid");
    return file.readLine().trimmed().toLongLong();
}

roaming::ConnectionOptions CPostgresServer::options(const QString& database,
                                                    const QString& user) const
{
    roaming::ConnectionOptions options;
    options.strConnection = QStringLiteral("host=%1/pg port=%2 dbname=%3 user=%4")
                                .arg(m_strDirectory)
                                .arg(m_nPort)
                                .arg(database, user);
    return options;
}

void CPostgresServer::createDatabase(const QString& name, const QString& source)
{
    sql(options("postgres", "postgres"),
        QStringLiteral("create database %1 template %2").arg(name, source));
}

QString CPostgresServer::makeEmptyDatabase()
{
    const QString strName = newName();
    createDatabase(strName, "template0");
    return strName;
}

void CPostgresServer::makeTemplate()
{
    const auto there
        = QStringLiteral("select 1 from pg_database where datname = '%1'").arg(c_strTemplate);
    if (!sql(options("postgres", "postgres"), there).isEmpty()) {
        return;
    }
    const QString strMade = makeEmptyDatabase();
    need(!roaming::initialise(options(strMade, "postgres")).error, "initialise");
    for (const char* const pszRole :
         { "trader1 login in role roaming_trader", "trader2 login in role roaming_trader",
           "helper login in role roaming_desk", "keeper login in role roaming_owner" }) {
        sql(options("postgres", "postgres"), QStringLiteral("create role ") + pszRole);
    }
    sql(options("postgres", "postgres"),
        QStringLiteral("alter database %1 rename to %2").arg(strMade, c_strTemplate));
}

QString CPostgresServer::makeDatabase()
{
    makeTemplate();
    // Each is some megabytes.
    for (const QString& strPrevious : qAsConst(madeNames())) {
        sql(options("postgres", "postgres"),
            QStringLiteral("drop database if exists %1 with (force)").arg(strPrevious));
    }
    madeNames().clear();
    const QString strName = newName();
    createDatabase(strName, c_strTemplate);
    return strName;
}

void CPostgresServer::leave(const QString& where)
{
    makeTemplate();
    QSaveFile file(where);
    need(file.open(QIODevice::WriteOnly), "the file of the server");
    file.write(QStringLiteral("%1\n%2\n").arg(m_strDirectory).arg(m_nPort).toUtf8());
    need(file.commit(), "the file of the server");
    m_owner = Owner::Other;
}

std::unique_ptr<CPostgresServer> CPostgresServer::adopted(const QString& where)
{
    QFile file(where);
    if (where.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return nullptr;
    }
    const QString strDirectory = QString::fromLocal8Bit(file.readLine().trimmed());
    return std::unique_ptr<CPostgresServer>(
        new CPostgresServer(strDirectory, file.readLine().trimmed().toInt()));
}

QStringList sql(const roaming::ConnectionOptions& options, const QString& statement)
{
    roaming::CPostgresConnection connection(options);
    if (const roaming::StoreError error = connection.open()) {
        qFatal("%s", qPrintable(error.strDetail));
    }
    const auto rows = connection.run({ { statement.toUtf8().constData() } });
    if (rows.error) {
        qFatal("%s: %s", qPrintable(statement), qPrintable(rows.error.strDetail));
    }
    QStringList texts;
    for (int i = 0; !rows.value.isEmpty() && i < rows.value.first().count(); ++i) {
        texts.append(rows.value.first().text(i, 0));
    }
    return texts;
}

roaming::StoreError sqlError(const roaming::ConnectionOptions& options, const QString& statement)
{
    roaming::CPostgresConnection connection(options);
    const roaming::StoreError error = connection.open();
    return error ? error : connection.script(statement.toUtf8());
}
