#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/memorystore.h>
#include <roaming/postgresstore.h>

#include <QCryptographicHash>

#include <algorithm>

using namespace roaming;
using namespace roamwishes;

namespace {

enum class Kind { Memory, Postgres };

} // namespace

// What every store promises, asked of each.
class tst_roamstore : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void cleanup();

    void theFirstSaveIsTheHead();
    void theSameSaveAgainHasTheSameAnswer();
    void aBaseAboveTheHeadIsBehind();
    void onAnOldBaseATextIsKeptAside();
    void whatThisMachineSavedItselfIsNoConflict();
    void asidesOfOthersAreNoConflict();
    void whatWasTheHeadSinceIsSavedAlready();
    void whatIsChosenOrTheHeadIsNoChoiceAnyMore();
    void whatIsAskedForAsAnAsideIsNeverTheHead();
    void severalDocumentsAreSavedTogether();
    void anAsideAloneIsNoHead();
    void aRevisionSaysWhatWasSaved();
    void revisionsComeTheNewestFirst();
    void aRevisionByItsNumber();
    void asidesAreOpenUntilSomebodyChooses();
    void theNewestOfAnArrangement();
    void whatWasChosenOfAnAsideIsNoted();
    void onlyOfAnAsideCanBeChosen();
    void whatIsNotThereIsGone();

private:
    QString saved(const QVector<SaveWish>& wishes) const { return told(m_pStore->save(wishes)); }
    QByteArray textOf(qint64 revision) const { return m_pStore->text("user", revision).value; }

    std::shared_ptr<CMemoryServer> m_pMemory;
    std::unique_ptr<CStore> m_pStore;
};

Q_DECLARE_METATYPE(Kind)

void tst_roamstore::initTestCase_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::newRow("in memory") << Kind::Memory;
    QTest::newRow("PostgreSQL") << Kind::Postgres;
}

void tst_roamstore::init()
{
    CLibraryTest::init();
    QFETCH_GLOBAL(const Kind, kind);
    if (kind == Kind::Memory) {
        m_pMemory = std::make_shared<CMemoryServer>();
        m_pStore = std::make_unique<CMemoryStore>(m_pMemory);
        return;
    }
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
    CPostgresServer& server = CPostgresServer::shared();
    m_pStore = std::make_unique<CPostgresStore>(server.options(server.makeDatabase(), "trader1"));
}

void tst_roamstore::cleanup()
{
    m_pStore.reset();
    CLibraryTest::cleanup();
}

void tst_roamstore::theFirstSaveIsTheHead()
{
    QVERIFY(m_pStore->heads().value.isEmpty());
    QCOMPARE(saved({ wish("<a/>", 0) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ wish("<b/>", 1) }), QString("saved 2, head 2"));

    const auto heads = m_pStore->heads();
    QCOMPARE(heads.value.size(), 1);
    QCOMPARE(heads.value[0].strDocument, QString("user"));
    QCOMPARE(heads.value[0].revision.nNumber, 2);
    QCOMPARE(textOf(1), QByteArray("<a/>"));
    QCOMPARE(textOf(2), QByteArray("<b/>"));
}

void tst_roamstore::whatWasTheHeadSinceIsSavedAlready()
{
    saved({ wish("<a/>", 0) });
    saved({ wish("<b/>", 1) });
    saved({ wish("<c/>", 2) });
    QCOMPARE(saved({ wish("<b/>", 1, c_deskB) }), QString("saved 2, head 3"));
    QCOMPARE(saved({ wish("<c/>", 1, c_deskB) }), QString("saved 3, head 3"));
    QCOMPARE(saved({ wish("<a/>", 1, c_deskB) }), QString("saved 1, head 3"));
    QCOMPARE(m_pStore->revisions("user", 0, 0).value.size(), 3);
    // Who has written something else since takes it back.
    saved({ wish("<d/>", 3, c_deskB) });
    QCOMPARE(saved({ wish("<c/>", 3) }), QString("saved 3, head 4"));
    QCOMPARE(saved({ wish("<b/>", 2) }), QString("aside 5, head 4"));
}

