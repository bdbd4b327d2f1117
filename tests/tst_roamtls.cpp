#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/postgresstore.h>

#include <QProcess>
#include <QRandomGenerator>

using namespace roaming;
using namespace roamwishes;

// Over TLS: which server is believed, and who is let in.
class tst_roamtls : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void onlyTheServerThatIsMeantIsBelieved_data();
    void onlyTheServerThatIsMeantIsBelieved();
    void onlyARightPasswordIsLetIn();
    void largeTextsComeBackAsTheyWere();

private:
    QString authority(const QString& name) const { return m_keys.filePath(name + ".crt"); }
    ConnectionOptions options(const QString& rest) const;
    void makeKeys();
    void openssl(const QStringList& arguments) const;

    QTemporaryDir m_keys;
    std::unique_ptr<CPostgresServer> m_pServer;
    QString m_strDatabase;
};

void tst_roamtls::openssl(const QStringList& arguments) const
{
    QProcess process;
    process.setWorkingDirectory(m_keys.path());
    process.start("openssl", arguments);
    if (!process.waitForFinished() || process.exitCode() != 0) {
        qFatal("openssl: %s", process.readAllStandardError().constData());
    }
}

// An authority of our own, another one, and a server that is called localhost.
void tst_roamtls::makeKeys()
{
    for (const char* const pszName : { "ours", "another" }) {
        const QString strName = pszName;
        openssl({ "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                  "/CN=" + strName, "-keyout", strName + ".key", "-out", strName + ".crt" });
    }
    writeFile(m_keys.filePath("names"), "subjectAltName=DNS:localhost\n");
    openssl({ "req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=localhost", "-keyout",
              "server.key", "-out", "server.csr" });
    openssl({ "x509", "-req", "-in", "server.csr", "-CA", "ours.crt", "-CAkey", "ours.key",
              "-CAcreateserial", "-days", "2", "-extfile", "names", "-out", "server.crt" });
}

void tst_roamtls::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
    makeKeys();
    m_pServer = std::make_unique<CPostgresServer>();
    m_strDatabase = m_pServer->makeDatabase();
    sql(m_pServer->options(m_strDatabase, "postgres"), "alter role trader1 password 'sesame'");
    for (const char* const pszName : { "server.key", "server.crt" }) {
        m_pServer->addFile(pszName, readFile(m_keys.filePath(pszName)));
    }
    m_pServer->addFile("pg_hba.conf",
                       "local all all trust\n"
                       "hostssl all all 127.0.0.1/32 scram-sha-256\n");
    m_pServer->configure("ssl = on\n");
    m_pServer->stop();
    m_pServer->start();
}

void tst_roamtls::init()
{
    CLibraryTest::init();
    writeFile(userDir() + "/right", "*:*:*:trader1:sesame\n");
    writeFile(userDir() + "/wrong", "*:*:*:trader1:simsim\n");
    for (const char* const pszName : { "/right", "/wrong" }) {
        QFile::setPermissions(userDir() + pszName, QFile::ReadOwner | QFile::WriteOwner);
    }
}

ConnectionOptions tst_roamtls::options(const QString& rest) const
{
    ConnectionOptions options;
    options.strConnection
        = QStringLiteral("hostaddr=127.0.0.1 port=%1 dbname=%2 user=trader1 sslmode=verify-full ")
              .arg(m_pServer->port())
              .arg(m_strDatabase)
        + rest;
    return options;
}

void tst_roamtls::onlyTheServerThatIsMeantIsBelieved_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("authorityName");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("words");

    QTest::newRow("the right one") << "localhost"
                                   << "ours"
                                   << "saved 1, head 1"
                                   << "";
    QTest::newRow("another name") << "roaming.example"
                                  << "ours"
                                  << "Away"
                                  << "does not match host name";
    QTest::newRow("another authority") << "localhost"
                                       << "another"
                                       << "Away"
                                       << "certificate verify failed";
}

void tst_roamtls::onlyTheServerThatIsMeantIsBelieved()
{
    QFETCH(const QString, host);
    QFETCH(const QString, authorityName);
    QFETCH(const QString, answer);
    QFETCH(const QString, words);
    CPostgresStore store(options(QStringLiteral("host=%1 sslrootcert=%2 passfile=%3/right")
                                     .arg(host, authority(authorityName), userDir())));
    const auto saved = store.save({ wish("<a/>", 0) });
    QCOMPARE(told(saved), answer);
    QVERIFY2(saved.error.strDetail.contains(words), qPrintable(saved.error.strDetail));
}

void tst_roamtls::onlyARightPasswordIsLetIn()
{
    const QString strRest
        = "host=localhost sslrootcert=" + authority("ours") + " passfile=" + userDir();
    QCOMPARE(told(CPostgresStore(options(strRest + "/right")).heads().error), QString());
    QCOMPARE(told(CPostgresStore(options(strRest + "/wrong")).heads().error), QString("Refused"));
    QCOMPARE(told(CPostgresStore(options(strRest + "/none")).heads().error), QString("Refused"));
    QCOMPARE(told(CPostgresStore(options(strRest + "/right sslmode=disable")).heads().error),
             QString("Away"));
}

void tst_roamtls::largeTextsComeBackAsTheyWere()
{
    QRandomGenerator random(11);
    ConnectionOptions made = options("host=localhost sslrootcert=" + authority("ours")
                                     + " passfile=" + userDir() + "/right");
    CPostgresStore store(made);
    for (int i = 0; i < 20; ++i) {
        QByteArray text(random.bounded(600000), '\0');
        for (char& c : text) {
            c = static_cast<char>(random.bounded(256));
        }
        const SaveWish large = wishOf("held/large", text, i);
        QCOMPARE(told(store.save({ large })), QStringLiteral("saved %1, head %1").arg(i + 1));
        QVERIFY(store.text("held/large", i + 1).value == text);
    }
}

QTEST_GUILESS_MAIN(tst_roamtls)
#include "tst_roamtls.moc"
