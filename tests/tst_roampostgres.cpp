#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/administration.h>
#include <roaming/postgresstore.h>

#include <thread>

using namespace roaming;
using namespace roamwishes;

// Who may do what on the server, and what it takes to be served.
class tst_roampostgres : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void aTraderSeesHisOwnRowsOnly_data();
    void aTraderSeesHisOwnRowsOnly();
    void aTraderWritesByFunctionsOnly();
    void anotherTradersDocumentsAreClosed();
    void theDeskSeesAllAndEveryChangeIsWrittenDown();
    void theDeskWritesByFunctionsOnly();
    void ofWhoNeverSavedThereIsNothing();
    void whoHasNoRoleIsRefused();
    void someRolesAreNoIdentity();

    void aWarningPutsNothingInDoubtThatWasOnlyRead();

    void tablesOfAnotherVersionAreRefused_data();
    void tablesOfAnotherVersionAreRefused();
    void makingTheTablesTwiceChangesNothing();
    void anOlderVersionIsBroughtUp();
    void aVersionIsAppliedWholeOrNotAtAll();
    void ofTwoWhoMakeTheTablesBothFindThem();
    void aDatabaseOfAnOwnerWhoIsNoSuperuser();

    void aUserKeepsNoMoreThanHisQuota();
    void aQuotaMayBeChanged();

private:
    ConnectionOptions as(const QString& user, const QString& login = {}) const;
    void makeVersionOne();
    QStringList owned(const QString& statement) const { return sql(as("postgres"), statement); }

    QString m_strDatabase;
};

namespace {

const QStringList c_tables { "person", "machine", "document", "part", "revision", "audit" };

QString saved(const ConnectionOptions& options, const SaveWish& wish)
{
    return told(CPostgresStore(options).save({ wish }));
}

} // namespace

void tst_roampostgres::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
}

void tst_roampostgres::init()
{
    CLibraryTest::init();
    m_strDatabase = CPostgresServer::shared().makeDatabase();
}

ConnectionOptions tst_roampostgres::as(const QString& user, const QString& login) const
{
    ConnectionOptions options = CPostgresServer::shared().options(m_strDatabase, user);
    options.strLogin = login;
    return options;
}

void tst_roampostgres::aTraderSeesHisOwnRowsOnly_data()
{
    QTest::addColumn<QString>("table");
    for (const QString& strTable : c_tables) {
        QTest::newRow(qPrintable(strTable)) << strTable;
    }
    QTest::newRow("what revisions say") << "told";
}

void tst_roampostgres::aTraderSeesHisOwnRowsOnly()
{
    QFETCH(const QString, table);
    saved(as("trader1"), wish("<a/>", 0));
    saved(as("helper", "trader1"), wish("<b/>", 0, c_deskB));
    const QString strCount = "select count(*)::text from roaming." + table;

    QVERIFY(sql(as("trader1"), strCount) != QStringList("0"));
    const QString strHis = strCount + (table == "audit" ? " where person_id = 1" : "");
    QCOMPARE(sql(as("trader1"), strCount), owned(strHis));
    QCOMPARE(sql(as("helper"), strCount), owned(strCount));
    QCOMPARE(sql(as("trader2"), strCount), QStringList("0"));
    saved(as("trader2"), wish("<c/>", 0));
    QCOMPARE(sql(as("trader2"), strCount), QStringList(table == "audit" ? "0" : "1"));
    QCOMPARE(sql(as("trader2"), "select person_id::text from roaming.person"), QStringList("2"));
}

void tst_roampostgres::aTraderWritesByFunctionsOnly()
{
    saved(as("trader1"), wish("<a/>", 0));
    QStringList statements { "update roaming.person set quota = 1",
                             "update roaming.person set login = 'trader1'",
                             "update roaming.document set head = 1",
                             "update roaming.part set content = ''",
                             "select roaming.set_quota('trader1', 1)",
                             "select roaming.locked_person('trader2')",
                             "select roaming.note(null, '', '', 0, 0, '')",
                             "select roaming.keep_contents(null, '{}', '{}')",
                             "select roaming.note_machine(1, gen_random_uuid(), '')",
                             "select roaming.commit_as_promised()",
                             "create table roaming.mine (a int)",
                             "set role roaming_owner" };
    for (const QString& strTable : c_tables + QStringList("migration")) {
        const QString strInsert = "insert into roaming.%1 overriding system value table roaming.%1";
        statements += { "delete from roaming." + strTable, "truncate roaming." + strTable,
                        "drop table roaming." + strTable, strInsert.arg(strTable) };
    }
    for (const QString& strStatement : qAsConst(statements)) {
        const QString strAnswer = told(sqlError(as("trader1"), strStatement));
        QVERIFY2(strAnswer == "Refused", qPrintable(strStatement + ": " + strAnswer));
    }
}

