#include "desks.h"

using namespace roaming;

// What goes from desk to desk, who may ask for it, and what is refused.
class tst_roamcommands : public CDesksTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whatIsSentIsWhatLeavesTheFile();
    void aNewMachineTakesWhatTheServerHas();
    void statusTellsWhatThereIsToDo_data();
    void statusTellsWhatThereIsToDo();
    void whatIsThereAlreadyIsNotSentAgain();
    void aHeldSectionTravelsByNameOnly();
    void twoMayHaveChangedAHeldSection();
    void aRestoreBringsTheLayoutsOfTheLastScreens();
    void settingsTravel();
    void noPasswordReachesTheServer();
    void onlyWhoeverAdministratesThins();
    void theDeskReadsAndChangesWithAudit();
    void othersAreRefused_data();
    void othersAreRefused();
    void aClientInTouchIsLeftAlone();
    void whatIsNoRevisionIsRefused_data();
    void whatIsNoRevisionIsRefused();
    void aServerThatDoesNotKnowThisMachineIsNotWrittenTo();
    void aSecondInitFindsNothingToDo();
};

void tst_roamcommands::init()
{
    initDesks();
}

void tst_roamcommands::whatIsSentIsWhatLeavesTheFile()
{
    must("a", "roam push");
    QCOMPARE(text(1), sent("a"));
    QCOMPARE(revisions().size(), 1);
    QCOMPARE(revisions().first().strAuthor, QString("trader1"));
}

// Also the file before is kept, which was somebody's first attempt there.
void tst_roamcommands::aNewMachineTakesWhatTheServerHas()
{
    must("a", "roam push --screens 1920x1080+0+0");
    const QByteArray before = readFile(TEST_DATA "/golden/small.xml");
    writeFile(inspect::livePath(deskDir("b")), before);
    must("b", "roam pull --screens 1920x1080+0+0");
    QCOMPARE(sent("b"), sent("a"));
    must("b", "undo");
    QCOMPARE(live("b"), before);
}

void tst_roamcommands::statusTellsWhatThereIsToDo_data()
{
    QTest::addColumn<QStringList>("steps"); // "desk: words"
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("base");
    QTest::addColumn<int>("head");
    QTest::newRow("never sent") << QStringList() << 1 << "unsent" << 0 << 0;
    QTest::newRow("sent") << QStringList { "a: roam push" } << 0 << "sent" << 1 << 1;
    QTest::newRow("changed") << QStringList { "a: roam push", "a: option set tickRestoreDay=7" }
                             << 1 << "unsent" << 1 << 1;
    QTest::newRow("newer") << QStringList { "a: roam push", "b: roam pull",
                                            "b: option set tickRestoreDay=7", "b: roam push" }
                           << 1 << "sent" << 1 << 2;
}

void tst_roamcommands::statusTellsWhatThereIsToDo()
{
    QFETCH(QStringList, steps);
    QFETCH(int, status);
    for (const QString& step : steps) {
        must(step.section(": ", 0, 0), step.section(": ", 1));
    }
    const QJsonObject told = answer("a", "roam status");
    const QJsonObject roaming = told["roaming"].toObject();
    QCOMPARE(told["status"].toInt(), status);
    QTEST(roaming["file"].toString(), "file");
    QTEST(roaming["base"].toInt(), "base");
    QTEST(roaming["head"].toInt(), "head");
    QCOMPARE(roaming["server"], QJsonValue("ok"));
}

void tst_roamcommands::whatIsThereAlreadyIsNotSentAgain()
{
    must("a", "roam push");
    must("a", "roam push");
    // A note that was lost is no second save.
    QVERIFY(QFile::remove(deskDir("a") + '/' + c_szStateFile));
    must("a", "roam push");
    QCOMPARE(revisions().size(), 1);
    QCOMPARE(answer("a", "roam status")["status"].toInt(), 0);
}

void tst_roamcommands::aHeldSectionTravelsByNameOnly()
{
    const QByteArray strategy = "<strategyTrade><s name=\"n\"/></strategyTrade>";
    writeFile(inspect::livePath(deskDir("a")),
              live("a").replace("</ICUserConfigFile>", strategy + "</ICUserConfigFile>"));
    must("a", "roam push");
    QVERIFY(!text(1).contains("name=\"n\""));
    must("b", "roam pull");
    must("b", "roam pull --only strategyTrade", 1);
    must("a", "roam push --only strategyTrade");
    must("b", "roam pull");
    QVERIFY(!live("b").contains("name=\"n\""));
    must("b", "roam pull --only strategyTrade");
    QVERIFY(live("b").contains("name=\"n\""));
    const QByteArray changed = live("b").replace("name=\"n\"", "name=\"m\"");
    writeFile(inspect::livePath(deskDir("b")), changed);
    must("b", "roam push --only strategyTrade");
    must("a", "roam pull --only strategyTrade");
    QVERIFY(live("a").contains("name=\"m\""));
    QCOMPARE(tool("b", "roam pull --only drawGraph").nStatus, 2);
    must("b", "roam push --only interfaceTrade", 1);
}

