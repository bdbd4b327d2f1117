#include "twodesks.h"

#include <mend/history.h>

#include <atomic>
#include <csignal>
#include <future>
#include <thread>

#include <sys/resource.h>

using roaming::Preparation;
using roaming::PrepareResult;
using roaming::SendResult;
using roaming::StoreCause;

class tst_roamingprepare : public CTwoDesksTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { initDesks(); }
    void withoutAnythingNothingHappens();
    void aFirstStartTakesTheServersAndKeepsTheLocalOne();
    void anUnchangedFileFollowsTheServer();
    void twoChangesLeaveTheLocalOne();
    void whatSomebodyHasChosenIsTaken();
    void whatThisMachineSentLastIsOnlyNoted();
    void whatWasTakenButNotNotedIsNoted();
    void aMissingFileComesFromTheServer();
    void aRewoundServerIsTold();
    void theLocalFileGoesOnWithoutServer_data();
    void theLocalFileGoesOnWithoutServer();
    void aServerThatSaysNothingIsLeftAtTheDeadline();
    void oneProcessAtATime();
    void aRunningClientIsNotOverwritten();
    void thePasswordStays();
    void anotherArrangementKeepsItsLayouts();
    void aTextThatIsNoUserIsNotTaken();
    void aMachineThatWasSetBackTakesTheServers();
    void aServerThatGaveNumbersAgainIsAnother();
    void whatWasTakenBackBehindALostAnswerIsSent();
    void aFirstStartWithoutServerIsStillTheFirst();
    void theOtherSideThatWasChosenIsTaken();
    void aDamagedStateIsAFirstStart();
    void aStateThatADiskDoesNotTakeStaysAsItWas();

private:
    int revisions() const;
};

int tst_roamingprepare::revisions() const
{
    roaming::CMemoryStore store(m_pServer);
    return store.revisions(roaming::c_szUserDocument, 0, 0).value.size();
}

void tst_roamingprepare::withoutAnythingNothingHappens()
{
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::InStep);
    QVERIFY(!QFile::exists(m_pLeft->livePath()));
}

void tst_roamingprepare::aFirstStartTakesTheServersAndKeepsTheLocalOne()
{
    bringInStep();
    CTestDesk third;
    const QByteArray local = CTestDesk::user("older", "third's");
    third.write(local);
    const Preparation preparation = prepared(third);
    QCOMPARE(preparation.result, PrepareResult::Taken);
    QCOMPARE(preparation.server.nNumber, 1);
    QCOMPARE(third.text(), QString("first"));
    QCOMPARE(mend::CHistory(third.dir()).state(mend::digestOf(local)).value_or("gone"), local);
    QCOMPARE(mend::CHistory(third.dir()).entries().size(), 1);
    QCOMPARE(preparation.recovery.receipt.nEdit, 1);
}

void tst_roamingprepare::anUnchangedFileFollowsTheServer()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("second", "left's"));
    QCOMPARE(sent(*m_pLeft).nRevision, 2);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QCOMPARE(m_pRight->text(), QString("second"));
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::InStep);
    QCOMPARE(revisions(), 2);
}

void tst_roamingprepare::twoChangesLeaveTheLocalOne()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("of the left"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    const QByteArray local = CTestDesk::user("of the right");
    m_pRight->write(local);
    const Preparation preparation = prepared(*m_pRight);
    QCOMPARE(preparation.result, PrepareResult::Conflict);
    QCOMPARE(preparation.server.nNumber, 2);
    QCOMPARE(m_pRight->read(), local);
    QCOMPARE(sent(*m_pRight).result, SendResult::Conflict);
    QCOMPARE(sent(*m_pRight).result, SendResult::Conflict);
    QCOMPARE(revisions(), 3);
    roaming::CMemoryStore store(m_pServer);
    QCOMPARE(store.text("user", 3).value, roaming::outgoingText(local).value_or("none"));
    QCOMPARE(store.heads().value.first().revision.nNumber, 2);
}