void tst_roampostgres::anotherTradersDocumentsAreClosed()
{
    saved(as("trader1"), wish("<a/>", 0));
    saved(as("trader1"), wish("<b/>", 0, c_deskB));
    CPostgresStore spy(as("trader2", "trader1"));

    QCOMPARE(told(spy.save({ wish("<c/>", 1) })), QString("Refused"));
    QCOMPARE(told(spy.heads().error), QString("Refused"));
    QCOMPARE(told(spy.text("user", 1).error), QString("Refused"));
    QCOMPARE(told(spy.revisions("user", 0, 0).error), QString("Refused"));
    QCOMPARE(told(spy.newestWith("user", "").error), QString("Refused"));
    QCOMPARE(told(spy.resolve("user", 2, Choice::Mine)), QString("Refused"));
    QCOMPARE(
        owned("select number::text || coalesce(resolved, '') from roaming.revision order by 1"),
        (QStringList { "1", "2" }));
    QCOMPARE(owned("select login from roaming.person"), QStringList("trader1"));
    QVERIFY(CPostgresStore(as("trader1", "trader1")).text("user", 1).value == "<a/>");
}

void tst_roampostgres::theDeskSeesAllAndEveryChangeIsWrittenDown()
{
    saved(as("trader1"), wish("<a/>", 0));
    CPostgresStore helper(as("helper", "trader1"));

    QCOMPARE(helper.text("user", 1).value, QByteArray("<a/>"));
    SaveWish made = wish("<b/>", 1, c_deskB);
    made.strReason = "restore 1";
    QCOMPARE(told(helper.save({ made })), QString("saved 2, head 2"));
    QCOMPARE(told(helper.save({ made })), QString("saved 2, head 2"));
    QCOMPARE(saved(as("trader1"), wish("<c/>", 1)), QString("aside 3, head 2"));
    QVERIFY(!helper.resolve("user", 3, Choice::Theirs));

    QCOMPARE(CPostgresStore(as("trader1")).heads().value[0].revision.strAuthor, QString("helper"));
    QCOMPARE(owned("select concat_ws(' ', a.actor, a.action, p.login, a.document, a.from_revision,"
                   " a.to_revision, a.reason) from roaming.audit a left join roaming.person p"
                   " using (person_id) order by at"),
             (QStringList { "postgres migrate 1", "postgres migrate 2",
                            "helper save trader1 user 1 2 restore 1",
                            "helper resolve trader1 user 3 theirs" }));
}

void tst_roampostgres::theDeskWritesByFunctionsOnly()
{
    saved(as("trader1"), wish("<a/>", 0));
    for (const char* const pszDo :
         { "delete from roaming.audit", "update roaming.part set content = ''",
           "insert into roaming.audit (action) values ('')",
           "select roaming.set_quota('trader1', 1)", "set role roaming_owner",
           "delete from roaming.revision" }) {
        QCOMPARE(told(sqlError(as("helper"), pszDo)), QString("Refused"));
    }
}

void tst_roampostgres::ofWhoNeverSavedThereIsNothing()
{
    CPostgresStore helper(as("helper", "trader1"));
    QCOMPARE(told(helper.heads().error), QString("Gone"));
    QCOMPARE(told(helper.save({ wish("<a/>", 0) })), QString("Gone"));
    QCOMPARE(told(helper.resolve("user", 1, Choice::Mine)), QString("Gone"));
    QVERIFY(CPostgresStore(as("trader1")).heads().value.isEmpty());
    QVERIFY(owned("select login from roaming.person").isEmpty());
    QCOMPARE(told(setQuota(as("keeper"), "trader1", 5)), QString("Gone"));
}

void tst_roampostgres::whoHasNoRoleIsRefused()
{
    sqlError(as("postgres"), "create role stranger login");
    QCOMPARE(told(CPostgresStore(as("stranger")).heads().error), QString("Refused"));
    QCOMPARE(saved(as("stranger"), wish("<a/>", 0)), QString("Refused"));
    QCOMPARE(told(CPostgresStore(as("nobody-here")).heads().error), QString("Away"));
}

// A session may take the role of a group, or say that it is somebody: it is still who logged in.
void tst_roampostgres::someRolesAreNoIdentity()
{
    saved(as("trader1"), wish("<a/>", 0));
    for (const char* const pszDo :
         { "set role roaming_trader; select * from roaming.heads('trader1')",
           "set roaming.login = 'trader1'; select * from roaming.heads('trader1')",
           "set session authorization trader1" }) {
        QCOMPARE(told(sqlError(as("trader2"), pszDo)), QString("Refused"));
    }
    // A table of the caller's own is nothing to the owner's functions.
    QCOMPARE(told(sqlError(as("trader2"),
                           "create temp table person (person_id bigint, login text);"
                           "insert into person values (1, 'trader2');"
                           "set search_path = pg_temp, roaming;"
                           "do $$ begin if exists (select from roaming.heads()) then"
                           " raise 'seen'; end if; end $$")),
             QString());
}

