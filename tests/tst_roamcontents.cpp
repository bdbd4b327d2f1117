#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/documentparts.h>
#include <roaming/postgresstore.h>

#include <QCryptographicHash>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QRegularExpression>

using namespace roaming;
using namespace roamwishes;

// Bytes that go to a server and come back, and how few of them go.
class tst_roamcontents : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void bytesComeBackAsTheyWere();
    void randomBytesComeBackAsTheyWere();
    void ofOneChangedSectionOnlyThatIsSentAndStored();
    void aNewStoreAsksWhatTheServerHas();
    void whatWasReadIsNotSentBack();
    void contentsThatWereThinnedOutAreSentAgain();
    void ofSeveralSavesThatWantContentsNoneIsDoneBefore();
    void whatWasDamagedOnTheServerIsNotTaken_data();
    void whatWasDamagedOnTheServerIsNotTaken();
    void contentsWithoutTheirHashAreRefused();
    void nothingIsKeptOfATextThatIsNotWhole();
    void whatNoClientSendsIsRefused_data();
    void whatNoClientSendsIsRefused();

private:
    QString one(const QString& statement) const { return sql(m_owner, statement).join(','); }
    static QByteArray document(int sections, int changed = -1, int version = 0);

    ConnectionOptions m_owner;
    ConnectionOptions m_options;
    std::unique_ptr<CPostgresStore> m_pStore;
};

namespace {

QByteArray randomBytes(int size)
{
    static QRandomGenerator random(7);
    QByteArray bytes(size, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random.bounded(256));
    }
    return bytes;
}

} // namespace

void tst_roamcontents::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
}

void tst_roamcontents::init()
{
    CLibraryTest::init();
    const QString strDatabase = CPostgresServer::shared().makeDatabase();
    m_owner = CPostgresServer::shared().options(strDatabase, "keeper");
    m_options = CPostgresServer::shared().options(strDatabase, "trader1");
    m_pStore = std::make_unique<CPostgresStore>(m_options);
}

// Sections of 10 kB that do not become smaller.
QByteArray tst_roamcontents::document(int sections, int changed, int version)
{
    QByteArray text = "<?xml version=\"1.0\"?>\n<r>\n";
    for (int i = 0; i < sections; ++i) {
        const QByteArray seed = QByteArray::number(i == changed ? version * 1000 + i : i);
        QByteArray hash = seed;
        QByteArray content;
        while (content.size() < 10000) {
            hash = QCryptographicHash::hash(hash, QCryptographicHash::Sha512);
            content += hash.toBase64();
        }
        text += "<s" + QByteArray::number(i) + ">" + content + "</s>\n";
    }
    return text + "</r>\n";
}

void tst_roamcontents::bytesComeBackAsTheyWere()
{
    QHash<QString, QByteArray> all { { "nothing", {} },
                                     { "a null byte", QByteArray(1, '\0') },
                                     { "a section twice", "<a/>\n<b/>\n<a/>\n<a/>\n" },
                                     { "many sections", QByteArray("<a/>\n<b/>\n").repeated(1000) },
                                     { "backslashes", "\\x41\\000'\"\n<\\" },
                                     { "no UTF-8", "\xff\xfe\n<\xc3\x28>" },
                                     { "5 MB", document(500) } };
    QDirIterator it(TEST_DATA, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString strPath = it.next();
        all.insert(strPath, readFile(strPath));
    }
    QVERIFY(all.size() >= 37);
    for (auto each = all.begin(); each != all.end(); ++each) {
        const auto saved = m_pStore->save({ wishOf(each.key(), each.value(), 0) });
        QCOMPARE(each.key() + told(saved), each.key() + QString("saved 1, head 1"));
        const auto text = CPostgresStore(m_options).text(each.key(), 1);
        QCOMPARE(each.key() + told(text.error), each.key());
        QVERIFY2(text.value == each.value(), qPrintable(each.key()));
    }
    const auto heads = m_pStore->heads();
    QCOMPARE(heads.value.size(), all.size());
    for (const Head& head : heads.value) {
        QCOMPARE(head.revision.nBytes, static_cast<qint64>(all[head.strDocument].size()));
    }
}

void tst_roamcontents::randomBytesComeBackAsTheyWere()
{
    for (int i = 0; i < 200; ++i) {
        const QByteArray bytes = randomBytes(QRandomGenerator(i).bounded(3000)).replace('a', "\n<");
        QCOMPARE(told(m_pStore->save({ wish(bytes, i) })),
                 QStringLiteral("saved %1, head %1").arg(i + 1));
        QVERIFY(m_pStore->text("user", i + 1).value == bytes);
    }
}

