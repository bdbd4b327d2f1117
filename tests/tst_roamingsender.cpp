#include "librarytest.h"
#include "roamingdesk.h"

#include <roaming/sender.h>

#include <future>

using roaming::CSender;
using roaming::SenderState;
using roaming::SenderStatus;
using roaming::StoreCause;

namespace {

// Soon enough for a test, and no question for the head in between.
constexpr roaming::SenderTimes c_times { 200, 1, 1, 4, 3600000 };
constexpr int c_nPatience = 20000;

} // namespace

class tst_roamingsender : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void whatIsThereIsSentAtTheStart();
    void aSaveIsSent();
    void whatWasNotSentIsSentWhenTheServerIsBack();
    void anAnswerThatIsLostSendsNothingTwice();
    void tellingItWaitsForNobody();
    void aFileThatIsOnItsWayIsWaitedFor();
    void aSaveThatFailedIsAnAsideAndTakesNothingBack();
    void aSaveThatCameLateIsTheHead();
    void aMissingFileIsNoDeletion();
    void anotherMachinesSaveIsAConflict();
    void aRewoundServerIsTold();
    void aSecondSenderIsBusy();
    void aRefusalIsTold_data();
    void aRefusalIsTold();
    void theListenerHearsOfEveryChange();
    void pausesGrow();

private:
    void start(const roaming::StoreMaker& connect = {}, const CSender::Listener& listener = {});
    /// As a save does: the mirror first.
    void save(const QByteArray& bytes);
    void storeMirror(const QByteArray& bytes);
    QVector<roaming::Revision> revisions() const;
    QByteArray headText() const;

    std::shared_ptr<roaming::CMemoryServer> m_pServer;
    std::unique_ptr<CTestDesk> m_pDesk;
    std::unique_ptr<CSender> m_pSender;
    std::mutex m_mutex;
    std::optional<QByteArray> m_mirror;
};

void tst_roamingsender::init()
{
    CLibraryTest::init();
    m_pServer = std::make_shared<roaming::CMemoryServer>();
    m_pDesk = std::make_unique<CTestDesk>();
    m_mirror.reset();
    m_pDesk->m_settings.mirror = [this] {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_mirror;
    };
}

void tst_roamingsender::cleanup()
{
    m_pSender.reset();
    CLibraryTest::cleanup();
}

void tst_roamingsender::start(const roaming::StoreMaker& connect, const CSender::Listener& listener)
{
    m_pSender = std::make_unique<CSender>(m_pDesk->desk(), connect ? connect : storeOn(m_pServer),
                                          c_times, listener);
}

void tst_roamingsender::storeMirror(const QByteArray& bytes)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_mirror = bytes;
    }
    m_pSender->wake();
}

void tst_roamingsender::save(const QByteArray& bytes)
{
    storeMirror(bytes);
    m_pDesk->write(bytes);
}

QVector<roaming::Revision> tst_roamingsender::revisions() const
{
    roaming::CMemoryStore store(m_pServer);
    return store.revisions(roaming::c_szUserDocument, 0, 0).value;
}

QByteArray tst_roamingsender::headText() const
{
    roaming::CMemoryStore store(m_pServer);
    const auto heads = store.heads().value;
    return heads.isEmpty() ? QByteArray()
                           : store.text("user", heads.first().revision.nNumber).value;
}

void tst_roamingsender::whatIsThereIsSentAtTheStart()
{
    const QByteArray bytes = CTestDesk::user("first");
    m_pDesk->write(bytes);
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    QCOMPARE(headText(), roaming::outgoingText(bytes).value_or("none"));
}

void tst_roamingsender::aSaveIsSent()
{
    start();
    const QByteArray bytes = CTestDesk::user("saved");
    save(bytes);
    QVERIFY(m_pSender->flush(c_nPatience));
    QCOMPARE(headText(), roaming::outgoingText(bytes).value_or("none"));
    QCOMPARE(m_pSender->status().last.nRevision, 1);
    QCOMPARE(m_pSender->status().nHead, 1);
}