void tst_roampostgres::aWarningPutsNothingInDoubtThatWasOnlyRead()
{
    saved(as("trader1"), wish("<a/>", 0));
    QCOMPARE(told(sqlError(as("keeper"),
                           "create or replace function roaming.login_of(p_login text) returns text"
                           " language plpgsql as $$ begin raise warning 'mind';"
                           " return session_user; end $$")),
             QString());
    CPostgresStore store(as("trader1"));
    QCOMPARE(told(store.heads().error), QString());
    QCOMPARE(store.text("user", 1).value, QByteArray("<a/>"));
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("Unsure"));
    QCOMPARE(store.heads().value[0].revision.nNumber, 2);
}

void tst_roampostgres::tablesOfAnotherVersionAreRefused_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("there");
    QTest::addColumn<bool>("older");

    QTest::newRow("older") << "delete from roaming.migration where version = 2"
                           << "1" << true;
    QTest::newRow("newer") << "insert into roaming.migration values (3)"
                           << "3" << false;
    QTest::newRow("none") << "drop schema roaming cascade"
                          << "0" << true;
}

void tst_roampostgres::tablesOfAnotherVersionAreRefused()
{
    QFETCH(const QString, statement);
    QFETCH(const QString, there);
    QFETCH(const bool, older);
    saved(as("trader1"), wish("<a/>", 0));
    QCOMPARE(told(sqlError(as("postgres"), statement)), QString());

    CPostgresStore store(as("trader1"));
    const StoreError error = store.heads().error;
    QCOMPARE(told(error), QString("OtherSchema"));
    QCOMPARE(error.strDetail,
             QStringLiteral("the server's tables are of version %1, this library "
                            "works with 2")
                 .arg(there));
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("OtherSchema"));
    QCOMPARE(told(thin(as("keeper"), Thinning::DryRun).error), QString("OtherSchema"));
    QCOMPARE(told(setQuota(as("keeper"), "trader1", 1)), QString("OtherSchema"));
    if (!older) {
        QCOMPARE(told(initialise(as("postgres")).error), QString("OtherSchema"));
    }
}

void tst_roampostgres::makingTheTablesTwiceChangesNothing()
{
    saved(as("trader1"), wish("<a/>", 0));
    const QStringList before = owned("select relname || relacl::text from pg_class where relacl is "
                                     "not null order by 1");
    for (const char* const pszUser : { "postgres", "keeper" }) {
        const auto made = initialise(as(pszUser));
        QCOMPARE(told(made.error), QString());
        QCOMPARE(made.value.nFrom, 2);
        QCOMPARE(made.value.nTo, schemaVersion());
    }
    QCOMPARE(owned("select relname || relacl::text from pg_class where relacl is not null order by"
                   " 1"),
             before);
    QCOMPARE(owned("select version::text from roaming.migration order by 1"),
             (QStringList { "1", "2" }));
    QCOMPARE(CPostgresStore(as("trader1")).text("user", 1).value, QByteArray("<a/>"));
}

// As the first of the files of SQL leaves it, by whoever applies that by hand.
void tst_roampostgres::makeVersionOne()
{
    m_strDatabase = CPostgresServer::shared().makeEmptyDatabase();
    const QByteArray script = readFile(ROAMING_SQL "/000_roles.sql") + "begin;"
        + readFile(ROAMING_SQL "/001_tables.sql")
        + "insert into roaming.migration (version) values (1); commit";
    QCOMPARE(told(sqlError(as("postgres"), script)), QString());
}

void tst_roampostgres::anOlderVersionIsBroughtUp()
{
    makeVersionOne();
    QCOMPARE(saved(as("trader1"), wish("<a/>", 0)), QString("OtherSchema"));
    const auto made = initialise(as("keeper"));
    QCOMPARE(told(made.error), QString());
    QCOMPARE(made.value.nFrom, 1);
    QCOMPARE(made.value.nTo, 2);
    QCOMPARE(saved(as("trader1"), wish("<a/>", 0)), QString("saved 1, head 1"));
    QCOMPARE(owned("select actor || ' ' || action || ' ' || reason from roaming.audit"),
             QStringList("keeper migrate 2"));
}

