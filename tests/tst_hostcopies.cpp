#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

// The host and the dated copies: list, show, compare, restore, recover.
class tst_hostcopies : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void copiesAreListedWithWhatChangedSince();
    void aCopyIsShown();
    void filesAreComparedByMeaning();
    void theFirstDifferencesAreShownUnlessAllAreAskedFor();
    void copiesAreCompared();
    void aCopyIsRestoredAndNothingLost();
    void aDryRunRestoresNothing();
    void aRestoreOnAFullDiskLosesNothing();
    void aDamagedFileIsNotReplacedByARestore();
    void recoveryTellsWhatItDid();
    void recoveryWithLossHasAStatusOfItsOwn();
    void recoveryWithoutCopyEndsAsTheFileIs();
    void aFileOfAnotherRootIsDamagedEverywhere_data();
    void aFileOfAnotherRootIsDamagedEverywhere();

private:
    Outcome tool(const QStringList& arguments);
    void writeCopy(const char* pszDate, const QByteArray& content);
    QStringList filesBeside(const QString& pattern);
};

Outcome tst_hostcopies::tool(const QStringList& arguments)
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostcopies::writeCopy(const char* pszDate, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_" + pszDate, content);
}

QStringList tst_hostcopies::filesBeside(const QString& pattern)
{
    return QDir(userDir()).entryList({ pattern }, QDir::Files);
}

void tst_hostcopies::copiesAreListedWithWhatChangedSince()
{
    QByteArray changed = readFile(SAMPLE_USER "/indexUserConfig.xml");
    writeLive(changed);
    changed.replace("tickRestoreDay=\"2\"", "tickRestoreDay=\"3\"").replace("IF2406", "IF2409");
    writeCopy("20240131", changed);
    writeCopy("20240201", "<a");
    const Outcome outcome = tool({ "snapshot", "list" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QRegularExpression("2024-02-01 +2 +damaged +.*:1:3: ")));
    QVERIFY(outcome.strOut.contains(
        QRegularExpression("2024-01-31 +[0-9]+ +whole +options 1, stocks 2\n")));
}

void tst_hostcopies::filesAreComparedByMeaning()
{
    QByteArray changed = readFile(SAMPLE_USER "/indexUserConfig.xml");
    changed.replace("left=\"-960\"", "left=\"-840\"").replace("sample-only", "secret");
    changed.replace("is_main=\"1\"", "is_main = '+1'"); // the same value
    writeLive(changed);
    const QString strSample = SAMPLE_USER "/indexUserConfig.xml";
    const Outcome same = runTool({ "diff", strSample, strSample });
    QCOMPARE(same.nStatus, 0);
    QVERIFY(same.strOut.startsWith("\nNo differences between "));
    const Outcome differs = runTool({ "diff", strSample, livePath() });
    QCOMPARE(differs.nStatus, 1);
    QVERIFY(differs.strOut.contains(": layouts 1, options 1\n"));
    QVERIFY(differs.strOut.contains(
        QRegularExpression("layouts  IndexLayout/LayoutWindow\\[103\\]@left +-960 +-840\n")));
    QVERIFY(differs.strOut.contains("(hidden)") && !differs.strOut.contains("secret"));
    QVERIFY(runTool({ "diff", "--show-secrets", strSample, livePath() }).strOut.contains("secret"));
    QCOMPARE(runTool({ "diff", strSample, userDir() + "/missing" }).nStatus, 3);
    writeLive("<a");
    QCOMPARE(runTool({ "diff", strSample, livePath() }).nStatus, 4);
}

void tst_hostcopies::theFirstDifferencesAreShownUnlessAllAreAskedFor()
{
    QByteArray stocks;
    for (int i = 0; i < 300; ++i) {
        stocks += "<Stock market='SH' code='" + QByteArray::number(i) + "' name='n'/>";
    }
    const QByteArray file = "<ICUserConfigFile><CustomStock><Customs><Custom "
                            "type='1'>%</Custom></Customs></CustomStock></ICUserConfigFile>";
    writeLive(QByteArray(file).replace('%', ""));
    const QString strOther = userDir() + "/other.xml";
    writeFile(strOther, QByteArray(file).replace('%', stocks));
    const auto shown = [&](const QStringList& more) {
        const QString strOut = runTool(QStringList { "diff", livePath(), strOther } + more).strOut;
        return qMakePair(strOut.count("/Stock["), strOut.contains(": stocks 300; 100 more, "));
    };
    QCOMPARE(shown({}), qMakePair(200, true));
    QCOMPARE(shown({ "--all" }), qMakePair(300, false));
    QCOMPARE(shown({ "--json" }), qMakePair(300, false));
}

void tst_hostcopies::copiesAreCompared()
{
    writeCopy("20240131", "<ICUserConfigFile><Other a=\"1\"/></ICUserConfigFile>");
    writeCopy("20240201", "<ICUserConfigFile><Other a=\"1\"/></ICUserConfigFile>");
    writeLive("<ICUserConfigFile><Other a=\"2\"/></ICUserConfigFile>");
    const auto diff = [&](const QStringList& dates) {
        return tool(QStringList { "snapshot", "diff" } + dates).nStatus;
    };
    QCOMPARE(diff({ "20240131", "2024-02-01" }), 0);
    QCOMPARE(diff({ "2024-02-01" }), 1);
    QCOMPARE(diff({ "2024-02-02" }), 1);
    QCOMPARE(diff({}), 2);
}

