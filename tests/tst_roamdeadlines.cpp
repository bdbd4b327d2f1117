#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/postgresstore.h>

#include <QElapsedTimer>
#include <QTcpServer>

#include <csignal>
#include <future>

using namespace roaming;
using namespace roamwishes;

// Servers that are away, mute, stopped or without their standby: nothing waits for ever, and
// nothing is called saved that is not.
class tst_roamdeadlines : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void aServerThatIsNotThereIsAway();
    void aServerThatSaysNothingIsAway();
    void anotherHostIsTried();
    void aServerThatIsStoppedIsLate();
    void aServerThatCameBackServesTheSameStore();
    void whatAnotherSessionLocksIsLate();
    void withoutItsStandbyASaveIsNotSaved();
    void aWaitThatWasCancelledIsUnsure();
    void aWarningIsHeardWhateverTheUserHasSet();

private:
    ConnectionOptions as(const QString& user) const;
    QStringList owned(const QString& statement) const { return sql(as("postgres"), statement); }
    void setStandbys(const QString& names) const;
    QString cancelledSave(const SaveWish& wish) const;

    std::unique_ptr<CPostgresServer> m_pServer;
    QString m_strDatabase;
};

namespace {

const QString c_strRevisions = "select count(*)::text from roaming.revision";

// Takes connections and says nothing.
class CMuteServer : public QTcpServer {
public:
    CMuteServer()
    {
        if (!listen(QHostAddress::LocalHost)) {
            qFatal("listen");
        }
    }
};

} // namespace

// A server of its own: what is done to it here no other test should feel.
void tst_roamdeadlines::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
    m_pServer = std::make_unique<CPostgresServer>();
}

void tst_roamdeadlines::init()
{
    CLibraryTest::init();
    m_strDatabase = m_pServer->makeDatabase();
}

void tst_roamdeadlines::cleanup()
{
    setStandbys("");
    CLibraryTest::cleanup();
}

ConnectionOptions tst_roamdeadlines::as(const QString& user) const
{
    ConnectionOptions options = m_pServer->options(m_strDatabase, user);
    options.connect = std::chrono::seconds(2);
    options.answer = std::chrono::milliseconds(700);
    return options;
}

void tst_roamdeadlines::setStandbys(const QString& names) const
{
    owned("alter system set synchronous_standby_names = '" + names + "'");
    owned("select pg_reload_conf()");
    QTRY_COMPARE(owned("show synchronous_standby_names"), QStringList(names));
}

void tst_roamdeadlines::aServerThatIsNotThereIsAway()
{
    ConnectionOptions options;
    options.strConnection = "host=127.0.0.1 port=1 user=trader1 dbname=x";
    QElapsedTimer timer;
    timer.start();
    const StoreError error = CPostgresStore(options).heads().error;
    QCOMPARE(told(error), QString("Away"));
    QVERIFY2(error.strDetail.contains("127.0.0.1"), qPrintable(error.strDetail));
    QVERIFY(timer.elapsed() < 1000);
}

void tst_roamdeadlines::aServerThatSaysNothingIsAway()
{
    const CMuteServer mute;
    ConnectionOptions options = as("trader1");
    options.strConnection
        = QStringLiteral("host=127.0.0.1 user=trader1 dbname=x port=%1").arg(mute.serverPort());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(told(CPostgresStore(options).save({ wish("<a/>", 0) })), QString("Away"));
    QVERIFY2(timer.elapsed() > 1000 && timer.elapsed() < 4000,
             qPrintable(QString::number(timer.elapsed())));
}

void tst_roamdeadlines::anotherHostIsTried()
{
    const CMuteServer mute;
    ConnectionOptions options = as("trader1");
    options.strConnection
        = QStringLiteral("host=127.0.0.1,127.0.0.1,127.0.0.1 port=1,%1,%2 user=trader1 dbname=%3")
              .arg(mute.serverPort())
              .arg(m_pServer->port())
              .arg(m_strDatabase);
    QCOMPARE(told(CPostgresStore(options).save({ wish("<a/>", 0) })), QString("saved 1, head 1"));
}

void tst_roamdeadlines::aServerThatIsStoppedIsLate()
{
    CPostgresStore store(as("trader1"));
    QCOMPARE(told(store.save({ wish("<a/>", 0) })), QString("saved 1, head 1"));
    const auto nBackend
        = owned("select pid::text from pg_stat_activity where usename = 'trader1'").first().toInt();
    const SaveWish made = wish("<b/>\n" + QByteArray(3000000, 'b'), 1);

    QCOMPARE(::kill(nBackend, SIGSTOP), 0);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(told(store.save({ made })), QString("Late"));
    const qint64 nElapsed = timer.elapsed();
    QCOMPARE(::kill(nBackend, SIGCONT), 0);
    QVERIFY2(nElapsed >= 700 && nElapsed < 1500, qPrintable(QString::number(nElapsed)));

    QTRY_COMPARE(told(store.save({ made })), QString("saved 2, head 2"));
    QCOMPARE(told(store.save({ made })), QString("saved 2, head 2"));
    QCOMPARE(owned(c_strRevisions), QStringList("2"));
}

