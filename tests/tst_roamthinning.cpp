#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/administration.h>
#include <roaming/postgresstore.h>

#include <QRandomGenerator>

#include <algorithm>

using namespace roaming;
using namespace roamwishes;

// What is forgotten with time, and what never.
class tst_roamthinning : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void contentsGoByTheirAge_data();
    void contentsGoByTheirAge();
    void whatSomebodyMayStillWantStays_data();
    void whatSomebodyMayStillWantStays();
    void itIsWhatCountingByHandGives();
    void aDryRunTellsTheSameAndChangesNothing();
    void onlyContentsThatNoRevisionHasGo();
    void theSecondTimeNothingGoes();
    void whatGoesIsAskedOnce();
    void onlyTheOwnerThinsOut();

private:
    void insert(const QStringList& rows) const;
    QString whole() const;
    Answer<Thinned> thinned(Thinning thinning = Thinning::Real) const;

    ConnectionOptions m_owner;
    ConnectionOptions m_trader;
};

namespace {

// All ages are counted from here.
const QDateTime c_now(QDate(2026, 7, 15), QTime(12, 0), Qt::UTC);

QString told(const Answer<Thinned>& answer)
{
    return QStringLiteral("%1%2 persons, %3 revisions, %4 parts, %5 bytes")
        .arg(roamwishes::told(answer.error))
        .arg(answer.value.nPersons)
        .arg(answer.value.nRevisions)
        .arg(answer.value.nParts)
        .arg(answer.value.nBytes);
}

struct Row {
    int nNumber;
    bool bAside;
    bool bResolved;
    QString strArrangement;
    QDateTime written;
};

QString sqlOf(const Row& row)
{
    return QStringLiteral("(1, 'user', %1, 0, %2, %3, gen_random_uuid(), sha256(''), 2,"
                          " array[sha256('%1')], '%4', '%5', '', '%6')")
        .arg(row.nNumber)
        .arg(QLatin1String(row.bAside ? "true" : "false"),
             QLatin1String(row.bResolved ? "'mine'" : "null"), row.strArrangement,
             c_deskA.id.toString(), row.written.toString(Qt::ISODateWithMs));
}

} // namespace

void tst_roamthinning::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
}

void tst_roamthinning::init()
{
    CLibraryTest::init();
    CPostgresServer& server = CPostgresServer::shared();
    const QString strDatabase = server.makeDatabase();
    m_owner = server.options(strDatabase, "keeper");
    m_trader = server.options(strDatabase, "trader1");
}

// The last row that is no aside is the head; the content of each is its number.
void tst_roamthinning::insert(const QStringList& rows) const
{
    sql(m_owner, "insert into roaming.person (login) values ('trader1')");
    sql(m_owner, "insert into roaming.machine values (1, '" + c_deskA.id.toString() + "', 'a')");
    sql(m_owner, "insert into roaming.document values (1, 'user', 0, 0)");
    sql(m_owner,
        "insert into roaming.revision (person_id, name, number, base, aside, resolved, save_id,"
        " sha256, bytes, parts, arrangement, machine_id, reason, written_at) values "
            + rows.join(','));
    sql(m_owner,
        "insert into roaming.part select 1, sha256(number::text::bytea),"
        " number::text::bytea from roaming.revision");
    sql(m_owner,
        "update roaming.person set bytes_kept"
        " = (select sum(octet_length(content)) from roaming.part)");
    sql(m_owner,
        "update roaming.document set last = (select max(number) from roaming.revision),"
        " head = (select max(number) from roaming.revision where not aside)");
}

QString tst_roamthinning::whole() const
{
    return sql(m_owner,
               "select r.number::text from roaming.revision r where r.parts is not null"
               " order by r.number")
        .join(' ');
}

Answer<Thinned> tst_roamthinning::thinned(Thinning thinning) const
{
    return roaming::thin(m_owner, thinning, c_now);
}