void tst_hostcopies::aCopyIsShown()
{
    writeCopy("20240131", readFile(SAMPLE_USER "/indexUserConfig.xml"));
    const Outcome outcome = tool({ "snapshot", "show", "2024-01-31", "stocks" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QStringLiteral("600519  贵州茅台")));
    QVERIFY(!outcome.strOut.contains("Options"));
    QCOMPARE(tool({ "snapshot", "show", "2024-01-30" }).nStatus, 1);
}

void tst_hostcopies::aCopyIsRestoredAndNothingLost()
{
    const QByteArray copy = readFile(SAMPLE_USER "/indexUserConfig.xml");
    const QByteArray live = "<ICUserConfigFile/>";
    writeCopy("20240131", copy);
    writeLive(live);
    const Outcome outcome = tool({ "snapshot", "restore", "2024-01-31" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr, QString());
    QVERIFY(outcome.strOut.contains("stocks 4"));
    QCOMPARE(readFile(livePath()), copy);
    QVERIFY(tool({ "snapshot", "restore", "2024-01-31" }).strOut.contains("is the same already"));
    QCOMPARE(tool({ "undo" }).nStatus, 0);
    QCOMPARE(readFile(livePath()), live);
}

void tst_hostcopies::aDryRunRestoresNothing()
{
    writeCopy("20240131", readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeLive("<ICUserConfigFile/>");
    const Outcome outcome = tool({ "snapshot", "restore", "2024-01-31", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("would bring back "));
    QCOMPARE(readFile(livePath()), QByteArray("<ICUserConfigFile/>"));
    QCOMPARE(filesBeside("*").size(), 1);
}

void tst_hostcopies::aRestoreOnAFullDiskLosesNothing()
{
    const QByteArray live = "<ICUserConfigFile/>";
    writeCopy("20240131", readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeLive(live);
    const CFileSizeLimit limit(100); // inherited by the tool
    const Outcome outcome = tool({ "snapshot", "restore", "2024-01-31" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strErr.contains("the save failed: File too large: " + userDir() + "/History/"));
    QCOMPARE(readFile(livePath()), live);
}

void tst_hostcopies::aDamagedFileIsNotReplacedByARestore()
{
    writeCopy("20240131", "<ICUserConfigFile/>");
    writeLive("<a");
    QCOMPARE(tool({ "snapshot", "restore", "2024-01-31" }).nStatus, 4);
    QCOMPARE(readFile(livePath()), QByteArray("<a"));
}

void tst_hostcopies::recoveryTellsWhatItDid()
{
    const QStringList arguments { "--config-dir", userDir(), "recover" };
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(strCopy, "<ICUserConfigFile/>");
    QVERIFY(runTool(arguments + QStringList("--dry-run"))
                .strOut.contains("would bring back " + strCopy));
    QVERIFY(!QFile::exists(livePath()));
    const Outcome outcome = runTool(arguments);
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.startsWith(livePath() + ": No such file or directory\nbrought back "
                                      + strCopy + "\n  now: 19 bytes, "));
    QCOMPARE(runTool(arguments).strOut, livePath() + ": whole, nothing to recover\n");
}

void tst_hostcopies::recoveryWithLossHasAStatusOfItsOwn()
{
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(strCopy, "<ICUserConfigFile/>");
    QFile copy(strCopy);
    QVERIFY(copy.open(QIODevice::ReadWrite));
    QVERIFY(copy.setFileTime(QDateTime(QDate(2024, 1, 31), QTime(9, 0)),
                             QFileDevice::FileModificationTime));
    writeLive("<damaged");
    const Outcome outcome = runTool({ "--config-dir", userDir(), "recover" });
    QCOMPARE(outcome.nStatus, 6);
    QVERIFY(outcome.strOut.contains("lost: what was changed after that copy was saved"));
}

void tst_hostcopies::recoveryWithoutCopyEndsAsTheFileIs()
{
    writeCopy("20240131", "<html/>");
    Outcome outcome = tool({ "recover" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strErr.contains(livePath() + ": No such file or directory; there is no whole"));
    writeLive("<html>\n</html>");
    outcome = tool({ "recover" });
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY(outcome.strErr.contains(livePath() + ":1:1: the root is 'html'"));
    QVERIFY(outcome.strErr.contains("; there is no whole dated copy"));
    QCOMPARE(readFile(livePath()), QByteArray("<html>\n</html>"));
}

void tst_hostcopies::aFileOfAnotherRootIsDamagedEverywhere_data()
{
    QTest::addColumn<QStringList>("words");
    for (const char* pszWords : { "check", "show", "report --dry-run --out x.html", "template list",
                                  "option set tickRestoreDay=3", "template save A", "layout show",
                                  "snapshot show 2024-01-31" }) {
        QTest::newRow(pszWords) << QString(pszWords).split(' ');
    }
}

void tst_hostcopies::aFileOfAnotherRootIsDamagedEverywhere()
{
    QFETCH(QStringList, words);
    writeLive("<html>\n</html>");
    writeCopy("20240131", "<html>\n</html>");
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY((outcome.strOut + outcome.strErr)
                .contains(":1:1: the root is 'html' instead of 'ICUserConfigFile'"));
    QCOMPARE(readFile(livePath()), QByteArray("<html>\n</html>"));
}

QTEST_GUILESS_MAIN(tst_hostcopies)
#include "tst_hostcopies.moc"
