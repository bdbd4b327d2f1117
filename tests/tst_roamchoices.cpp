#include "desks.h"

using namespace roaming;

// Two sides that have changed, and revisions that come back.
class tst_roamchoices : public CDesksTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void anAsideIsChosen_data();
    void anAsideIsChosen();
    void aForcedPushIsTheNewest();
    void whatChangedSinceAnAsideStays();
    void aRevisionComesBackAsANewOne();
    void aFileWithUnsentChangesDoesNotFollow();
    void aDryRunChangesNothing_data();
    void aDryRunChangesNothing();
    void everyExampleWorks_data();
    void everyExampleWorks();
};

void tst_roamchoices::init()
{
    initDesks();
}

void tst_roamchoices::anAsideIsChosen_data()
{
    QTest::addColumn<QString>("take");
    QTest::addColumn<int>("chosen"); // the revision whose text is everywhere then
    QTest::addColumn<int>("revisions");
    QTest::newRow("mine") << "mine" << 3 << 4;
    QTest::newRow("theirs") << "theirs" << 2 << 3;
}

void tst_roamchoices::anAsideIsChosen()
{
    QFETCH(QString, take);
    QFETCH(int, chosen);
    makeConflict();
    const QByteArray wanted = text(chosen);
    const QByteArray before = live("b");
    QCOMPARE(answer("b", "roam asides")["revisions"].toArray().size(), 1);
    must("b", "roam resolve 3 --take " + take);
    QCOMPARE(sent("b"), wanted);
    must("a", "roam pull");
    QCOMPARE(sent("a"), wanted);
    QTEST(revisions().size(), "revisions");
    QCOMPARE(asked("select resolved from roaming.revision where number = 3"), QStringList(take));
    for (const char* pszDesk : { "a", "b" }) {
        QCOMPARE(answer(pszDesk, "roam status")["status"].toInt(), 0);
    }
    if (take == "theirs") {
        must("b", "undo");
        QCOMPARE(live("b"), before);
    }
}

void tst_roamchoices::aForcedPushIsTheNewest()
{
    makeConflict();
    must("b", "roam push --force");
    QCOMPARE(revisions().first().nBase, qint64(2));
    QCOMPARE(text(4), sent("b"));
    must("b", "roam push --force");
    QCOMPARE(revisions().size(), 4);
    must("a", "roam pull");
    QCOMPARE(sent("a"), sent("b"));
}

void tst_roamchoices::whatChangedSinceAnAsideStays()
{
    makeConflict();
    must("b", "option set tickRestoreDay=9");
    const QByteArray before = live("b");
    must("b", "roam resolve 3 --take theirs");
    QCOMPARE(live("b"), before);
}

void tst_roamchoices::aRevisionComesBackAsANewOne()
{
    must("a", "roam push");
    must("a", "option set tickRestoreDay=7");
    must("a", "roam push");
    must("a", "roam restore 1");
    QCOMPARE(text(3), text(1));
    QCOMPARE(revisions().first().strReason, QString("restore 1"));
    QCOMPARE(sent("a"), text(1));
    QCOMPARE(answer("a", "roam status")["status"].toInt(), 0);
}

void tst_roamchoices::aFileWithUnsentChangesDoesNotFollow()
{
    must("a", "roam push");
    must("a", "option set tickRestoreDay=7");
    const QByteArray before = live("a");
    must("a", "roam restore 1");
    QCOMPARE(live("a"), before);
    QCOMPARE(revisions().size(), 2);
}

void tst_roamchoices::aDryRunChangesNothing_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("told");
    QTest::newRow("push") << "roam push"
                          << "would be sent";
    QTest::newRow("pull") << "roam pull"
                          << "both have changed";
    QTest::newRow("restore") << "roam restore 1"
                             << "would make a new revision of revision 1";
    QTest::newRow("mine") << "roam resolve 3 --take mine"
                          << "would take revision 3";
    QTest::newRow("theirs") << "roam resolve 3 --take theirs"
                            << "would take revision 2";
}

void tst_roamchoices::aDryRunChangesNothing()
{
    QFETCH(QString, words);
    makeConflict();
    const auto all = [this] {
        const QStringList there = asked("select r::text from roaming.revision r order by number");
        return QByteArrayList { live("b"), readFile(deskDir("b") + '/' + c_szStateFile),
                                there.join('\n').toUtf8() };
    };
    const QByteArrayList before = all();
    const Outcome outcome = tool("b", words + " --dry-run");
    QCOMPARE(all(), before);
    QFETCH(QString, told);
    QVERIFY2(outcome.strOut.contains(told), qPrintable(outcome.strOut + outcome.strErr));
    const QJsonObject json = answer("b", words + " --dry-run");
    QVERIFY(json["dryRun"].toBool());
}

void tst_roamchoices::everyExampleWorks_data()
{
    QTest::addColumn<QString>("words");
    const QString strPage = runTool({ "manual" }).strOut.remove('\\');
    QRegularExpressionMatchIterator it
        = QRegularExpression("\\.EX\nindexuserctl (roam .*)\n\\.EE\n").globalMatch(strPage);
    while (it.hasNext()) {
        const QString strWords = it.next().captured(1);
        QTest::newRow(qPrintable(strWords)) << strWords;
    }
}

// Some have something to tell, and none fails.
void tst_roamchoices::everyExampleWorks()
{
    QFETCH(QString, words);
    makeConflict();
    const bool bOwner = words.contains("init") || words.contains("thin");
    const Outcome outcome = tool("b", words, bOwner ? "postgres" : "trader1");
    QCOMPARE(outcome.strErr, QString());
    QVERIFY(outcome.nStatus <= 1);
}

QTEST_GUILESS_MAIN(tst_roamchoices)
#include "tst_roamchoices.moc"