void tst_roamingsender::whatWasNotSentIsSentWhenTheServerIsBack()
{
    m_pServer->fail({ StoreCause::Away, "for the test" });
    start();
    save(CTestDesk::user("first"));
    QTRY_VERIFY_WITH_TIMEOUT(m_pSender->status().nFailures > 3, c_nPatience);
    QCOMPARE(m_pSender->status().state, SenderState::Waiting);
    QVERIFY(m_pSender->status().retryAt.isValid());
    const QByteArray last = CTestDesk::user("second");
    save(last);
    m_pServer->fail({});
    QTRY_COMPARE_WITH_TIMEOUT(headText(), roaming::outgoingText(last).value_or("none"),
                              c_nPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::InStep, c_nPatience);
    QCOMPARE(m_pSender->status().nFailures, 0);
}

void tst_roamingsender::anAnswerThatIsLostSendsNothingTwice()
{
    m_pServer->failBehind({ StoreCause::Unsure, "the standby is away" });
    m_pDesk->write(CTestDesk::user("first"));
    std::atomic_bool bUnsure { false };
    start({}, [&](const SenderStatus& status) {
        bUnsure = bUnsure || status.error.cause == StoreCause::Unsure;
    });
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::InStep, c_nPatience);
    QVERIFY(bUnsure);
    QCOMPARE(revisions().size(), 1);
}

// The store answers only when it was told often.
void tst_roamingsender::tellingItWaitsForNobody()
{
    const auto pGate = std::make_shared<std::promise<void>>();
    const auto open = pGate->get_future().share();
    start([=, pServer = m_pServer]() -> std::unique_ptr<roaming::CStore> {
        open.wait();
        return std::make_unique<roaming::CMemoryStore>(pServer);
    });
    for (int i = 0; i < 1000; ++i) {
        save(CTestDesk::user(QByteArray::number(i)));
    }
    QVERIFY(!m_pSender->flush(1));
    pGate->set_value();
    QVERIFY(m_pSender->flush(c_nPatience));
    QCOMPARE(revisions().size(), 1);
}

