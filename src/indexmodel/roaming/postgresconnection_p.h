#pragma once

#include "roaming/connection.h"
#include "roaming/postgresvalues_p.h"

#include <QDeadlineTimer>

namespace roaming {

/// One session. Every wait has an end: a call that is late, or whose connection broke, leaves it
/// closed. One thread at a time.
class CPostgresConnection {
public:
    explicit CPostgresConnection(ConnectionOptions options);
    CPostgresConnection(const CPostgresConnection&) = delete;
    CPostgresConnection& operator=(const CPostgresConnection&) = delete;
    ~CPostgresConnection();

    const ConnectionOptions& options() const { return m_options; }
    bool isOpen() const { return m_pConnection != nullptr; }

    /// From now on all together ends by the time of an answer, and that of a connect if there is
    /// one.
    void begin();

    /// Away where nobody answers, Refused where a password is wrong or missing.
    StoreError open();
    void close();

    /// All statements in one transaction and one round trip; the rows of each, with an error those
    /// before it. Unsure where the server has written and warns.
    Answer<QVector<CRows>> run(const QVector<Statement>& statements);

    /// Several statements in one text, with their own begin and commit.
    StoreError script(const QByteArray& sql);

private:
    static void noteWarning(void* pSelf, const PGresult* pResult);

    StoreError configure();
    bool send(const Statement& statement);
    StoreError waitForInput(const QDeadlineTimer& deadline);
    Answer<QVector<CRows>> collect(const QDeadlineTimer& deadline);
    StoreError finished(StoreError error);
    StoreError lost();

    ConnectionOptions m_options;
    QDeadlineTimer m_end { QDeadlineTimer::Forever };
    PGconn* m_pConnection = nullptr;
    QString m_strWarning;
};

} // namespace roaming
