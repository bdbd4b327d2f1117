#include "librarytest.h"
#include "toolrun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

// What the host prints for programs, browsers, shells and terminals.
class tst_hostanswers : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyReadingCommandSpeaksJson_data();
    void everyReadingCommandSpeaksJson();
    void theSameDocumentGivesTheSameBytes();
    void oneOptionIsPrintedBare();
    void checkNamesLineAndColumn();
    void checkSumsUpManyFiles();
    void checkEndsWithTheWorst_data();
    void checkEndsWithTheWorst();
    void aDrawingIsOneImage();
    void aDrawingOfATemplateThatIsNotThereFails();
    void aDrawingTellsWhatBecameOfALayout_data();
    void aDrawingTellsWhatBecameOfALayout();
    void theReportStandsAlone();
    void aReportTellsWhatChanged();
    void aReportTellsWhatLiesBesideTheFile();
    void colourIsForTerminals();
    void progressIsForTerminals();
    void completion_data();
    void completion();
    void completionOfEntriesAndDates_data();
    void completionOfEntriesAndDates();
    void bashCompletesWhatTheToolTells();
    void theManPageTellsWhatHelpTells();

private:
    static Outcome tool(const QStringList& arguments);
    Outcome onTerminal(const QString& arguments, const QStringList& environment = {});
};

Outcome tst_hostanswers::tool(const QStringList& arguments)
{
    return runTool(QStringList { "--config-dir", SAMPLE_USER } + arguments);
}

Outcome tst_hostanswers::onTerminal(const QString& arguments, const QStringList& environment)
{
    const QString strCommand = QStringLiteral(TOOL " --config-dir " SAMPLE_USER " ") + arguments;
    return runProgram("script", { "-qec", strCommand, "/dev/null" },
                      QStringList { "TERM=xterm" } + environment, userDir());
}

void tst_hostanswers::everyReadingCommandSpeaksJson_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("table");
    QTest::addColumn<int>("rows");
    QTest::newRow("show") << QStringList { "show" } << "options" << 33;
    QTest::newRow("option list") << QStringList { "option", "list" } << "options" << 33;
    QTest::newRow("option get") << QStringList { "option", "get", "oaUser" } << "options" << 1;
    QTest::newRow("stock list") << QStringList { "stock", "list" } << "lists" << 4;
    QTest::newRow("template list") << QStringList { "template", "list" } << "templates" << 3;
    QTest::newRow("trade templates")
        << QStringList { "template", "list", "--trade" } << "templates" << 1;
    QTest::newRow("layout show") << QStringList { "layout", "show" } << "windows" << 4;
    QTest::newRow("trade layout") << QStringList { "layout", "show", "--trade" } << "windows" << 2;
    QTest::newRow("template") << QStringList { "layout", "show", "--template", "早盘" } << "windows"
                              << 2;
    QTest::newRow("snapshot list") << QStringList { "snapshot", "list" } << "snapshots" << 0;
    QTest::newRow("diff") << QStringList { "diff", SAMPLE_USER "/indexUserConfig.xml",
                                           SAMPLE_USER "/indexUserConfig.xml" }
                          << "changes" << 0;
    QTest::newRow("check") << QStringList { "check" } << "files" << 1;
    QTest::newRow("sector list") << QStringList { "sector", "list" } << "sectors" << 2;
}

void tst_hostanswers::everyReadingCommandSpeaksJson()
{
    QFETCH(QStringList, words);
    QFETCH(QString, table);
    QFETCH(int, rows);
    const Outcome outcome = tool(words + QStringList("--json"));
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    const QJsonObject object = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    QCOMPARE(object["schema"].toInt(), 2);
    QVERIFY(object[table].isArray());
    QCOMPARE(object[table].toArray().size(), rows);
    QVERIFY(!outcome.strOut.contains("sample-only"));
}