void tst_roamthinning::contentsGoByTheirAge_data()
{
    QTest::addColumn<QStringList>("times");
    QTest::addColumn<QString>("kept");

    QTest::newRow("of 7 days all")
        << QStringList { "2026-07-08T12:00:00.001Z", "2026-07-08T12:00:00.002Z",
                         "2026-07-15T11:00:00Z" }
        << "1 2 3";
    QTest::newRow("on the 8th the last of the day")
        << QStringList { "2026-07-08T11:59:00Z", "2026-07-08T11:59:59.999Z",
                         "2026-07-15T11:00:00Z" }
        << "2 3";
    QTest::newRow("a later one of 7 days is the last of its day")
        << QStringList { "2026-07-08T11:59:00Z", "2026-07-08T12:00:01Z", "2026-07-15T11:00:00Z" }
        << "2 3";
    QTest::newRow("days are of UTC")
        << QStringList { "2026-07-01T23:59:59Z", "2026-07-02T00:00:00Z", "2026-07-02T00:00:01Z",
                         "2026-07-15T11:00:00Z" }
        << "1 3 4";
    QTest::newRow("up to 90 days the last of each day")
        << QStringList { "2026-04-16T12:00:01Z", "2026-04-17T10:00:00Z", "2026-04-30T10:00:00Z",
                         "2026-07-15T11:00:00Z" }
        << "1 2 3 4";
    QTest::newRow("after 90 days the last of each month")
        << QStringList { "2026-04-16T11:59:59Z", "2026-04-17T10:00:00Z", "2026-07-15T11:00:00Z" }
        << "2 3";
    QTest::newRow("months are of UTC, and years are told apart")
        << QStringList { "2024-04-30T23:59:59Z", "2024-05-01T00:00:00Z", "2025-05-30T23:59:59Z",
                         "2025-05-31T00:00:00Z", "2026-07-15T11:00:00Z" }
        << "1 2 4 5";
}

void tst_roamthinning::contentsGoByTheirAge()
{
    QFETCH(const QStringList, times);
    QFETCH(const QString, kept);
    QStringList rows;
    for (const QString& strTime : times) {
        const auto time = QDateTime::fromString(strTime, Qt::ISODateWithMs);
        rows.append(sqlOf({ rows.size() + 1, false, false, "", time }));
    }
    insert(rows);
    QCOMPARE(roamwishes::told(thinned().error), QString());
    QCOMPARE(whole(), kept);
}

void tst_roamthinning::whatSomebodyMayStillWantStays_data()
{
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("kept");

    const auto old = [](int number, bool aside, bool resolved, const QString& arrangement) {
        const QDateTime time(QDate(2025, 1, 1), QTime(12, number), Qt::UTC);
        return sqlOf({ number, aside, resolved, arrangement, time });
    };
    QTest::newRow("the head") << QStringList { old(1, false, false, ""), old(2, false, false, "") }
                              << "2";
    QTest::newRow("the newest of each arrangement")
        << QStringList { old(1, false, false, "one"), old(2, false, false, "one"),
                         old(3, false, false, "two"), old(4, false, false, "three") }
        << "2 3 4";
    QTest::newRow("asides that wait, and the last one of a month")
        << QStringList { old(1, true, false, ""), old(2, true, true, ""), old(3, true, true, ""),
                         old(4, false, false, "") }
        << "1 3 4";
    QTest::newRow("an arrangement that only asides have is none")
        << QStringList { old(1, true, true, "one"), old(2, true, true, ""),
                         old(3, false, false, "") }
        << "2 3";
}

void tst_roamthinning::whatSomebodyMayStillWantStays()
{
    QFETCH(const QStringList, rows);
    QFETCH(const QString, kept);
    insert(rows);
    QCOMPARE(roamwishes::told(thinned().error), QString());
    QCOMPARE(whole(), kept);
}

namespace {

// The same rules, said in another way: row after row, with all rows looked at again.
bool isKept(const Row& row, const QVector<Row>& rows, int head)
{
    const auto isLast = [&](const QString& format) {
        return std::none_of(rows.begin(), rows.end(), [&](const Row& other) {
            return other.nNumber > row.nNumber && other.bAside == row.bAside
                && other.written.toString(format) == row.written.toString(format);
        });
    };
    const bool bNewest = std::none_of(rows.begin(), rows.end(), [&](const Row& other) {
        return other.nNumber > row.nNumber && !other.bAside
            && other.strArrangement == row.strArrangement;
    });
    const qint64 nAge = row.written.msecsTo(c_now);
    constexpr qint64 c_nDay = 24 * 3600 * 1000;
    return nAge < 7 * c_nDay || (nAge < 90 * c_nDay && isLast("yyyyMMdd")) || isLast("yyyyMM")
        || row.nNumber == head || (bNewest && !row.bAside) || (row.bAside && !row.bResolved);
}

QVector<Row> randomRows(QRandomGenerator& random, int count)
{
    QVector<QDateTime> times;
    for (int i = 0; i < count; ++i) {
        times.append(c_now.addSecs(-static_cast<qint64>(random.bounded(300 * 24 * 3600))));
    }
    std::sort(times.begin(), times.end());
    QVector<Row> rows;
    for (const QDateTime& time : qAsConst(times)) {
        const bool bAside = random.bounded(4) == 0;
        rows.append({ rows.size() + 1, bAside, bAside && random.bounded(4) > 0,
                      QString::number(random.bounded(9)), time });
    }
    return rows;
}

} // namespace