void tst_roamingsender::aFileThatIsOnItsWayIsWaitedFor()
{
    m_pDesk->write(CTestDesk::user("old"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    const QByteArray bytes = CTestDesk::user("new");
    storeMirror(bytes);
    QTest::qWait(50);
    QCOMPARE(revisions().size(), 1);
    QVERIFY(QFile::remove(m_pDesk->livePath()));
    m_pDesk->write(bytes);
    QVERIFY(m_pSender->flush(c_nPatience));
    QCOMPARE(revisions().size(), 2);
    QVERIFY(!revisions().first().bAside);
}

void tst_roamingsender::aSaveThatFailedIsAnAsideAndTakesNothingBack()
{
    const QByteArray old = CTestDesk::user("old");
    m_pDesk->write(old);
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    const QByteArray bytes = CTestDesk::user("never in the file");
    storeMirror(bytes);
    QTRY_COMPARE_WITH_TIMEOUT(revisions().size(), 2, c_nPatience);
    QVERIFY(revisions().first().bAside);
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::Conflict, c_nPatience);
    roaming::CMemoryStore store(m_pServer);
    QCOMPARE(store.text("user", 2).value, roaming::outgoingText(bytes).value_or("none"));
    m_pSender.reset();
    QCOMPARE(roaming::prepare(m_pDesk->desk(), storeOn(m_pServer), c_nPatience).result,
             roaming::PrepareResult::InStep);
    QCOMPARE(m_pDesk->read(), old);
    QCOMPARE(headText(), roaming::outgoingText(old).value_or("none"));
}

void tst_roamingsender::aSaveThatCameLateIsTheHead()
{
    m_pDesk->write(CTestDesk::user("old"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    const QByteArray bytes = CTestDesk::user("late");
    storeMirror(bytes);
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::Conflict, c_nPatience);
    m_pDesk->write(bytes);
    m_pSender->wake();
    QVERIFY(m_pSender->flush(c_nPatience));
    QCOMPARE(headText(), roaming::outgoingText(bytes).value_or("none"));
    const auto all = revisions();
    QCOMPARE(all.size(), 3);
    QVERIFY(all[1].bAside && all[1].bResolved);
}

void tst_roamingsender::aMissingFileIsNoDeletion()
{
    m_pDesk->write(CTestDesk::user("first"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    QVERIFY(QFile::remove(m_pDesk->livePath()));
    m_pSender->wake();
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::NotWhole, c_nPatience);
    QCOMPARE(revisions().size(), 1);
}

void tst_roamingsender::anotherMachinesSaveIsAConflict()
{
    m_pDesk->write(CTestDesk::user("first"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    CTestDesk other;
    QCOMPARE(roaming::prepare(other.desk(), storeOn(m_pServer), c_nPatience).result,
             roaming::PrepareResult::Taken);
    other.write(CTestDesk::user("of the other"));
    roaming::CMemoryStore store(m_pServer);
    QCOMPARE(roaming::send(other.desk(), store).result, roaming::SendResult::Sent);
    save(CTestDesk::user("of this one"));
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::Conflict, c_nPatience);
    QCOMPARE(m_pSender->status().nHead, 2);
    QCOMPARE(revisions().size(), 3);
    QVERIFY(revisions().first().bAside);
}

// Nothing is to be sent, and nothing but the head tells.
void tst_roamingsender::aRewoundServerIsTold()
{
    m_pDesk->write(CTestDesk::user("first"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    m_pSender.reset();
    m_pServer = std::make_shared<roaming::CMemoryServer>();
    start();
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::Behind, c_nPatience);
    QCOMPARE(revisions().size(), 0);
}

void tst_roamingsender::aSecondSenderIsBusy()
{
    m_pDesk->write(CTestDesk::user("first"));
    start();
    QVERIFY(m_pSender->flush(c_nPatience));
    CSender second(m_pDesk->desk(), storeOn(m_pServer), c_times);
    QTRY_COMPARE_WITH_TIMEOUT(second.status().state, SenderState::Busy, c_nPatience);
    m_pSender.reset();
    QTRY_COMPARE_WITH_TIMEOUT(second.status().state, SenderState::InStep, c_nPatience);
}

void tst_roamingsender::aRefusalIsTold_data()
{
    QTest::addColumn<int>("cause");
    QTest::newRow("schema") << static_cast<int>(StoreCause::OtherSchema);
    QTest::newRow("rights") << static_cast<int>(StoreCause::Refused);
    QTest::newRow("quota") << static_cast<int>(StoreCause::Quota);
}

void tst_roamingsender::aRefusalIsTold()
{
    QFETCH(int, cause);
    m_pServer->fail({ static_cast<StoreCause>(cause), "for the test" });
    m_pDesk->write(CTestDesk::user("first"));
    start();
    QTRY_COMPARE_WITH_TIMEOUT(static_cast<int>(m_pSender->status().error.cause), cause,
                              c_nPatience);
    QCOMPARE(m_pSender->status().error.strDetail, QString("for the test"));
}

void tst_roamingsender::theListenerHearsOfEveryChange()
{
    std::mutex mutex;
    QVector<SenderState> heard;
    m_pServer->fail({ StoreCause::Away, "for the test" });
    start({}, [&](const SenderStatus& status) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (heard.isEmpty() || heard.last() != status.state) {
            heard.append(status.state);
        }
    });
    save(CTestDesk::user("first"));
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::Waiting, c_nPatience);
    m_pServer->fail({});
    QTRY_COMPARE_WITH_TIMEOUT(m_pSender->status().state, SenderState::InStep, c_nPatience);
    m_pSender.reset();
    QCOMPARE(heard, QVector<SenderState>({ SenderState::Waiting, SenderState::InStep }));
}

void tst_roamingsender::pausesGrow()
{
    const roaming::SenderTimes times;
    QVector<int> pauses;
    for (int i = 1; i < 9; ++i) {
        pauses.append(roaming::pauseAfter(i, times));
    }
    QCOMPARE(pauses, QVector<int>({ 1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000 }));
    QCOMPARE(roaming::pauseAfter(1000000, times), 60000);
}

QTEST_GUILESS_MAIN(tst_roamingsender)
#include "tst_roamingsender.moc"