void tst_hostanswers::theSameDocumentGivesTheSameBytes()
{
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QByteArray first;
    for (const char* pszValue : { "3", "2", "3", "2" }) {
        const QString strSet = QStringLiteral("tickRestoreDay=%1").arg(pszValue);
        QCOMPARE(runTool({ "--config-dir", userDir(), "option", "set", strSet }).nStatus, 0);
        if (first.isEmpty()) {
            first = readFile(livePath());
        } else if (QByteArray(pszValue) == "3") {
            QCOMPARE(readFile(livePath()), first);
        }
    }
}

void tst_hostanswers::oneOptionIsPrintedBare()
{
    QCOMPARE(tool({ "option", "get", "oaTableName" }).strOut, QStringLiteral("研究报告\n"));
    QCOMPARE(tool({ "option", "get", "oaPassword" }).strOut, QString("(hidden)\n"));
    QCOMPARE(tool({ "option", "get", "oaPassword", "--show-secrets" }).strOut,
             QString("sample-only\n"));
}

void tst_hostanswers::checkNamesLineAndColumn()
{
    const QString strFile = TEST_DATA "/load/word-booleans.xml";
    const Outcome outcome = tool({ "check", strFile });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY(outcome.strOut.startsWith(strFile + ":1:1: changed: DefaultLayout is missing: "));
    QVERIFY(outcome.strOut.contains('\n' + strFile + ":2:18: changed: "));
    QVERIFY(outcome.strOut.contains(
        ":3:23: changed: showGradient=\"true\" is a word and reads as 0 [word-boolean]\n"));
}

void tst_hostanswers::checkSumsUpManyFiles()
{
    writeFile(userDir() + "/damaged.xml", "<a>\n<b></a>");
    const QString strSample = SAMPLE_USER "/indexUserConfig.xml";
    const QString strFindings = TEST_DATA "/load/word-booleans.xml";
    const Outcome outcome = tool({ "check", strSample, userDir() + "/damaged.xml",
                                   userDir() + "/missing.xml", strFindings });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strOut.contains("/damaged.xml:2:"));
    QVERIFY(outcome.strOut.endsWith(
        "\n4 files: 1 in order, 1 with findings, 1 damaged, 1 unreadable\n"));
    QCOMPARE(outcome.strErr, QString());
}

void tst_hostanswers::checkEndsWithTheWorst_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("status");
    QTest::newRow("in order") << readFile(SAMPLE_USER "/indexUserConfig.xml") << 0;
    QTest::newRow("findings") << QByteArray("<ICUserConfigFile/>") << 1;
    QTest::newRow("another root") << QByteArray("<other/>") << 4;
    QTest::newRow("damaged") << QByteArray("<other") << 4;
}

void tst_hostanswers::checkEndsWithTheWorst()
{
    QFETCH(QByteArray, content);
    QFETCH(int, status);
    writeLive(content);
    QCOMPARE(tool({ "check", livePath() }).nStatus, status);
    QCOMPARE(tool({ "check", SAMPLE_USER "/indexUserConfig.xml", livePath() }).nStatus, status);
}

void tst_hostanswers::aDrawingIsOneImage()
{
    const QString strPath = userDir() + "/a.svg";
    const QStringList words { "layout", "draw", "--template", "早盘", "--out", strPath };
    QVERIFY(tool(words + QStringList("--dry-run")).strOut.startsWith("would write " + strPath));
    QVERIFY(!QFile::exists(strPath));
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 0);
    QDomDocument svg;
    QVERIFY(svg.setContent(readFile(strPath)));
    QCOMPARE(svg.documentElement().tagName(), QString("svg"));
    QVERIFY(svg.documentElement().text().contains(QStringLiteral("LayoutTemplates 早盘")));
}