void tst_roamcontents::ofOneChangedSectionOnlyThatIsSentAndStored()
{
    const QByteArray before = document(100);
    const QByteArray after = document(100, 50, 1);
    const QString strStored = "select (sum(octet_length(content)) || '/' || count(*))::text"
                              " from roaming.part";

    QCOMPARE(told(m_pStore->save({ wish(before, 0) })), QString("saved 1, head 1"));
    QCOMPARE(m_pStore->bytesSent(), static_cast<qint64>(before.size()));
    // The declaration, the root, the sections, of which the last has the root's end.
    QCOMPARE(one(strStored), QStringLiteral("%1/102").arg(before.size()));

    QCOMPARE(told(m_pStore->save({ wish(after, 1) })), QString("saved 2, head 2"));
    const int nSection = partsOf(after)[52].size();
    QVERIFY(nSection < 11000);
    QCOMPARE(m_pStore->bytesSent(), static_cast<qint64>(before.size() + nSection));
    QCOMPARE(one(strStored), QStringLiteral("%1/103").arg(before.size() + nSection));
    QCOMPARE(one("select bytes_kept::text from roaming.person"),
             QString::number(before.size() + nSection));
    QVERIFY(m_pStore->text("user", 1).value == before);
    QVERIFY(m_pStore->text("user", 2).value == after);
}

void tst_roamcontents::aNewStoreAsksWhatTheServerHas()
{
    QCOMPARE(told(m_pStore->save({ wish(document(100), 0) })), QString("saved 1, head 1"));

    CPostgresStore other(m_options);
    const QByteArray after = document(100, 3, 1);
    QCOMPARE(told(other.save({ wish(after, 1) })), QString("saved 2, head 2"));
    QCOMPARE(other.bytesSent(), static_cast<qint64>(partsOf(after)[5].size()));
    QVERIFY(other.text("user", 2).value == after);
}

void tst_roamcontents::whatWasReadIsNotSentBack()
{
    const QByteArray before = document(3);
    QCOMPARE(told(m_pStore->save({ wish(before, 0) })), QString("saved 1, head 1"));

    CPostgresStore other(m_options);
    QVERIFY(other.text("user", 1).value == before);
    QCOMPARE(told(other.save({ wish(document(3, 0, 1), 1) })), QString("saved 2, head 2"));
    QCOMPARE(other.bytesSent(), static_cast<qint64>(partsOf(document(3, 0, 1))[2].size()));
}

void tst_roamcontents::contentsThatWereThinnedOutAreSentAgain()
{
    const QByteArray text = document(2);
    QCOMPARE(told(m_pStore->save({ wish(text, 0) })), QString("saved 1, head 1"));
    sql(m_owner, "update roaming.revision set parts = null");
    sql(m_owner, "delete from roaming.part");

    QCOMPARE(told(m_pStore->save({ wish(text, 1) })), QString("saved 2, head 2"));
    QVERIFY(m_pStore->text("user", 2).value == text);
    QCOMPARE(m_pStore->bytesSent(), static_cast<qint64>(2 * text.size()));
}

void tst_roamcontents::ofSeveralSavesThatWantContentsNoneIsDoneBefore()
{
    const QByteArray text = document(2);
    QCOMPARE(told(m_pStore->save({ wish(text, 0) })), QString("saved 1, head 1"));
    sql(m_owner, "update roaming.revision set parts = null");
    sql(m_owner, "delete from roaming.part");
    // Whatever was done before contents were wanted would have a number less.
    QCOMPARE(told(m_pStore->save({ wishOf("setting/a/b", "=1", 0), wish(text, 1),
                                   wishOf("held/c", "<c/>\n", 0), wish(document(2, 0, 1), 2) })),
             QString("saved 1, head 1; saved 2, head 2; saved 1, head 1; saved 3, head 3"));
    QCOMPARE(one("select count(distinct xmin::text)::text from roaming.revision"
                 " where parts is not null"),
             QString("1"));
    QVERIFY(m_pStore->text("user", 3).value == document(2, 0, 1));
}

void tst_roamcontents::whatWasDamagedOnTheServerIsNotTaken_data()
{
    QTest::addColumn<QString>("statement");

    QTest::newRow("another content")
        << "update roaming.part set content = '<b/>\n' where content = '<a/>\n'";
    QTest::newRow("a part less") << "delete from roaming.part where content = '<a/>\n'";
    QTest::newRow("another order")
        << "update roaming.revision set parts = array[parts[2], parts[1]]";
    QTest::newRow("another hash") << "update roaming.revision set sha256 = sha256('')";
}

void tst_roamcontents::whatWasDamagedOnTheServerIsNotTaken()
{
    QFETCH(const QString, statement);
    QCOMPARE(told(m_pStore->save({ wish("<a/>\n<c/>\n", 0) })), QString("saved 1, head 1"));
    QCOMPARE(told(m_pStore->text("user", 1).error), QString());
    sql(m_owner, statement);

    const auto text = m_pStore->text("user", 1);
    QCOMPARE(told(text.error), QString("Damaged"));
    QCOMPARE(text.value, QByteArray());
}