void tst_roamthinning::itIsWhatCountingByHandGives()
{
    QRandomGenerator random(3);
    const QVector<Row> rows = randomRows(random, 1500);
    int nHead = 0;
    QStringList made;
    for (const Row& row : rows) {
        nHead = row.bAside ? nHead : row.nNumber;
        made.append(sqlOf(row));
    }
    QStringList kept;
    for (const Row& row : rows) {
        if (isKept(row, rows, nHead)) {
            kept.append(QString::number(row.nNumber));
        }
    }
    insert(made);
    QCOMPARE(thinned().value.nRevisions, rows.size() - kept.size());
    QCOMPARE(whole(), kept.join(' '));
    QVERIFY(kept.size() > 200 && kept.size() < 1300);
}

void tst_roamthinning::aDryRunTellsTheSameAndChangesNothing()
{
    const QDateTime time(QDate(2025, 1, 1), QTime(12, 0), Qt::UTC);
    insert({ sqlOf({ 1, false, false, "", time }), sqlOf({ 2, false, false, "", time }) });

    QCOMPARE(told(thinned(Thinning::DryRun)), QString("1 persons, 1 revisions, 1 parts, 1 bytes"));
    QCOMPARE(whole(), QString("1 2"));
    QCOMPARE(sql(m_owner, "select bytes_kept::text from roaming.person"), QStringList("2"));
    QVERIFY(sql(m_owner, "select action from roaming.audit where action = 'thin'").isEmpty());

    QCOMPARE(told(thinned()), QString("1 persons, 1 revisions, 1 parts, 1 bytes"));
    QCOMPARE(whole(), QString("2"));
    QCOMPARE(sql(m_owner, "select bytes_kept::text from roaming.person"), QStringList("1"));
    QCOMPARE(sql(m_owner, "select actor || ' ' || reason from roaming.audit where action = 'thin'"),
             QStringList("keeper 1 revisions, 1 parts, 1 bytes"));
}

void tst_roamthinning::onlyContentsThatNoRevisionHasGo()
{
    CPostgresStore store(m_trader);
    for (int i = 0; i < 3; ++i) {
        const QByteArray text = "<a/>\n<b n='" + QByteArray::number(i) + "'/>\n";
        QVERIFY(!store.save({ wish(text, i) }).error);
    }
    sql(m_owner, "update roaming.revision set written_at = '2025-01-01Z'");

    QCOMPARE(told(thinned()), QString("1 persons, 2 revisions, 2 parts, 22 bytes"));
    QCOMPARE(store.text("user", 3).value, QByteArray("<a/>\n<b n='2'/>\n"));
    const StoreError gone = store.text("user", 1).error;
    QCOMPARE(roamwishes::told(gone), QString("Gone"));
    QVERIFY2(gone.strDetail.contains("thinned out"), qPrintable(gone.strDetail));

    const auto revisions = store.revisions("user", 0, 0).value;
    QCOMPARE(revisions.size(), 3);
    QVERIFY(!revisions[0].bThinned && revisions[1].bThinned && revisions[2].bThinned);
    QCOMPARE(revisions[2].strAuthor, QString("trader1"));
    QCOMPARE(store.newestWith("user", "").value.nNumber, 3);
}

void tst_roamthinning::theSecondTimeNothingGoes()
{
    QRandomGenerator random(5);
    QStringList made;
    for (const Row& row : randomRows(random, 300)) {
        made.append(sqlOf(row));
    }
    insert(made);
    QVERIFY(thinned().value.nRevisions > 0);
    const QString strWhole = whole();
    QCOMPARE(told(thinned()), QString("0 persons, 0 revisions, 0 parts, 0 bytes"));
    QCOMPARE(whole(), strWhole);
}

// As a part of the plan of who asks, the server may do it again for each revision.
void tst_roamthinning::whatGoesIsAskedOnce()
{
    const QStringList plan
        = sql(m_owner, "explain (costs off) select * from roaming.going(1, now())");
    QCOMPARE(plan, QStringList("Function Scan on going"));
}

void tst_roamthinning::onlyTheOwnerThinsOut()
{
    ConnectionOptions helper = m_trader;
    helper.strConnection.replace("trader1", "helper");
    for (const ConnectionOptions& options : { m_trader, helper }) {
        QCOMPARE(roamwishes::told(roaming::thin(options, Thinning::DryRun).error),
                 QString("Refused"));
        QCOMPARE(roamwishes::told(sqlError(options, "select roaming.thin(1, true)")),
                 QString("Refused"));
        QCOMPARE(roamwishes::told(sqlError(options, "select roaming.going(1, now())")),
                 QString("Refused"));
    }
}

QTEST_GUILESS_MAIN(tst_roamthinning)
#include "tst_roamthinning.moc"
