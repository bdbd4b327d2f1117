#include "roaming/storeerror_p.h"

#include <algorithm>
#include <iterator>

namespace roaming {

namespace {

struct Meaning {
    const char* pszState; ///< a SQLSTATE or what it begins with
    StoreCause cause;
};

// The first that fits.
constexpr Meaning c_aMeanings[] = {
    { "RM001", StoreCause::Quota },
    { "RM002", StoreCause::Gone },
    { "RM003", StoreCause::Damaged },
    { "42501", StoreCause::Refused }, // insufficient_privilege
    { "42P01", StoreCause::OtherSchema }, // undefined_table
    { "42883", StoreCause::OtherSchema }, // undefined_function
    { "3F000", StoreCause::OtherSchema }, // invalid_schema_name
    { "08", StoreCause::Away }, // connection_exception
    { "25006", StoreCause::Away }, // read_only_sql_transaction: a standby
    { "55P03", StoreCause::Late }, // lock_not_available
    { "57014", StoreCause::Late }, // query_canceled, by the server's own timeout
    { "57P", StoreCause::Away }, // shutdown, crash, starting up
};

QString field(const PGresult* pResult, int code)
{
    return QString::fromUtf8(PQresultErrorField(pResult, code));
}

} // namespace

QByteArray stateOf(const PGresult* pResult)
{
    return PQresultErrorField(pResult, PG_DIAG_SQLSTATE);
}

StoreError errorOf(const PGresult* pResult)
{
    const QByteArray strState = stateOf(pResult);
    if (strState.isEmpty()) {
        return { StoreCause::Away, QString::fromUtf8(PQresultErrorMessage(pResult)).simplified() };
    }
    const auto it
        = std::find_if(std::begin(c_aMeanings), std::end(c_aMeanings), [&](const Meaning& meaning) {
              return strState.startsWith(meaning.pszState);
          });
    const QString strDetail = field(pResult, PG_DIAG_MESSAGE_DETAIL);
    const QString strWords = field(pResult, PG_DIAG_MESSAGE_PRIMARY)
        + (strDetail.isEmpty() ? QString() : QStringLiteral("; ") + strDetail);
    return { it == std::end(c_aMeanings) ? StoreCause::Failed : it->cause, strWords.simplified() };
}

StoreError otherSchema(qint64 there, qint64 ours)
{
    return { StoreCause::OtherSchema,
             QStringLiteral("the server's tables are of version %1, this library works with %2")
                 .arg(there)
                 .arg(ours) };
}

QString wordsOf(const PGconn* pConnection)
{
    return QString::fromLocal8Bit(PQerrorMessage(pConnection)).simplified();
}

} // namespace roaming