void tst_hostanswers::aDrawingOfATemplateThatIsNotThereFails()
{
    const Outcome outcome = tool({ "layout", "draw", "--template", "早盆", "--out", "/dev/null" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY(outcome.strErr.contains(QStringLiteral("did you mean '早盘'?")));
}

void tst_hostanswers::aDrawingTellsWhatBecameOfALayout_data()
{
    QTest::addColumn<QString>("against");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("told");
    QTest::newRow("day") << "2024-01-31" << 0 << "against 2024-01-31: 1 changed, 0 new, 0 gone";
    QTest::newRow("file") << "Temp/a.xml" << 0 << "against Temp/a.xml: 1 changed, 0 new, 0 gone";
    QTest::newRow("template") << "早盘" << 0 << "against 早盘: 2 changed, 2 new, 0 gone";
    QTest::newRow("no day") << "2024-01-30" << 1 << "did you mean '2024-01-31'?";
    QTest::newRow("nothing") << "早盆" << 1 << "there is no date, template or file '早盆'";
    QTest::newRow("empty") << "" << 1 << "there is no date, template or file ''";
    QTest::newRow("damaged") << "sectors.json" << 4 << "sectors.json";
}

void tst_hostanswers::aDrawingTellsWhatBecameOfALayout()
{
    QFETCH(QString, against);
    QFETCH(QString, told);
    const QByteArray now = readFile(SAMPLE_USER "/indexUserConfig.xml");
    writeLive(now);
    writeFile(userDir() + "/sectors.json", "{}");
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    for (const char* pszName : { "/Temp/indexUserConfig.xml_20240131", "/Temp/a.xml" }) {
        writeFile(userDir() + pszName, QByteArray(now).replace("left=\"1960\"", "left=\"2000\""));
    }
    const Outcome outcome = runProgram(
        TOOL, { "--config-dir", ".", "layout", "draw", "--against", against, "--out", "-" }, {},
        userDir());
    QTEST(outcome.nStatus, "status");
    QVERIFY2((outcome.strOut + outcome.strErr).contains(told), qPrintable(outcome.strErr));
    const bool bMoved = outcome.strOut.contains("moved -40,+0 (was 2000,40)");
    QCOMPARE(bMoved, outcome.nStatus == 0 && against != QStringLiteral("早盘"));
}

void tst_hostanswers::theReportStandsAlone()
{
    const QString strPath = userDir() + "/a.html";
    QCOMPARE(tool({ "report", "--out", strPath }).nStatus, 0);
    const QString strHtml = QString::fromUtf8(readFile(strPath));
    for (const char* pszText : { "<!DOCTYPE html>", "贵州茅台", "tradeLayoutTemplates 双账户",
                                 "specialstrategydata", "<svg", "(hidden)" }) {
        QVERIFY2(strHtml.contains(pszText), pszText);
    }
    QVERIFY(!strHtml.contains("sample-only"));
    // Links lead to other places of the page only.
    QVERIFY(!strHtml.contains("src=") && !strHtml.contains("url(h"));
    QCOMPARE(strHtml.count("href="), strHtml.count("href=\"#"));
    const auto reported = [&](const QByteArray& content) {
        writeLive(content);
        return runTool({ "--config-dir", userDir(), "report", "--out", strPath }).nStatus;
    };
    QCOMPARE(reported(readFile(TEST_DATA "/load/sections-nobody-reads.xml")), 0);
    QVERIFY(readFile(strPath).contains("investFee is a section that nobody reads"));
    QVERIFY(readFile(strPath).contains("read by nobody"));
    QCOMPARE(reported("<a"), 4);
}

void tst_hostanswers::aReportTellsWhatChanged()
{
    const QByteArray now = readFile(SAMPLE_USER "/indexUserConfig.xml");
    QByteArray then = now;
    then.replace("reportRefreshTime=\"500\"", "reportRefreshTime=\"750\"");
    then.replace("code=\"600519\" name=\"贵州茅台\"", "code=\"600518\" name=\"康美药业\"");
    then.replace("left=\"1960\"", "left=\"2000\"").replace("sample-only", "secret-then");
    writeLive(now);
    writeFile(userDir() + "/then.xml", then);
    const auto reported = [&](const QString& against) {
        return runProgram(TOOL,
                          { "--config-dir", ".", "report", "--against", against, "--out", "-" }, {},
                          userDir());
    };
    const QString strHtml = reported("then.xml").strOut;
    QDomDocument page;
    QVERIFY(page.setContent(strHtml));
    const QString strText = page.documentElement().text();
    for (const char* pszText :
         { "What changed since then.xml", "in the client's unit of time500750500",
           "SH600518康美药业gone", "SH600519贵州茅台new", "moved -40,+0 (was 2000,40)",
           "plain: any text(hidden)(hidden)" }) {
        QVERIFY2(strText.contains(pszText), pszText);
    }
    QVERIFY(!strHtml.contains("secret-then") && !strHtml.contains("sample-only"));
    QVERIFY(!strText.contains("option set"));
    for (const char* pszValue : { "reportRefreshTime=901", "reportRefreshTime=902" }) {
        QCOMPARE(runTool({ "--config-dir", userDir(), "option", "set", pszValue }).nStatus, 0);
    }
    const QString strEdited = reported("then.xml").strOut;
    const QString strCell = "<td data-label=\"command\">option set reportRefreshTime=%1</td>";
    const int nLast = strEdited.indexOf(strCell.arg(902));
    QVERIFY(nLast > 0 && strEdited.indexOf(strCell.arg(901)) > nLast);
    QCOMPARE(reported("nothing.xml").nStatus, 1);
    QCOMPARE(reported("2024-01-31").nStatus, 1);
}

void tst_hostanswers::aReportTellsWhatLiesBesideTheFile()
{
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    const QStringList words { "--config-dir", userDir(), "report", "--out", "-" };
    QVERIFY(runTool(words).strOut.contains(">in order<"));
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    writeFile(strCopy, readFile(livePath()).replace("\"500\"", "\"501\""));
    QFile copy(strCopy);
    QVERIFY(copy.open(QIODevice::ReadWrite));
    QVERIFY(copy.setFileTime(QDateTime::currentDateTime().addSecs(60),
                             QFileDevice::FileModificationTime));
    copy.close();
    const QString strHtml = runTool(words).strOut;
    QVERIFY(strHtml.contains(">1 finding<"));
    QVERIFY(strHtml.contains(strCopy + " is newer and differs"));
}

void tst_hostanswers::colourIsForTerminals()
{
    QVERIFY(onTerminal("show stocks").strOut.contains("\033["));
    QVERIFY(!onTerminal("show stocks", { "NO_COLOR=1" }).strOut.contains("\033["));
    QVERIFY(!tool({ "show", "stocks" }).strOut.contains("\033["));
}

void tst_hostanswers::progressIsForTerminals()
{
    const QString strFile = SAMPLE_USER "/indexUserConfig.xml";
    QVERIFY(onTerminal("check " + strFile + ' ' + strFile).strOut.contains("] 2/2"));
    QCOMPARE(tool({ "check", strFile, strFile }).strErr, QString());
}

void tst_hostanswers::completion_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("found");
    const QStringList user { "complete", "--config-dir", SAMPLE_USER };
    QTest::newRow("before of a layout")
        << user + QStringList { "layout", "draw", "--against", "早" } << QStringLiteral("早盘\n");
    QTest::newRow("before of a page")
        << user + QStringList { "report", "--against", "早" } << QString();
    QTest::newRow("command") << QStringList { "complete", "temp" } << "template\n";
    QTest::newRow("second word") << QStringList { "complete", "layout", "" } << "show\ndraw\nfit\n";
    QTest::newRow("template") << user + QStringList { "template", "apply", "期" } << "期权\n";
    QTest::newRow("trade template")
        << user + QStringList { "template", "apply", "--trade", "" } << "双账户\n";
    QTest::newRow("--template") << user + QStringList { "layout", "draw", "--template", "早" }
                                << "早盘\n";
    QTest::newRow("option") << QStringList { "complete", "option", "set", "a=1", "tick" }
                            << "tickRestoreDay=\n";
    QTest::newRow("option to read")
        << QStringList { "complete", "option", "get", "tick" } << "tickRestoreDay\n";
    QTest::newRow("flag") << QStringList { "complete", "check", "--j" } << "--json\n--jsonl\n";
    QTest::newRow("part") << QStringList { "complete", "show", "st" } << "stocks\n";
    QTest::newRow("sector") << user + QStringList { "export-sector", "8017" } << "801780\n";
    QTest::newRow("option to reset")
        << QStringList { "complete", "option", "reset", "a", "tick" } << "tickRestoreDay\n";
    QTest::newRow("behind the last word")
        << user + QStringList { "option", "get", "oaUser", "" } << "";
    QTest::newRow("file") << QStringList { "complete", "check", "" } << "";
    QTest::newRow("nonsense") << QStringList { "complete", "nonsense", "x" } << "";
}

void tst_hostanswers::completionOfEntriesAndDates_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("found");
    const QStringList user { "complete", "--config-dir", SAMPLE_USER };
    QTest::newRow("list") << user + QStringList { "stock", "list", "" } << "0\n1\n2\n7\n";
    QTest::newRow("market of a list")
        << user + QStringList { "stock", "remove", "2", "" } << "CFFEX\nSHFE\n";
    QTest::newRow("code of a market")
        << user + QStringList { "stock", "move", "0", "SZ", "" } << "000001\n300750\n";
    QTest::newRow("list to move to")
        << user + QStringList { "stock", "move", "0", "SZ", "000001", "7" } << "7\n";
    QTest::newRow("code anywhere") << user + QStringList { "stock", "find", "6005" } << "600519\n";
    QTest::newRow("word for a date")
        << user + QStringList { "snapshot", "show", "" } << "today\nyesterday\nlatest\n";
    QTest::newRow("part behind it")
        << user + QStringList { "snapshot", "show", "today", "opt" } << "options\n";
    QTest::newRow("date to recover from")
        << user + QStringList { "recover", "--from", "y" } << "yesterday\n";
}