void tst_roamdeadlines::aServerThatCameBackServesTheSameStore()
{
    CPostgresStore store(as("trader1"));
    QCOMPARE(told(store.save({ wish("<a/>", 0) })), QString("saved 1, head 1"));
    m_pServer->stop(CPostgresServer::Stop::Immediate);
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("Away"));
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("Away"));
    QCOMPARE(told(store.heads().error), QString("Away"));
    m_pServer->start();
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("saved 2, head 2"));
}

void tst_roamdeadlines::whatAnotherSessionLocksIsLate()
{
    CPostgresStore store(as("trader1"));
    QCOMPARE(told(store.save({ wish("<a/>", 0) })), QString("saved 1, head 1"));
    ConnectionOptions patient = as("keeper");
    patient.answer = std::chrono::seconds(10);
    auto locked = std::async(std::launch::async, [&] {
        return sqlError(patient,
                        "begin; select * from roaming.person for update;"
                        "select pg_sleep(3); commit");
    });
    QTRY_COMPARE(owned("select 'x' from pg_stat_activity where wait_event = 'PgSleep'").size(), 1);
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("Late"));
    // Nobody is left behind on the server to wait for a lock that nobody wants any longer.
    QTRY_COMPARE(owned("select 'x' from pg_stat_activity where wait_event_type = 'Lock'").size(),
                 0);
    QCOMPARE(owned("select 'x' from pg_stat_activity where wait_event = 'PgSleep'").size(), 1);
    QCOMPARE(told(locked.get()), QString());
    QCOMPARE(told(store.save({ wish("<b/>", 1) })), QString("saved 2, head 2"));
    QCOMPARE(owned(c_strRevisions), QStringList("2"));
}

void tst_roamdeadlines::withoutItsStandbyASaveIsNotSaved()
{
    CPostgresStore store(as("trader1"));
    QCOMPARE(told(store.save({ wish("<a/>", 0) })), QString("saved 1, head 1"));
    setStandbys("nobody");
    const SaveWish made = wish("<b/>", 1);
    QCOMPARE(told(store.save({ made })), QString("Late"));
    // On this server it is there, and still it may not be called saved.
    QCOMPARE(told(store.save({ made })), QString("Late"));
    setStandbys("");
    QTRY_COMPARE(told(store.save({ made })), QString("saved 2, head 2"));
    QCOMPARE(owned(c_strRevisions), QStringList("2"));
}

// Of a save whose wait for the standby somebody cancels on the server.
QString tst_roamdeadlines::cancelledSave(const SaveWish& wish) const
{
    ConnectionOptions options = as("trader1");
    options.answer = std::chrono::seconds(10);
    auto saved = std::async(std::launch::async,
                            [&] { return told(CPostgresStore(options).save({ wish })); });
    const QString strCancel = "select pg_cancel_backend(pid)::text from pg_stat_activity"
                              " where wait_event = 'SyncRep'";
    while (saved.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        owned(strCancel);
    }
    return saved.get();
}

void tst_roamdeadlines::aWaitThatWasCancelledIsUnsure()
{
    QCOMPARE(told(CPostgresStore(as("trader1")).save({ wish("<a/>", 0) })),
             QString("saved 1, head 1"));
    setStandbys("nobody");
    QCOMPARE(cancelledSave(wish("<b/>", 1)), QString("Unsure"));
    QCOMPARE(owned(c_strRevisions), QStringList("2"));
    // Asked for again it waits again.
    QCOMPARE(told(CPostgresStore(as("trader1")).save({ wish("<b/>", 1) })), QString("Late"));
    QCOMPARE(cancelledSave(wish("<b/>", 1)), QString("Unsure"));
    setStandbys("");
    QCOMPARE(told(CPostgresStore(as("trader1")).save({ wish("<b/>", 1) })),
             QString("saved 2, head 2"));
    QCOMPARE(owned(c_strRevisions), QStringList("2"));
}

void tst_roamdeadlines::aWarningIsHeardWhateverTheUserHasSet()
{
    owned("alter role trader1 set client_min_messages = 'error'");
    QCOMPARE(told(CPostgresStore(as("trader1")).save({ wish("<a/>", 0) })),
             QString("saved 1, head 1"));
    setStandbys("nobody");
    QCOMPARE(cancelledSave(wish("<b/>", 1)), QString("Unsure"));
    setStandbys("");
    owned("alter role trader1 reset client_min_messages");
}

QTEST_GUILESS_MAIN(tst_roamdeadlines)
#include "tst_roamdeadlines.moc"
