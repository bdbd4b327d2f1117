#pragma once

#include <roaming/connection.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

/// A server of PostgreSQL in a directory of its own, on a socket and on loopback, for one test run
/// or one test. Anybody may log in as anybody there. It has the roles trader1, trader2
/// (roaming_trader), helper (roaming_desk) and keeper (roaming_owner) once a database was made.
class CPostgresServer {
public:
    enum class Durability {
        None,
        Real
    }; ///< with fsync off no start, stop or save waits for a disk
    enum class Stop { Fast, Immediate };

    static bool isInstalled();

    /// The one of this test run where a run has one, else one that ends with this process.
    static CPostgresServer& shared();

    /// \a process: with whom it ends; 0: this one.
    explicit CPostgresServer(Durability durability = Durability::None, qint64 process = 0);
    CPostgresServer(const CPostgresServer&) = delete;
    CPostgresServer& operator=(const CPostgresServer&) = delete;
    ~CPostgresServer();

    void start();
    void stop(Stop stop = Stop::Fast);
    bool isRunning() const;
    qint64 processId() const; ///< of the postmaster
    QVector<int> processes() const; ///< the postmaster first
    void kill(); ///< -9 the postmaster; what it leaves has a moment to see that

    /// A copy of this one, which runs, that follows it until it is promoted. Its application_name
    /// is "standby".
    std::unique_ptr<CPostgresServer> makeStandby() const;
    void promote();

    /// All databases as pg_dumpall tells them.
    QByteArray dump() const;

    /// A new database with the tables of roaming; its name. Those that were made before go.
    QString makeDatabase();
    /// The same without any table.
    QString makeEmptyDatabase();

    roaming::ConnectionOptions options(const QString& database, const QString& user) const;
    QString directory() const { return m_strDirectory; }
    int port() const { return m_nPort; }

    /// Lines of postgresql.conf, before a start.
    void configure(const QString& lines) const;

    /// A file beside the server's own, such as pg_hba.conf or a key; only the server may read it.
    void addFile(const QString& name, const QByteArray& content) const;

    /// Goes on running after this object; what adopts it is told by the file \a where.
    void leave(const QString& where);
    /// One that was left; none where there is none.
    static std::unique_ptr<CPostgresServer> adopted(const QString& where);
    /// Stops it, and its directory goes.
    void remove();

private:
    enum class Owner { This, Other };
    CPostgresServer(const QString& directory, int port);

    static QString newDirectory(qint64 process);
    QString dataPath() const;
    void makeHome() const;
    void createCluster(Durability durability);
    void createDatabase(const QString& name, const QString& source);
    void makeTemplate();
    int run(const QString& program, const QStringList& arguments) const;

    QString m_strDirectory;
    int m_nPort = 0;
    Owner m_owner = Owner::This;
};

/// Runs statements in a database as \a user; fails the test program where the server refuses. The
/// first column of all rows, as text.
QStringList sql(const roaming::ConnectionOptions& options, const QString& statement);

/// The error of a statement; None where it does what it says.
roaming::StoreError sqlError(const roaming::ConnectionOptions& options, const QString& statement);