void tst_hostanswers::completionOfEntriesAndDates()
{
    completion();
}

void tst_hostanswers::completion()
{
    QFETCH(QStringList, words);
    QFETCH(QString, found);
    const Outcome outcome = runTool(words);
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut, found);
    QCOMPARE(outcome.strErr, QString());
}

void tst_hostanswers::bashCompletesWhatTheToolTells()
{
    const QString strScript = QStringLiteral("source '%1'; COMP_WORDS=('%2' --config-dir '%3' "
                                             "template apply 单); COMP_CWORD=5; _indexuserctl; "
                                             "eval \"printf '%s\\n' ${COMPREPLY[0]}\"")
                                  .arg(COMPLETION, TOOL, SAMPLE_USER);
    const Outcome outcome = runProgram("bash", { "-c", strScript });
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.strOut, QStringLiteral("单屏 \"夜\"\n"));
}

void tst_hostanswers::theManPageTellsWhatHelpTells()
{
    const Outcome page = tool({ "manual" });
    QCOMPARE(page.nStatus, 0);
    const QString strPage = QString(page.strOut).remove('\\');
    QVERIFY(strPage.startsWith(".TH INDEXUSERCTL 1"));
    const QString strHelp = tool({ "--help" }).strOut;
    int nCommands = 0;
    for (const QString& line : strHelp.split('\n')) {
        if (line.startsWith("  ") && !line.startsWith("   ") && !line.startsWith("  -")
            && !line.at(2).isDigit()) {
            QVERIFY2(strPage.contains("\n.B " + line.trimmed() + '\n'), qPrintable(line));
            ++nCommands;
        }
    }
    QVERIFY(nCommands > 30);
    QVERIFY(strPage.contains("\n.B -\nas FILE: standard input or output\n"));
    QVERIFY(strPage.contains("\n.SH SYNOPSIS\n.B indexuserctl\n"));
    QVERIFY(strHelp.contains("\nAs FILE, - is standard input or output.\n"));
    for (const char* pszStatus : { "0\nok", "1\nthe answer is no", "2\nwrong usage", "3\na file",
                                   "4\na file is damaged", "6\nrecovered" }) {
        QVERIFY2(strPage.contains(QString("\n.B ") + pszStatus), pszStatus);
    }
}

QTEST_GUILESS_MAIN(tst_hostanswers)
#include "tst_hostanswers.moc"