// Who was overtaken is told each time, and it hinders nothing else.
void tst_roamcommands::twoMayHaveChangedAHeldSection()
{
    const auto write = [this](const QString& desk, const char* pszName) {
        const QByteArray strategy
            = QByteArray("<strategyTrade><s name=\"") + pszName + "\"/></strategyTrade>";
        writeFile(inspect::livePath(deskDir(desk)),
                  live("a").replace("</ICUserConfigFile>", strategy + "</ICUserConfigFile>"));
    };
    write("b", "n");
    must("b", "roam push --only strategyTrade");
    write("a", "m");
    must("a", "roam push --only strategyTrade", 1);
    must("a", "roam push --only strategyTrade", 1);
    must("a", "roam push");
    QCOMPARE(answer("a", "roam status")["status"].toInt(), 0);
    must("a", "roam push --only strategyTrade --force");
    must("a", "roam push --only strategyTrade");
}

void tst_roamcommands::aRestoreBringsTheLayoutsOfTheLastScreens()
{
    const QString strScreens = " --screens 1920x1080+0+0";
    must("a", "roam push" + strScreens);
    const QByteArray before = sent("a");
    writeFile(inspect::livePath(deskDir("a")),
              live("a").replace("width=\"1280\"", "width=\"1111\""));
    must("a", "roam push" + strScreens);
    QVERIFY(sent("a") != before);
    must("a", "roam restore 1");
    QCOMPARE(sent("a"), before);
}

void tst_roamcommands::settingsTravel()
{
    must("a", "setting set theme dark");
    must("a", "roam push");
    must("b", "roam pull");
    QCOMPARE(tool("b", "setting get theme").strOut, QString("dark\n"));
    must("b", "setting unset theme");
    QCOMPARE(answer("b", "roam status")["roaming"].toObject()["unsentSettings"].toInt(), 1);
    QCOMPARE(tool("b", "roam push --dry-run").strOut, QString("settings that would be sent: 1\n"));
    must("b", "roam push");
    QCOMPARE(answer("b", "roam status")["status"].toInt(), 0);
    QCOMPARE(answer("a", "roam status")["roaming"].toObject()["newSettings"].toInt(), 1);
    QCOMPARE(answer("a", "roam status")["status"].toInt(), 1);
    QVERIFY(tool("a", "roam pull --dry-run")
                .strOut.startsWith("settings that are newer on the server: 1\n"));
    must("a", "roam pull");
    QCOMPARE(tool("a", "setting get theme").nStatus, 1);
}

void tst_roamcommands::noPasswordReachesTheServer()
{
    const auto having = [this](const char* pszText) {
        return asked(QStringLiteral("select count(*)::text from roaming.part where position("
                                    "'%1'::bytea in content) > 0")
                         .arg(pszText))
            .first()
            .toInt();
    };
    QVERIFY(live("a").contains("sample-only"));
    must("a", "roam push");
    QCOMPARE(having("reportRefreshTime"), 1);
    QCOMPARE(having("sample-only"), 0);
    must("a", "option set tickRestoreDay=7");
    must("a", "roam push");
    must("a", "roam restore 1");
    QVERIFY(live("a").contains("sample-only"));
}

void tst_roamcommands::onlyWhoeverAdministratesThins()
{
    must("a", "roam push");
    for (const char* pszLogin : { "trader1", "helper" }) {
        QCOMPARE(tool("a", "roam thin", pszLogin).nStatus, 3);
    }
    asked("update roaming.revision set written_at = now() - interval '200 days'");
    must("a", "option set tickRestoreDay=7");
    must("a", "roam push");
    asked("update roaming.revision set written_at = now() - interval '200 days'");
    must("a", "option set tickRestoreDay=8");
    must("a", "roam push");
    const auto gone = [this](const char* pszWords) {
        return answer("a", pszWords, "keeper")["thinned"].toObject()["revisions"].toInt();
    };
    QCOMPARE(gone("roam thin --dry-run"), 1);
    QCOMPARE(tool("a", "roam show 1").nStatus, 0);
    QCOMPARE(gone("roam thin"), 1);
    QCOMPARE(gone("roam thin"), 0);
    QCOMPARE(tool("a", "roam show 1").nStatus, 1);
    QCOMPARE(tool("a", "roam show 2").nStatus, 0);
    QVERIFY(tool("a", "roam history").strOut.contains("thinned"));
}