void tst_roamstore::whatIsChosenOrTheHeadIsNoChoiceAnyMore()
{
    const auto open = [this] {
        const auto all = m_pStore->revisions("user", 0, 0).value;
        return std::count_if(all.begin(), all.end(),
                             [](const Revision& each) { return each.bAside && !each.bResolved; });
    };
    saved({ wish("<a/>", 0) });
    for (const char* pszText : { "<b/>", "<c/>", "<d/>" }) {
        saved({ wish(pszText, 0, c_deskB) });
    }
    QCOMPARE(open(), 3);
    QCOMPARE(told(m_pStore->resolve("user", 3, Choice::Theirs)), QString());
    QCOMPARE(open(), 1);
    QCOMPARE(saved({ wish("<e/>", 1) }), QString("saved 5, head 5"));
    QCOMPARE(open(), 1);
    QCOMPARE(saved({ wish("<f/>", 5, c_deskB) }), QString("saved 6, head 6"));
    QCOMPARE(open(), 1);
    QCOMPARE(saved({ wish("<d/>", 6, c_deskB) }), QString("saved 7, head 7"));
    QCOMPARE(open(), 0);
}

void tst_roamstore::theSameSaveAgainHasTheSameAnswer()
{
    const SaveWish first = wish("<a/>", 0);
    const SaveWish aside = wish("<b/>", 0, c_deskB);

    QCOMPARE(saved({ first }), QString("saved 1, head 1"));
    QCOMPARE(saved({ first }), QString("saved 1, head 1"));
    QCOMPARE(saved({ aside }), QString("aside 2, head 1"));
    QCOMPARE(saved({ aside }), QString("aside 2, head 1"));
    QCOMPARE(saved({ wish("<c/>", 1) }), QString("saved 3, head 3"));
    QCOMPARE(saved({ first }), QString("saved 1, head 3"));
    QCOMPARE(saved({ aside }), QString("aside 2, head 3"));
    QCOMPARE(m_pStore->revisions("user", 0, 0).value.size(), 3);
}

void tst_roamstore::aBaseAboveTheHeadIsBehind()
{
    QCOMPARE(saved({ wish("<a/>", 5) }), QString("behind 0, head 0"));
    QVERIFY(m_pStore->heads().value.isEmpty());
    QVERIFY(m_pStore->revisions("user", 0, 0).value.isEmpty());

    QCOMPARE(saved({ wish("<a/>", 0) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ wish("<b/>", 0, c_deskB) }), QString("aside 2, head 1"));
    QCOMPARE(saved({ wish("<c/>", 2) }), QString("behind 0, head 1"));
    QCOMPARE(m_pStore->revisions("user", 0, 0).value.size(), 2);
}

void tst_roamstore::onAnOldBaseATextIsKeptAside()
{
    QCOMPARE(saved({ wish("<a/>", 0) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ wish("<b/>", 1) }), QString("saved 2, head 2"));
    QCOMPARE(saved({ wish("<c/>", 1, c_deskB) }), QString("aside 3, head 2"));

    QCOMPARE(textOf(2), QByteArray("<b/>"));
    QCOMPARE(textOf(3), QByteArray("<c/>"));
    QCOMPARE(m_pStore->heads().value[0].revision.nNumber, 2);
    QCOMPARE(saved({ wish("<d/>", 2, c_deskB) }), QString("saved 4, head 4"));
}

void tst_roamstore::whatThisMachineSavedItselfIsNoConflict()
{
    QCOMPARE(saved({ wish("<a/>", 0, c_deskB) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ wish("<b/>", 1) }), QString("saved 2, head 2"));
    QCOMPARE(saved({ wish("<c/>", 1) }), QString("saved 3, head 3"));
    QCOMPARE(saved({ wish("<d/>", 0) }), QString("aside 4, head 3"));
}

