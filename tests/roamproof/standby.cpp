#include "scenarios.h"

#include <roaming/postgresstore.h>

namespace roamproof {

namespace {

const QString c_strBehindStandby
    = "select 'x' from pg_stat_replication where sync_state in ('sync', 'quorum')";

void setStandbys(const roaming::ConnectionOptions& owner, const QString& names)
{
    sql(owner, QStringLiteral("alter system set synchronous_standby_names = '%1'").arg(names));
    sql(owner, "select pg_reload_conf()");
}

bool waitsForStandby(const roaming::ConnectionOptions& owner)
{
    setStandbys(owner, "*");
    for (int i = 0; i < 300 && sql(owner, c_strBehindStandby).isEmpty(); ++i) {
        sleepMsecs(100);
    }
    return !sql(owner, c_strBehindStandby).isEmpty();
}

// As a site names its servers: whichever of them takes writes.
roaming::ConnectionOptions eitherOf(const CPostgresServer& first, const CPostgresServer& second,
                                    const QString& database)
{
    roaming::ConnectionOptions options;
    options.connect = std::chrono::seconds(2);
    options.answer = std::chrono::seconds(2);
    options.strConnection = QStringLiteral("host=%1/pg,%2/pg port=%3,%4 dbname=%5 user=trader1 "
                                           "target_session_attrs=read-write")
                                .arg(first.directory(), second.directory())
                                .arg(first.port())
                                .arg(second.port())
                                .arg(database);
    return options;
}

QString nameOf(const roaming::ConnectionOptions& owner)
{
    return sql(owner, "select current_database()::text").value(0);
}

roaming::SaveWish wishOn(const QString& document, qint64 base, int number)
{
    roaming::SaveWish wish;
    wish.strDocument = document;
    wish.nBase = base;
    wish.text = textOf(1000, number);
    wish.machine = { QUuid::createUuid(), "desk" };
    wish.id = roaming::saveId(wish);
    return wish;
}

QHash<QString, qint64> headsOf(const QVector<Stored>& rows)
{
    QHash<QString, qint64> heads;
    for (const Stored& each : rows) {
        if (each.bHead) {
            heads[each.strDocument] = each.nNumber;
        }
    }
    return heads;
}

/// How often a server says what, when a desk comes with what only the other server has.
struct Answers {
    int nSaved = 0;
    int nBehind = 0;
    int nFailed = 0;
};

Answers asked(const roaming::ConnectionOptions& options, const QHash<QString, qint64>& heads)
{
    Answers answers;
    for (auto it = heads.begin(); it != heads.end(); ++it) {
        roaming::CPostgresStore store(options);
        const auto answer = store.save({ wishOn(it.key(), it.value(), answers.nBehind) });
        const bool bBehind
            = !answer.error && answer.value.first().outcome == roaming::SaveOutcome::Behind;
        ++(answer.error ? answers.nFailed : bBehind ? answers.nBehind : answers.nSaved);
    }
    return answers;
}

} // namespace

Outcome failover(const Measure& measure)
{
    CPostgresServer primary(CPostgresServer::Durability::Real);
    const Database database(primary);
    const auto pStandby = primary.makeStandby();
    bool bHolds = waitsForStandby(database.owner);
    const QString strName = nameOf(database.owner);
    const auto options = eitherOf(primary, *pStandby, strName);

    CClients clients(options, 8, 4);
    sleepMsecs(500 * measure.nSeconds);
    primary.kill();
    pStandby->promote();
    sleepMsecs(500 * measure.nSeconds);
    const Heard heard = clients.stopped();
    const auto rows = storedIn(pStandby->options(strName, "postgres"));
    const Verdict verdict = judged(heard.said, rows);

    // It takes writes, and it is asked first.
    primary.start();
    const Answers waiting = asked(options, headsOf(rows));
    setStandbys(database.owner, "");
    sleepMsecs(500);
    const Answers alone = asked(options, headsOf(rows));
    bHolds = bHolds && verdict.isClean() && verdict.nAcknowledged > 0 && heard.nBehind == 0
        && waiting.nSaved == 0 && alone.nSaved == 0 && alone.nBehind == headsOf(rows).size();
    return { "a synchronous standby promoted, then the old primary back",
             QStringLiteral("%1 s, longest gap %2 s; the old one asked %3 times")
                 .arg(measure.nSeconds)
                 .arg(static_cast<double>(heard.nLongestGap) / 1000, 0, 'f', 1)
                 .arg(2 * headsOf(rows).size()),
             told(verdict)
                 + QStringLiteral("; the old one: %1 saved, %2 behind, %3 without an answer")
                       .arg(waiting.nSaved + alone.nSaved)
                       .arg(waiting.nBehind + alone.nBehind)
                       .arg(waiting.nFailed + alone.nFailed),
             bHolds };
}

Outcome standbyAway(const Measure& measure)
{
    CPostgresServer primary(CPostgresServer::Durability::Real);
    const Database database(primary);
    const auto pStandby = primary.makeStandby();
    bool bHolds = waitsForStandby(database.owner);
    roaming::ConnectionOptions trader = database.trader;
    trader.answer = std::chrono::seconds(2);
    int nSaved = 0;
    QVector<Acknowledged> said;
    for (int i = 0; i < measure.nCount; ++i) {
        pStandby->stop();
        roaming::CPostgresStore store(trader);
        const roaming::SaveWish wish = wishOn(QStringLiteral("held/%1").arg(i), 0, i);
        for (int nTry = 0; nTry < 2; ++nTry) {
            nSaved += store.save({ wish }).error ? 0 : 1;
        }
        pStandby->start();
        auto answer = store.save({ wish });
        for (int nTry = 0; nTry < 20 && answer.error; ++nTry) {
            answer = store.save({ wish });
        }
        const roaming::SaveAnswer last = answer.value.value(0);
        bHolds = bHolds && !answer.error && last.outcome == roaming::SaveOutcome::Saved;
        said.append({ wish.strDocument, last.nRevision, false, wish.text });
    }
    const auto rows = storedIn(database.owner);
    const Verdict verdict = judged(said, rows);
    bHolds = bHolds && nSaved == 0 && verdict.isClean() && rows.size() == measure.nCount;
    return { "the standby away, a deadline of 2 s",
             QStringLiteral("%1 saves, each asked for twice before it is back").arg(measure.nCount),
             QStringLiteral("%1 called saved before, then %2 revisions of %3 saves")
                 .arg(nSaved)
                 .arg(rows.size())
                 .arg(measure.nCount),
             bHolds };
}

} // namespace roamproof