void tst_roamingprepare::whatSomebodyHasChosenIsTaken()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("of the left"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    const QByteArray local = CTestDesk::user("of the right");
    m_pRight->write(local);
    QCOMPARE(sent(*m_pRight).result, SendResult::Conflict);
    const Preparation preparation = roaming::prepare(m_pRight->desk(), storeOn(m_pServer), 20000,
                                                     { "roam resolve" }, roaming::Taking::Always);
    QCOMPARE(preparation.result, PrepareResult::Taken);
    QCOMPARE(m_pRight->text(), QString("of the left"));
    QCOMPARE(m_pRight->password(), QString("mine"));
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
    QCOMPARE(mend::CHistory(m_pRight->dir()).state(mend::digestOf(local)).value_or("gone"), local);
}

// Killed between the server's commit and the note of it.
void tst_roamingprepare::whatThisMachineSentLastIsOnlyNoted()
{
    bringInStep();
    const roaming::MachineState before = roaming::readState(m_pLeft->dir());
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    QVERIFY(roaming::writeState(m_pLeft->dir(), before));
    m_pLeft->write(CTestDesk::user("third"));
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::InStep);
    QCOMPARE(m_pLeft->text(), QString("third"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    QCOMPARE(revisions(), 3);
}

void tst_roamingprepare::whatWasTakenButNotNotedIsNoted()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    const roaming::MachineState before = roaming::readState(m_pRight->dir());
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QVERIFY(roaming::writeState(m_pRight->dir(), before));
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::InStep);
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
    QCOMPARE(mend::CHistory(m_pRight->dir()).entries().size(), 2);
}

void tst_roamingprepare::aMissingFileComesFromTheServer()
{
    bringInStep();
    QVERIFY(QFile::remove(m_pRight->livePath()));
    QCOMPARE(sent(*m_pRight).result, SendResult::NotWhole);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QCOMPARE(m_pRight->text(), QString("first"));
    QCOMPARE(revisions(), 1);
}

void tst_roamingprepare::aRewoundServerIsTold()
{
    bringInStep();
    m_pServer = std::make_shared<roaming::CMemoryServer>();
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::Behind);
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Behind);
    QCOMPARE(revisions(), 0);
    roaming::CMemoryStore store(m_pServer);
    QCOMPARE(roaming::send(m_pLeft->desk(), store, roaming::SendBase::Server).result,
             SendResult::Sent);
    QCOMPARE(sent(*m_pLeft).result, SendResult::InStep);
}

void tst_roamingprepare::theLocalFileGoesOnWithoutServer_data()
{
    QTest::addColumn<int>("cause");
    for (const StoreCause cause : { StoreCause::Away, StoreCause::Late, StoreCause::Refused,
                                    StoreCause::OtherSchema, StoreCause::Failed }) {
        QTest::newRow(qPrintable(QString::number(static_cast<int>(cause))))
            << static_cast<int>(cause);
    }
}

void tst_roamingprepare::theLocalFileGoesOnWithoutServer()
{
    QFETCH(int, cause);
    bringInStep();
    const QByteArray local = m_pRight->read();
    m_pServer->fail({ static_cast<StoreCause>(cause), "for the test" });
    const Preparation preparation = prepared(*m_pRight);
    QCOMPARE(preparation.result, PrepareResult::Alone);
    QCOMPARE(static_cast<int>(preparation.error.cause), cause);
    QCOMPARE(m_pRight->read(), local);
}

// It answers in the end, when nobody waits any more: nothing may come of it.
void tst_roamingprepare::aServerThatSaysNothingIsLeftAtTheDeadline()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    const auto pGate = std::make_shared<std::promise<void>>();
    const auto pDone = std::make_shared<std::promise<void>>();
    const auto open = pGate->get_future().share();
    const auto connect = [=, pServer = m_pServer]() -> std::unique_ptr<roaming::CStore> {
        open.wait();
        pDone->set_value();
        return std::make_unique<roaming::CMemoryStore>(pServer);
    };
    const Preparation preparation = roaming::prepare(m_pRight->desk(), connect, 50);
    QCOMPARE(preparation.result, PrepareResult::Alone);
    QCOMPARE(preparation.error.cause, StoreCause::Late);
    pGate->set_value();
    pDone->get_future().wait();
    QCOMPARE(m_pRight->text(), QString("first"));
}

