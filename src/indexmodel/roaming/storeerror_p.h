#pragma once

#include "roaming/store.h"

#include <libpq-fe.h>

namespace roaming {

/// The SQLSTATE of an answer; empty where the server did not give one.
QByteArray stateOf(const PGresult* pResult);

/// What an answer that is an error means to whoever asked.
StoreError errorOf(const PGresult* pResult);

/// The tables are of version \a there, this library works with \a ours.
StoreError otherSchema(qint64 there, qint64 ours);

/// The sentence of libpq about a connection, in one line.
QString wordsOf(const PGconn* pConnection);

} // namespace roaming
