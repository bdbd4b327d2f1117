#pragma once

#include "clients.h"
#include "postgresserver.h"

/// What roaming has to stand, each against servers of its own.
namespace roamproof {

/// One row of the table.
struct Outcome {
    QString strWhat;
    QString strMuch;
    QString strResult;
    bool bHolds = false;
};

/// How long, or how often.
struct Measure {
    int nSeconds;
    int nCount;
    QStringList folders; ///< of documents
};

Outcome manyClients(const Measure& measure);
Outcome crashes(const Measure& measure);
Outcome crashesUnsynced(const Measure& measure);
Outcome failover(const Measure& measure);
Outcome standbyAway(const Measure& measure);
Outcome killedClients(const Measure& measure);
Outcome fullDisk(const Measure& measure);
Outcome password(const Measure& measure);
Outcome documents(const Measure& measure);

/// Of a database of \a server.
struct Database {
    explicit Database(CPostgresServer& server);
    roaming::ConnectionOptions trader;
    roaming::ConnectionOptions owner;
};

void sleepMsecs(int msecs);

/// Until the server answers; false after a minute.
bool answers(const roaming::ConnectionOptions& options);

} // namespace roamproof