void tst_roamingprepare::oneProcessAtATime()
{
    bringInStep();
    roaming::CStateLock lock(m_pRight->dir());
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    QCOMPARE(roaming::prepare(m_pRight->desk(), storeOn(m_pServer), 10).result,
             PrepareResult::Busy);
}

void tst_roamingprepare::aRunningClientIsNotOverwritten()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    mend::CUserLock client(m_pRight->dir());
    QCOMPARE(client.take(0), mend::LockState::Taken);
    const Preparation preparation
        = roaming::prepare(m_pRight->desk(), storeOn(m_pServer), 20000, { "roam pull", 0 });
    QCOMPARE(preparation.result, PrepareResult::NotWritten);
    QCOMPARE(preparation.recovery.write, mend::WriteFailure::Busy);
    QCOMPARE(m_pRight->text(), QString("first"));
}

void tst_roamingprepare::thePasswordStays()
{
    bringInStep();
    QCOMPARE(m_pRight->password(), QString());
    m_pRight->write(CTestDesk::user("second", "right's"));
    QCOMPARE(sent(*m_pRight).result, SendResult::Sent);
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::Taken);
    QCOMPARE(m_pLeft->text(), QString("second"));
    QCOMPARE(m_pLeft->password(), QString("left's"));
    roaming::CMemoryStore store(m_pServer);
    for (qint64 nRevision = 1; nRevision <= 2; ++nRevision) {
        QVERIFY(!store.text("user", nRevision).value.contains("'s\""));
    }
}

void tst_roamingprepare::anotherArrangementKeepsItsLayouts()
{
    const auto user = [](const QByteArray& text, int left) {
        return CTestDesk::user(text).replace(
            "</ICUserConfigFile>",
            "<IndexLayout><LayoutWindow screen_id=\"1\" left=\"" + QByteArray::number(left)
                + "\" top=\"0\" width=\"300\" height=\"200\"/></IndexLayout></ICUserConfigFile>");
    };
    const auto leftOf = [](const CTestDesk& desk) {
        QDomDocument doc;
        doc.setContent(desk.read());
        return doc.elementsByTagName("LayoutWindow").at(0).toElement().attribute("left").toInt();
    };
    m_pRight->m_strScreens = "800x600+0+0";
    m_pLeft->write(user("first", 1500));
    sent(*m_pLeft);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QVERIFY(leftOf(*m_pRight) + 300 <= 800);
    m_pRight->write(user("second", 123));
    sent(*m_pRight);
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::Taken);
    QCOMPARE(m_pLeft->text(), QString("second"));
    QCOMPARE(leftOf(*m_pLeft), 1500);
    m_pLeft->write(user("third", 1500));
    sent(*m_pLeft);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QCOMPARE(leftOf(*m_pRight), 123);
    QCOMPARE(m_pRight->text(), QString("third"));
}

void tst_roamingprepare::aTextThatIsNoUserIsNotTaken()
{
    roaming::CMemoryStore store(m_pServer);
    roaming::SaveWish wish;
    wish.text = "rubbish";
    wish.machine = { QUuid::createUuid(), "elsewhere" };
    QVERIFY(!store.save({ wish }).error);
    const QByteArray local = CTestDesk::user("mine");
    m_pLeft->write(local);
    const Preparation preparation = prepared(*m_pLeft);
    QCOMPARE(preparation.result, PrepareResult::Alone);
    QCOMPARE(preparation.error.cause, StoreCause::Damaged);
    QCOMPARE(m_pLeft->read(), local);
}

