#include "roaming/postgresconnection_p.h"

#include "roaming/storeerror_p.h"

#include <algorithm>

#include <poll.h>

namespace roaming {

namespace {

// What TLS has read ahead shows at no socket, so that a wait looks there again.
constexpr qint64 c_nLookMsecs = 50;

constexpr int c_nBinary = 1;

} // namespace

CPostgresConnection::CPostgresConnection(ConnectionOptions options)
    : m_options(std::move(options))
{
}

CPostgresConnection::~CPostgresConnection()
{
    close();
}

void CPostgresConnection::begin()
{
    m_end = QDeadlineTimer(m_options.answer);
}

// Blocking: only so does libpq keep a time for each of several hosts.
StoreError CPostgresConnection::open()
{
    close();
    const QByteArray strGiven = m_options.strConnection.toUtf8();
    const QByteArray strSeconds = QByteArray::number(static_cast<int>(m_options.connect.count()));
    const char* const apszKeys[]
        = { "dbname", "fallback_application_name", "connect_timeout", "client_encoding", nullptr };
    const char* const apszValues[]
        = { strGiven.constData(), "indexuser", strSeconds.constData(), "UTF8", nullptr };
    const int nExpandDbname = 1;
    m_pConnection = PQconnectdbParams(apszKeys, apszValues, nExpandDbname);
    if (PQstatus(m_pConnection) == CONNECTION_OK && PQsetnonblocking(m_pConnection, 1) == 0) {
        PQsetNoticeReceiver(m_pConnection, noteWarning, this);
        m_end = m_end.isForever() ? m_end : QDeadlineTimer(m_options.answer);
        return configure();
    }
    const bool bRefused = PQconnectionNeedsPassword(m_pConnection) != 0
        || PQconnectionUsedPassword(m_pConnection) != 0;
    StoreError error = lost();
    error.cause = bRefused ? StoreCause::Refused : StoreCause::Away;
    return error;
}

// The warning that a standby did not answer must come through, whatever the user has set; and a
// wait for a lock ends on the server, too, when nobody waits here any longer.
StoreError CPostgresConnection::configure()
{
    constexpr char c_szSql[]
        = "select set_config('client_min_messages', 'warning', false),"
          " set_config('default_transaction_isolation', 'read committed', false),"
          " set_config('lock_timeout', $1, false)";
    const QString strMsecs = QString::number(m_options.answer.count());
    return run({ { c_szSql, { textValue(strMsecs) } } }).error;
}

void CPostgresConnection::close()
{
    PQfinish(m_pConnection);
    m_pConnection = nullptr;
}

void CPostgresConnection::noteWarning(void* pSelf, const PGresult* pResult)
{
    if (stateOf(pResult) == "01000") {
        static_cast<CPostgresConnection*>(pSelf)->m_strWarning
            = QString::fromUtf8(PQresultErrorField(pResult, PG_DIAG_MESSAGE_PRIMARY));
    }
}

bool CPostgresConnection::send(const Statement& statement)
{
    QVector<Oid> types;
    QVector<const char*> values;
    QVector<int> lengths;
    for (const Value& value : statement.values) {
        types.append(value.type);
        values.append(value.bytes ? value.bytes->constData() : nullptr);
        lengths.append(value.bytes ? value.bytes->size() : 0);
    }
    const QVector<int> formats(types.size(), c_nBinary);
    return PQsendQueryParams(m_pConnection, statement.pszSql, types.size(), types.constData(),
                             values.constData(), lengths.constData(), formats.constData(),
                             c_nBinary)
        == 1;
}

Answer<QVector<CRows>> CPostgresConnection::run(const QVector<Statement>& statements)
{
    const QDeadlineTimer deadline = std::min(QDeadlineTimer(m_options.answer), m_end);
    m_strWarning.clear();
    const bool bSent = m_pConnection && PQenterPipelineMode(m_pConnection) == 1
        && std::all_of(statements.begin(), statements.end(),
                       [this](const Statement& each) { return send(each); })
        && PQpipelineSync(m_pConnection) == 1;
    if (!bSent) {
        return { lost() };
    }
    Answer<QVector<CRows>> answer = collect(deadline);
    if (isOpen() && PQexitPipelineMode(m_pConnection) != 1 && !answer.error) {
        answer.error = lost();
    }
    answer.error = finished(answer.error);
    return answer;
}

StoreError CPostgresConnection::script(const QByteArray& sql)
{
    const QDeadlineTimer deadline(m_options.answer);
    m_strWarning.clear();
    if (!m_pConnection || PQsendQuery(m_pConnection, sql.constData()) != 1) {
        return lost();
    }
    return finished(collect(deadline).error);
}

// Up to the end of the round trip: the synchronization of a pipeline, or no more results without
// one.
Answer<QVector<CRows>> CPostgresConnection::collect(const QDeadlineTimer& deadline)
{
    const bool bPipeline = PQpipelineStatus(m_pConnection) != PQ_PIPELINE_OFF;
    Answer<QVector<CRows>> answer;
    for (;;) {
        while (PQisBusy(m_pConnection) != 0) {
            if (const StoreError error = waitForInput(deadline)) {
                return { error, answer.value };
            }
        }
        PGresult* const pResult = PQgetResult(m_pConnection);
        const ExecStatusType status = PQresultStatus(pResult);
        const CRows rows(pResult);
        if (PQstatus(m_pConnection) != CONNECTION_OK) {
            return { lost(), answer.value };
        }
        if (status == PGRES_PIPELINE_SYNC || (!pResult && !bPipeline)) {
            return answer;
        }
        if (status == PGRES_FATAL_ERROR && pResult && !answer.error) {
            answer.error = errorOf(pResult);
        } else if (status == PGRES_TUPLES_OK) {
            answer.value.append(rows);
        }
    }
}

// Never PQcancel: a server that waits for its standby would then answer "done" with a mere warning.
StoreError CPostgresConnection::waitForInput(const QDeadlineTimer& deadline)
{
    const int nUnsent = PQflush(m_pConnection);
    if (nUnsent < 0) {
        return lost();
    }
    if (deadline.hasExpired()) {
        close();
        const auto nSeconds = static_cast<double>(m_options.answer.count()) / 1000;
        return { StoreCause::Late, QStringLiteral("no answer in %1 s").arg(nSeconds) };
    }
    const auto nEvents = static_cast<short>(nUnsent > 0 ? POLLIN | POLLOUT : POLLIN);
    pollfd waited { PQsocket(m_pConnection), nEvents, 0 };
    const qint64 nMsecs = std::min(deadline.remainingTime(), c_nLookMsecs);
    poll(&waited, 1, static_cast<int>(nMsecs));
    return PQconsumeInput(m_pConnection) == 1 ? StoreError() : lost();
}

StoreError CPostgresConnection::lost()
{
    const StoreError error { StoreCause::Away, wordsOf(m_pConnection) };
    close();
    return error;
}

// Another session may reach another host.
StoreError CPostgresConnection::finished(StoreError error)
{
    if (error.cause == StoreCause::Away) {
        close();
    }
    if (!error && !m_strWarning.isEmpty()) {
        error = { StoreCause::Unsure, m_strWarning };
    }
    return error;
}

} // namespace roaming
