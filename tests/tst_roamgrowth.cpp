#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/postgresconnection_p.h>
#include <roaming/postgresstore.h>

using namespace roaming;
using namespace roamwishes;

// What a call costs when a trader has saved for years, on tables that nobody has analysed yet.
class tst_roamgrowth : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void aCallReadsNoMoreTheMoreThereIs_data();
    void aCallReadsNoMoreTheMoreThereIs();

private:
    void saveUpTo(int revisions) const;
    qint64 rowsRead(const QString& statement, int revisions);

    ConnectionOptions m_owner;
    ConnectionOptions m_trader;
};

namespace {

constexpr int c_nFew = 10;
constexpr int c_nMany = 310;

} // namespace

void tst_roamgrowth::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
}

// Each with a part of its own and two that all have; then an aside.
void tst_roamgrowth::saveUpTo(int revisions) const
{
    CPostgresStore store(m_trader);
    for (int i = 0; i < revisions; ++i) {
        const QByteArray text = "<a/>\n<b/>\n<c" + QByteArray::number(i) + "/>\n";
        QCOMPARE(told(store.save({ wish(text, i) }).error), QString());
    }
    QCOMPARE(told(store.save({ wish("<a/>\n<b/>\n", 0, c_deskB) }).error), QString());
}

// The server counts them in the transaction of the statement.
qint64 tst_roamgrowth::rowsRead(const QString& statement, int revisions)
{
    CPostgresServer& server = CPostgresServer::shared();
    const QString strDatabase = server.makeDatabase();
    m_owner = server.options(strDatabase, "postgres");
    m_trader = server.options(strDatabase, "trader1");
    saveUpTo(revisions);
    constexpr char c_szRead[] = "select sum(seq_tup_read + coalesce(idx_tup_fetch, 0))::bigint"
                                " from pg_stat_xact_user_tables where schemaname = 'roaming'";
    const QByteArray sql = QString(statement).replace("HEAD", QString::number(revisions)).toUtf8();
    CPostgresConnection connection(m_owner);
    const StoreError error = connection.open();
    const auto rows = connection.run({ { sql.constData() }, { c_szRead } });
    return error || rows.error || rows.value.first().count() == 0 ? -1 : rows.value[1].number(0, 0);
}

void tst_roamgrowth::aCallReadsNoMoreTheMoreThereIs_data()
{
    QTest::addColumn<QString>("statement");
    const QString strSave
        = "select o_outcome from roaming.save('user', %1, false, gen_random_uuid(), sha256('x'),"
          " array[sha256('<a/>'), sha256('<d/>')], array['<a/>', '<d/>']::bytea[], '"
        + c_deskB.id.toString() + "', 'desk-b', '', '', %2, 'trader1')";
    QTest::newRow("a save") << strSave.arg("HEAD", "null");
    QTest::newRow("a save on a base that is looked at") << strSave.arg("HEAD", "sha256('y')");
    QTest::newRow("a save beside another's") << strSave.arg("HEAD - 1", "null");
    QTest::newRow("the heads") << "select document from roaming.heads('trader1')";
    QTest::newRow("a text") << "select o_part from roaming.parts_of('user', HEAD, 'trader1')";
    QTest::newRow("what is new")
        << "select document from roaming.revisions('user', HEAD - 2, 0, 'trader1')";
    QTest::newRow("the last five")
        << "select document from roaming.revisions('user', 0, 5, 'trader1')";
    QTest::newRow("one of them")
        << "select document from roaming.revision_of('user', HEAD / 2, 'trader1')";
    QTest::newRow("the open asides")
        << "select document from roaming.open_asides('user', 'trader1')";
    QTest::newRow("the last of an arrangement")
        << "select document from roaming.newest_with('user', '', 'trader1')";
}

void tst_roamgrowth::aCallReadsNoMoreTheMoreThereIs()
{
    QFETCH(const QString, statement);
    const qint64 nFew = rowsRead(statement, c_nFew);
    const qint64 nMany = rowsRead(statement, c_nMany);
    QVERIFY(nFew > 0);
    QVERIFY2(nMany <= nFew + c_nFew,
             qPrintable(QStringLiteral("%1 rows, then %2").arg(nFew).arg(nMany)));
}

QTEST_GUILESS_MAIN(tst_roamgrowth)
#include "tst_roamgrowth.moc"