// As with a copy of a directory that is put back.
void tst_roamingprepare::aMachineThatWasSetBackTakesTheServers()
{
    bringInStep();
    const roaming::MachineState before = roaming::readState(m_pLeft->dir());
    const QByteArray old = m_pLeft->read();
    m_pLeft->write(CTestDesk::user("second"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    m_pLeft->write(CTestDesk::user("third"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    QVERIFY(roaming::writeState(m_pLeft->dir(), before));
    m_pLeft->write(old);
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::Taken);
    QCOMPARE(m_pLeft->text(), QString("third"));
}

void tst_roamingprepare::aServerThatGaveNumbersAgainIsAnother()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("lost with the server"));
    QCOMPARE(sent(*m_pLeft).nRevision, 2);
    m_pServer = std::make_shared<roaming::CMemoryServer>();
    roaming::CMemoryStore store(m_pServer);
    for (const char* const pszText : { "first", "another second" }) {
        roaming::SaveWish wish;
        wish.text = roaming::outgoingText(CTestDesk::user(pszText)).value_or("none");
        wish.nBase = store.heads().value.size();
        wish.machine = { QUuid::createUuid(), "elsewhere" };
        wish.machine.id = roaming::thisMachine(m_pRight->dir()).id;
        wish.id = roaming::saveId(wish);
        QVERIFY(!store.save({ wish }).error);
    }
    QCOMPARE(prepared(*m_pLeft).result, PrepareResult::Behind);
    m_pLeft->write(CTestDesk::user("third"));
    QCOMPARE(sent(*m_pLeft).result, SendResult::Behind);
    QCOMPARE(revisions(), 2);
}

// The server has it, and the user takes it back before anybody knows.
void tst_roamingprepare::whatWasTakenBackBehindALostAnswerIsSent()
{
    bringInStep();
    const QByteArray old = m_pLeft->read();
    m_pLeft->write(CTestDesk::user("second", "left's"));
    m_pServer->failBehind({ StoreCause::Late, "for the test" });
    QCOMPARE(sent(*m_pLeft).result, SendResult::Failed);
    m_pLeft->write(old);
    QCOMPARE(sent(*m_pLeft).nRevision, 3);
    QCOMPARE(sent(*m_pLeft).result, SendResult::InStep);
    roaming::CMemoryStore store(m_pServer);
    QCOMPARE(store.text("user", 3).value, roaming::outgoingText(old).value_or("none"));
}

void tst_roamingprepare::aFirstStartWithoutServerIsStillTheFirst()
{
    bringInStep();
    CTestDesk third;
    third.write(CTestDesk::user("default"));
    m_pServer->fail({ StoreCause::Away, "for the test" });
    QCOMPARE(prepared(third).result, PrepareResult::Alone);
    m_pServer->fail({});
    QCOMPARE(sent(third).result, SendResult::Conflict);
    QCOMPARE(prepared(third).result, PrepareResult::Taken);
    QCOMPARE(third.text(), QString("first"));
}

// By the support desk, on another machine.
void tst_roamingprepare::theOtherSideThatWasChosenIsTaken()
{
    bringInStep();
    m_pLeft->write(CTestDesk::user("of the left"));
    sent(*m_pLeft);
    m_pRight->write(CTestDesk::user("of the right"));
    QCOMPARE(sent(*m_pRight).nRevision, 3);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Conflict);
    roaming::CMemoryStore store(m_pServer);
    QVERIFY(!store.resolve("user", 3, roaming::Choice::Theirs));
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QCOMPARE(m_pRight->text(), QString("of the left"));
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
}

void tst_roamingprepare::aDamagedStateIsAFirstStart()
{
    bringInStep();
    writeFile(m_pRight->dir() + "/indexUserConfig.roaming", "{");
    m_pRight->write(CTestDesk::user("of the right"));
    QCOMPARE(roaming::readState(m_pRight->dir()).error, roaming::StateError::Damaged);
    QCOMPARE(prepared(*m_pRight).result, PrepareResult::Taken);
    QCOMPARE(m_pRight->text(), QString("first"));
    QCOMPARE(mend::CHistory(m_pRight->dir()).entries().size(), 2);
}

void tst_roamingprepare::aStateThatADiskDoesNotTakeStaysAsItWas()
{
    bringInStep();
    const roaming::MachineState before = roaming::readState(m_pRight->dir());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit none { 0, limit.rlim_max };
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &none), 0);
    const bool bWritten = roaming::writeState(m_pRight->dir(), before);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    QVERIFY(!bWritten);
    QCOMPARE(roaming::readState(m_pRight->dir()).documents.keys(), before.documents.keys());
}

QTEST_GUILESS_MAIN(tst_roamingprepare)
#include "tst_roamingprepare.moc"