void tst_roampostgres::aVersionIsAppliedWholeOrNotAtAll()
{
    makeVersionOne();
    const QString strFunctions = "select proname::text from pg_proc p join pg_namespace n"
                                 " on n.oid = pronamespace where nspname = 'roaming'";
    sql(as("keeper"),
        "create function roaming.set_quota(p_login text, p_bytes bigint) returns int"
        " language sql return 1");
    const StoreError error = initialise(as("keeper")).error;
    QVERIFY2(told(error).startsWith("Failed: function \"set_quota\" already exists"),
             qPrintable(told(error)));
    QCOMPARE(owned(strFunctions), QStringList("set_quota"));
    QCOMPARE(owned("select version::text from roaming.migration"), QStringList("1"));

    sql(as("keeper"), "drop function roaming.set_quota");
    QCOMPARE(told(initialise(as("keeper")).error), QString());
}

void tst_roampostgres::ofTwoWhoMakeTheTablesBothFindThem()
{
    CPostgresServer& server = CPostgresServer::shared();
    const ConnectionOptions options = server.options(server.makeEmptyDatabase(), "postgres");
    Answer<InitAnswer> other;
    std::thread thread([&] { other = initialise(options); });
    const Answer<InitAnswer> mine = initialise(options);
    thread.join();

    QCOMPARE(told(mine.error) + told(other.error), QString());
    QCOMPARE(mine.value.nTo + other.value.nTo, 4);
    QCOMPARE(mine.value.nFrom + other.value.nFrom, 2);
}

void tst_roampostgres::aDatabaseOfAnOwnerWhoIsNoSuperuser()
{
    CPostgresServer& server = CPostgresServer::shared();
    const QString strDatabase = server.makeEmptyDatabase();
    sqlError(as("postgres"), "create role builder login createrole");
    sql(as("postgres"), "alter database " + strDatabase + " owner to builder");

    const auto made = initialise(server.options(strDatabase, "builder"));
    QCOMPARE(told(made.error) + made.error.strDetail, QString());
    QCOMPARE(saved(server.options(strDatabase, "trader1"), wish("<a/>", 0)),
             QString("saved 1, head 1"));
    QCOMPARE(sql(as("postgres"),
                 "select datname from pg_database where datname = '" + strDatabase + "'"),
             QStringList(strDatabase));
    QCOMPARE(told(initialise(server.options(strDatabase, "trader1")).error), QString("Refused"));
}

void tst_roampostgres::aUserKeepsNoMoreThanHisQuota()
{
    saved(as("trader1"), wish("<a/>\n", 0));
    QCOMPARE(told(setQuota(as("keeper"), "trader1", 12)), QString());
    CPostgresStore store(as("trader1"));

    const StoreError error = store.save({ wish("<a/>\n<bbbbb/>\n", 1) }).error;
    QCOMPARE(told(error), QString("Quota"));
    QCOMPARE(error.strDetail, QString("trader1 may keep 12 bytes, has 5 and comes with 9 more"));
    QCOMPARE(told(store.save({ wish("<a/>\n<bbb/>\n", 1) })), QString("saved 2, head 2"));
    QCOMPARE(told(store.save({ wish("<a/>\n", 2) })), QString("saved 3, head 3"));
    QCOMPARE(told(store.save({ wish("<c/>\n", 3) })), QString("Quota"));
    QCOMPARE(owned("select bytes_kept::text from roaming.person"), QStringList("12"));
    QCOMPARE(saved(as("trader2"), wish("<a/>\n<bbbbbbbb/>\n", 0)), QString("saved 1, head 1"));
}

void tst_roampostgres::aQuotaMayBeChanged()
{
    QCOMPARE(saved(as("trader1"), wish("<a/>\n", 0)), QString("saved 1, head 1"));
    QCOMPARE(owned("select quota::text from roaming.person"),
             QStringList(QString::number(256 * 1024 * 1024)));
    QCOMPARE(told(setQuota(as("keeper"), "trader1", 5)), QString());
    QCOMPARE(saved(as("trader1"), wish("<b/>\n", 1)), QString("Quota"));
    QCOMPARE(told(setQuota(as("keeper"), "trader1", 10)), QString());
    QCOMPARE(saved(as("trader1"), wish("<b/>\n", 1)), QString("saved 2, head 2"));
    QCOMPARE(told(setQuota(as("trader1"), "trader1", 100)), QString("Refused"));
    QCOMPARE(told(setQuota(as("helper"), "trader1", 100)), QString("Refused"));
    QCOMPARE(owned("select actor || ' ' || reason from roaming.audit where action = 'quota'"
                   " order by at"),
             (QStringList { "keeper 5", "keeper 10" }));
}

QTEST_GUILESS_MAIN(tst_roampostgres)
#include "tst_roampostgres.moc"