void tst_roamcontents::contentsWithoutTheirHashAreRefused()
{
    const QString strSave = "select * from roaming.save('user', 0, false, gen_random_uuid(),"
                            " sha256('<a/>'), array[sha256('<a/>')], array['%1'::bytea],"
                            " gen_random_uuid(), 'desk', '', '')";
    QCOMPARE(told(sqlError(m_options, strSave.arg("<b/>"))), QString("Damaged"));
    QCOMPARE(one("select count(*)::text from roaming.part"), QString("0"));
    QCOMPARE(told(sqlError(m_options, strSave.arg("<a/>"))), QString());
    QCOMPARE(one("select count(*)::text from roaming.part"), QString("1"));
}

void tst_roamcontents::nothingIsKeptOfATextThatIsNotWhole()
{
    const QString strSave
        = "select o_outcome || ' ' || o_wants::text from roaming.save('user', 0, false,"
          " gen_random_uuid(), sha256('x'), array[sha256('<a/>'), sha256('<b/>')],"
          " array['<a/>'::bytea], gen_random_uuid(), 'desk', '', '')";
    QCOMPARE(sql(m_options, strSave),
             QStringList("wants {\"\\\\x"
                         + QCryptographicHash::hash("<b/>", QCryptographicHash::Sha256).toHex()
                         + "\"}"));
    QCOMPARE(one("select count(*)::text from roaming.part"), QString("0"));
    QCOMPARE(one("select bytes_kept::text from roaming.person"), QString("0"));
}

void tst_roamcontents::whatNoClientSendsIsRefused_data()
{
    QTest::addColumn<QString>("changed");
    QTest::addColumn<QString>("outcome");

    const auto repeated = [](int times) { return QStringLiteral("repeat('a', %1)").arg(times); };
    const auto parts = [](int count) {
        return QStringLiteral("array_fill(sha256('<a/>'), array[%1])").arg(count);
    };
    QTest::newRow("a name of 1 kB") << "p_document => " + repeated(1024) << "";
    QTest::newRow("a longer name") << "p_document => " + repeated(1025) << "Failed";
    QTest::newRow("no name") << "p_document => null"
                             << "Failed";
    QTest::newRow("a machine's name of 256 bytes") << "p_machine => " + repeated(256) << "";
    QTest::newRow("a longer machine's name") << "p_machine => " + repeated(257) << "Failed";
    QTest::newRow("an arrangement of 4 kB") << "p_arrangement => " + repeated(4096) << "";
    QTest::newRow("a longer arrangement") << "p_arrangement => " + repeated(4097) << "Failed";
    QTest::newRow("a reason of 1 kB") << "p_reason => " + repeated(1024) << "";
    QTest::newRow("a longer reason") << "p_reason => " + repeated(1025) << "Failed";
    QTest::newRow("a base below nothing") << "p_base => -1"
                                          << "Failed";
    QTest::newRow("256 parts") << "p_parts => " + parts(256) << "";
    QTest::newRow("more parts") << "p_parts => " + parts(257) << "Damaged";
    QTest::newRow("no parts") << "p_parts => null"
                              << "Damaged";
    QTest::newRow("a part without a hash") << "p_parts => array[sha256('<a/>'), null]"
                                           << "Damaged";
    QTest::newRow("a short hash") << "p_sha256 => 'a'"
                                  << "Damaged";
    QTest::newRow("no hash") << "p_sha256 => null"
                             << "Damaged";
}

void tst_roamcontents::whatNoClientSendsIsRefused()
{
    QFETCH(const QString, changed);
    QFETCH(const QString, outcome);
    QStringList arguments { "p_document => 'user'",
                            "p_base => 0",
                            "p_aside => false",
                            "p_save_id => gen_random_uuid()",
                            "p_sha256 => sha256('<a/>')",
                            "p_parts => array[sha256('<a/>')]",
                            "p_contents => array['<a/>'::bytea]",
                            "p_machine_id => gen_random_uuid()",
                            "p_machine => 'desk'",
                            "p_arrangement => ''",
                            "p_reason => ''" };
    const QString strName = changed.section(' ', 0, 0) + ' ';
    const int nChanged = arguments.indexOf(QRegularExpression('^' + strName + ".*"));
    QVERIFY(nChanged >= 0);
    arguments[nChanged] = changed;
    const QString strSave = "select * from roaming.save(" + arguments.join(", ") + ')';
    QCOMPARE(told(sqlError(m_options, strSave)).section(':', 0, 0), outcome);
    QCOMPARE(one("select count(*)::text from roaming.revision"),
             QString(outcome == "" ? "1" : "0"));
}

QTEST_GUILESS_MAIN(tst_roamcontents)
#include "tst_roamcontents.moc"