void tst_roamstore::asidesOfOthersAreNoConflict()
{
    QCOMPARE(saved({ wish("<a/>", 0) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ wish("<b/>", 0, c_deskB) }), QString("aside 2, head 1"));
    QCOMPARE(saved({ wish("<c/>", 1) }), QString("saved 3, head 3"));
}

void tst_roamstore::whatIsAskedForAsAnAsideIsNeverTheHead()
{
    SaveWish aside = wish("<b/>", 1);
    aside.bAside = true;

    QCOMPARE(saved({ wish("<a/>", 0) }), QString("saved 1, head 1"));
    QCOMPARE(saved({ aside }), QString("aside 2, head 1"));
    QCOMPARE(m_pStore->heads().value[0].revision.nNumber, 1);
}

void tst_roamstore::severalDocumentsAreSavedTogether()
{
    QCOMPARE(saved({ wish("<a/>", 0), wishOf("setting/a/b", "=1", 0), wish("<b/>", 1),
                     wishOf("setting/a/b", "", 9) }),
             QString("saved 1, head 1; saved 1, head 1; saved 2, head 2; behind 0, head 1"));
    QCOMPARE(m_pStore->heads().value.size(), 2);
    QCOMPARE(textOf(2), QByteArray("<b/>"));
    QCOMPARE(m_pStore->text("setting/a/b", 1).value, QByteArray("=1"));
    QCOMPARE(saved({}), QString());
}

void tst_roamstore::anAsideAloneIsNoHead()
{
    SaveWish aside = wish("<a/>", 0);
    aside.bAside = true;

    QCOMPARE(saved({ aside }), QString("aside 1, head 0"));
    QVERIFY(m_pStore->heads().value.isEmpty());
    QCOMPARE(textOf(1), QByteArray("<a/>"));
    QCOMPARE(saved({ wish("<b/>", 0, c_deskB) }), QString("saved 2, head 2"));
}

void tst_roamstore::aRevisionSaysWhatWasSaved()
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    SaveWish made = wish("<a/>\n<b/>\n", 0, { c_deskB.id, QString::fromUtf8("交易台 'b'") });
    made.strArrangement = "1920x1080@0,0,1";
    made.strReason = "save \"as\"\n";
    QCOMPARE(saved({ made }), QString("saved 1, head 1"));

    const Revision found = m_pStore->revisions("user", 0, 0).value.first();
    const QByteArray digest
        = QCryptographicHash::hash(made.text, QCryptographicHash::Sha256).toHex();
    QCOMPARE(told(found),
             QString("1 on 0, 10 bytes " + digest + " by " + c_deskB.id.toString()
                     + QString::fromUtf8(" 交易台 'b', 1920x1080@0,0,1, save \"as\"\n")));
    QVERIFY2(found.written.msecsTo(before) < 2000 && before.msecsTo(found.written) < 60000,
             qPrintable(found.written.toString(Qt::ISODateWithMs)));
    QCOMPARE(told(m_pStore->heads().value[0].revision), told(found));
}

void tst_roamstore::revisionsComeTheNewestFirst()
{
    for (int i = 0; i < 4; ++i) {
        saved({ wish("<a/>", i) });
    }
    const auto numbers = [this](qint64 after, int limit) {
        QVector<qint64> found;
        for (const Revision& revision : m_pStore->revisions("user", after, limit).value) {
            found.append(revision.nNumber);
        }
        return found;
    };
    QCOMPARE(numbers(0, 0), (QVector<qint64> { 4, 3, 2, 1 }));
    QCOMPARE(numbers(2, 0), (QVector<qint64> { 4, 3 }));
    QCOMPARE(numbers(0, 3), (QVector<qint64> { 4, 3, 2 }));
    QCOMPARE(numbers(4, 3), (QVector<qint64> {}));
    QVERIFY(m_pStore->revisions("another", 0, 0).value.isEmpty());
}