void tst_roamcommands::theDeskReadsAndChangesWithAudit()
{
    must("a", "roam push");
    must("a", "option set tickRestoreDay=7");
    must("a", "roam push");
    const QByteArray before = live("a");
    QCOMPARE(answer("b", "roam diff 1 2 --user trader1", "helper")["changes"].toArray().size(), 1);
    QCOMPARE(tool("b", "roam restore 1 --user trader1", "helper").nStatus, 0);
    QCOMPARE(revisions().first().strAuthor, QString("helper"));
    QCOMPARE(asked("select actor || ' ' || reason from roaming.audit where reason = 'restore 1'"),
             QStringList("helper restore 1"));
    QVERIFY(QDir(deskDir("b")).isEmpty());
    QCOMPARE(live("a"), before);
    must("a", "roam pull");
    QCOMPARE(sent("a"), text(1));
}

void tst_roamcommands::othersAreRefused_data()
{
    QTest::addColumn<QString>("words");
    for (const char* pszWords : { "history", "show 1", "diff 1", "asides", "restore 1" }) {
        QTest::newRow(pszWords) << QStringLiteral("roam %1 --user trader1").arg(pszWords);
    }
    QTest::newRow("init") << "roam init";
}

void tst_roamcommands::othersAreRefused()
{
    QFETCH(QString, words);
    must("a", "roam push");
    const Outcome outcome = tool("b", words, "trader2");
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("the server refuses"), qPrintable(outcome.strErr));
    QCOMPARE(revisions().size(), 1);
}

void tst_roamcommands::aClientInTouchIsLeftAlone()
{
    must("a", "roam push");
    must("a", "option set tickRestoreDay=7");
    CStateLock client(deskDir("a"));
    QCOMPARE(client.take(0), mend::LockState::Taken);
    for (const char* pszWords : { "roam push --wait 0", "roam pull", "roam restore 1 --wait 0" }) {
        must("a", pszWords, 5);
    }
    QCOMPARE(revisions().size(), 1);
}

void tst_roamcommands::whatIsNoRevisionIsRefused_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("no number") << "roam show x" << 2;
    QTest::newRow("zero") << "roam show 0" << 2;
    QTest::newRow("not there") << "roam show 9" << 1;
    QTest::newRow("no part") << "roam show 1 nothing" << 2;
    QTest::newRow("the second") << "roam diff 1 9" << 1;
    QTest::newRow("restored") << "roam restore 9" << 1;
    QTest::newRow("no aside") << "roam resolve 1 --take mine" << 1;
}

void tst_roamcommands::whatIsNoRevisionIsRefused()
{
    QFETCH(QString, words);
    QFETCH(int, status);
    must("a", "roam push");
    const QJsonObject told = answer("a", words);
    QCOMPARE(told["status"].toInt(), status);
    QVERIFY(told["error"].isObject());
    QCOMPARE(revisions().size(), 1);
}

// Set back to what it was before, or another one.
void tst_roamcommands::aServerThatDoesNotKnowThisMachineIsNotWrittenTo()
{
    must("a", "roam push");
    asked("update roaming.revision set sha256 = sha256('another')");
    QCOMPARE(tool("a", "roam status").nStatus, 1);
    QCOMPARE(tool("a", "roam push").nStatus, 1);
    QCOMPARE(revisions().size(), 1);
    m_strDatabase = CPostgresServer::shared().makeDatabase();
    const auto isRefused = [this](const char* pszWords) {
        const Outcome outcome = tool("a", pszWords);
        return outcome.nStatus == 1 && outcome.strErr.contains("does not know");
    };
    QVERIFY(isRefused("roam push"));
    must("a", "option set tickRestoreDay=7");
    for (const char* pszWords :
         { "roam push", "roam pull", "roam pull --dry-run", "roam status" }) {
        QVERIFY2(isRefused(pszWords), pszWords);
    }
    QCOMPARE(revisions().size(), 0);
    // The way on is to begin anew, with either side.
    QVERIFY(QFile::remove(deskDir("a") + '/' + c_szStateFile));
    must("a", "roam push");
    QCOMPARE(text(1), sent("a"));
}

void tst_roamcommands::aSecondInitFindsNothingToDo()
{
    m_strDatabase = CPostgresServer::shared().makeEmptyDatabase();
    const auto tables
        = [this] { return answer("a", "roam init", "postgres")["tables"].toObject(); };
    must("a", "roam push", 3);
    const QJsonObject first = tables();
    QCOMPARE(first["from"].toInt(), 0);
    QVERIFY(first["to"].toInt() > 0);
    QCOMPARE(tables()["from"], first["to"]);
    QCOMPARE(answer("a", "roam thin --dry-run", "keeper")["thinned"].toObject()["bytes"].toInt(),
             0);
}

QTEST_GUILESS_MAIN(tst_roamcommands)
#include "tst_roamcommands.moc"