void tst_roamstore::aRevisionByItsNumber()
{
    saved({ wish("<a/>", 0) });
    saved({ wish("<b/>", 0, c_deskB) });
    const QVector<Revision> all = m_pStore->revisions("user", 0, 0).value;
    QCOMPARE(all.size(), 2);
    for (const Revision& each : all) {
        const Revision one = m_pStore->revision("user", each.nNumber).value;
        QCOMPARE(one.nNumber, each.nNumber);
        QCOMPARE(one.digest, each.digest);
        QCOMPARE(one.bAside, each.bAside);
        QCOMPARE(one.machine.id, each.machine.id);
    }
    for (const qint64 nNone : { -1, 0, 3 }) {
        QCOMPARE(m_pStore->revision("user", nNone).value.nNumber, 0);
    }
    QCOMPARE(m_pStore->revision("another", 1).value.nNumber, 0);
}

void tst_roamstore::asidesAreOpenUntilSomebodyChooses()
{
    const auto open = [this] {
        QVector<qint64> numbers;
        for (const Revision& each : m_pStore->openAsides("user").value) {
            numbers.append(each.nNumber);
        }
        return numbers;
    };
    saved({ wish("<a/>", 0) });
    QCOMPARE(open(), QVector<qint64>());
    saved({ wish("<b/>", 0, c_deskB) });
    saved({ wish("<c/>", 0, { QUuid::createUuid(), "desk-c" }) });
    QCOMPARE(open(), (QVector<qint64> { 3, 2 }));
    QVERIFY(!m_pStore->resolve("user", 2, Choice::Theirs));
    QCOMPARE(open(), QVector<qint64> { 3 });
    QVERIFY(m_pStore->openAsides("another").value.isEmpty());
}

void tst_roamstore::theNewestOfAnArrangement()
{
    const auto savedWith = [this](const QString& arrangement, qint64 base) {
        SaveWish made = wish(arrangement.toUtf8(), base);
        made.strArrangement = arrangement;
        return saved({ made });
    };
    QCOMPARE(savedWith("one", 0), QString("saved 1, head 1"));
    QCOMPARE(savedWith("one", 1), QString("saved 2, head 2"));
    QCOMPARE(savedWith("two", 2), QString("saved 3, head 3"));
    SaveWish beside = wish("beside", 0, c_deskB);
    beside.strArrangement = "one";
    QCOMPARE(saved({ beside }), QString("aside 4, head 3"));

    QCOMPARE(m_pStore->newestWith("user", "one").value.nNumber, 2);
    QCOMPARE(m_pStore->newestWith("user", "two").value.nNumber, 3);
    QCOMPARE(m_pStore->newestWith("user", "").value.nNumber, 0);
    QCOMPARE(m_pStore->newestWith("another", "one").value.nNumber, 0);
}

void tst_roamstore::whatWasChosenOfAnAsideIsNoted()
{
    saved({ wish("<a/>", 0) });
    saved({ wish("<b/>", 0, c_deskB) });
    QVERIFY(!m_pStore->revisions("user", 1, 0).value[0].bResolved);
    QVERIFY(!m_pStore->resolve("user", 2, Choice::Theirs));
    QVERIFY(m_pStore->revisions("user", 1, 0).value[0].bResolved);
    QCOMPARE(textOf(2), QByteArray("<b/>"));
}

void tst_roamstore::onlyOfAnAsideCanBeChosen()
{
    saved({ wish("<a/>", 0) });
    QCOMPARE(told(m_pStore->resolve("user", 1, Choice::Mine)), QString("Gone"));
    QCOMPARE(told(m_pStore->resolve("user", 2, Choice::Mine)), QString("Gone"));
    QCOMPARE(told(m_pStore->resolve("another", 1, Choice::Mine)), QString("Gone"));
    QVERIFY(!m_pStore->heads().value[0].revision.bResolved);
}

void tst_roamstore::whatIsNotThereIsGone()
{
    saved({ wish("<a/>", 0) });
    for (const qint64 n : { -1, 0, 2 }) {
        QCOMPARE(told(m_pStore->text("user", n).error), QString("Gone"));
    }
    QCOMPARE(told(m_pStore->text("another", 1).error), QString("Gone"));
}

QTEST_GUILESS_MAIN(tst_roamstore)
#include "tst_roamstore.moc"
