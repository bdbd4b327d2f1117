#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

class tst_host : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void helpAndVersionGoToStandardOutput_data();
    void helpAndVersionGoToStandardOutput();
    void wordsThatMeanNothingAreRefused_data();
    void wordsThatMeanNothingAreRefused();
    void commonOptionsStandBehindACommandToo();
    void anEmptyTableSaysSo();
    void showPrintsWhatTheFileHolds();
    void showPrintsOnePart();
    void showNamesTemplatesWithoutWindows();
    void showHidesThePassword();
    void showWorksInABareLocale();
    void aMissingFileIsNamed();
    void aDamagedFileIsNamedWithItsPlace();
    void theTourBringsAllBack();
    void theTourLeavesTheOriginalAlone();
    void theTourGoesWithoutSectorsToo();
    void settingsAreStoredAndRead();
    void sectorsAreListed();
    void anExportTellsWhatItWrote();
    void anExportWithoutSectorFails();
    void anExportThatCannotBeWrittenFails();
    void anExportThatDoesNotFitFailsAndLeavesNothing();
    void aDryRunOfAnExportWritesNothing();
    void outputThatCannotBeWrittenIsAFailure();
    void aBadFilterWritesNothing();

private:
    Outcome tool(const QStringList& arguments);
};

Outcome tst_host::tool(const QStringList& arguments)
{
    return runTool(QStringList { "--config-dir", SAMPLE_USER } + arguments);
}

void tst_host::helpAndVersionGoToStandardOutput_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("text");
    QTest::newRow("help") << "--help"
                          << "Exit status:\n  0  ok\n";
    QTest::newRow("version") << "--version"
                             << "indexuserctl " VERSION "\n";
}

void tst_host::helpAndVersionGoToStandardOutput()
{
    QFETCH(QString, argument);
    QFETCH(QString, text);
    const Outcome outcome = runTool({ argument });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(text));
    QCOMPARE(outcome.strErr, QString());
}

void tst_host::wordsThatMeanNothingAreRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("nothing") << QStringList() << "A subcommand is required; see --help";
    QTest::newRow("command") << QStringList { "shwo" }
                             << "there is no command 'shwo', did you mean 'show'?; see --help";
    QTest::newRow("second word") << QStringList {
        "--config-dir", "x", "template", "sav"
    } << "there is no command 'template sav', did you mean 'template save'?; see --help";
    QTest::newRow("command behind the options")
        << QStringList { "--", "shwo" } << "there is no command 'shwo', did you mean 'show'?";
    QTest::newRow("half a command")
        << QStringList { "template" } << "A subcommand is required; see --help";
    QTest::newRow("option") << QStringList { "--bogus" }
                            << "there is no option '--bogus'; see --help";
    QTest::newRow("option of a command")
        << QStringList { "show", "--bogus" } << "there is no option '--bogus'; usage: ";
    QTest::newRow("option of another")
        << QStringList { "show", "--dry-run" } << "usage: indexuserctl show [--show-secrets]";
    QTest::newRow("too many words") << QStringList { "tour", "x" } << "usage: indexuserctl tour";
    QTest::newRow("too few words") << QStringList { "export-sector", "x" }
                                   << "DIR is required; usage: indexuserctl export-sector";
    QTest::newRow("nowhere to draw") << QStringList { "layout", "draw" } << "--out is required";
    QTest::newRow("directory") << QStringList { "--config-dir", "", "show" }
                               << "--config-dir: a directory is wanted";
    QTest::newRow("filter") << QStringList { "show", "--filter", "k=N" } << "usage: indexuserctl";
}

void tst_host::wordsThatMeanNothingAreRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const Outcome outcome = runTool(arguments);
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: ") && outcome.strErr.contains(message),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.strOut, QString());
}

void tst_host::commonOptionsStandBehindACommandToo()
{
    for (const QStringList& words : { QStringList { "show", "stocks" }, { "stock", "list" } }) {
        const Outcome outcome = runTool(words + QStringList { "--config-dir", SAMPLE_USER });
        QCOMPARE(outcome.strErr, QString());
        QVERIFY(outcome.strOut.contains(QRegularExpression("SH +600519")));
    }
}

void tst_host::anEmptyTableSaysSo()
{
    const Outcome outcome = runTool({ "--config-dir", userDir(), "snapshot", "list" });
    QCOMPARE(outcome.strOut, QString("\nDated copies\n  none\n"));
}

void tst_host::showPrintsWhatTheFileHolds()
{
    const Outcome outcome = tool({ "show" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr, QString());
    for (const char* pszText :
         { "reportRefreshTime", "600519  贵州茅台", "IndexLayout", "行业板块, 分时走势",
           "FormulaPanelGroupLayout 量价齐升", "LayoutTemplates 早盘",
           "tradeLayoutTemplates 双账户", "specialstrategydata" }) {
        QVERIFY2(outcome.strOut.contains(pszText), pszText);
    }
}

void tst_host::showPrintsOnePart()
{
    const Outcome outcome = tool({ "show", "stocks" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("Custom stock lists"));
    QVERIFY(!outcome.strOut.contains("Options"));
}

void tst_host::showNamesTemplatesWithoutWindows()
{
    writeLive(readFile(TEST_DATA "/load/double-template-names.xml"));
    const Outcome outcome = runTool({ "--config-dir", userDir(), "show", "templates" });
    QVERIFY(outcome.strOut.contains(QRegularExpression("LayoutTemplates A +0")));
    QVERIFY(outcome.strOut.contains(QRegularExpression("LayoutTemplates A +no windows")));
}

void tst_host::showHidesThePassword()
{
    const Outcome outcome = tool({ "show", "options" });
    QVERIFY(outcome.strOut.contains(QRegularExpression("oaPassword +yes +\\(hidden\\)")));
    QVERIFY(!outcome.strOut.contains("sample-only"));
    QVERIFY(!tool({ "tour" }).strOut.contains("sample-only"));
}

void tst_host::showWorksInABareLocale()
{
    const QString strDir = userDir() + QStringLiteral("/行情");
    QVERIFY(QDir().mkpath(strDir));
    QVERIFY(QFile::copy(SAMPLE_USER "/indexUserConfig.xml", strDir + "/indexUserConfig.xml"));
    const Outcome outcome = runTool({ "--config-dir", strDir, "show" }, { "LC_ALL=C", "LANG=C" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QStringLiteral("浦发银行")));
}

void tst_host::aMissingFileIsNamed()
{
    const Outcome outcome = runTool({ "--config-dir", userDir(), "show" });
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr, "indexuserctl: " + livePath() + ": No such file or directory\n");
}

void tst_host::aDamagedFileIsNamedWithItsPlace()
{
    writeLive("<ICUserConfigFile>\n  <Option>\n");
    const Outcome outcome = runTool({ "--config-dir", userDir(), "show" });
    QCOMPARE(outcome.nStatus, 4);
    QCOMPARE(outcome.strErr, "indexuserctl: " + livePath() + ":3:1: unexpected end of file\n");
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(runTool({ "--config-dir", userDir(), "tour" }).strErr, outcome.strErr);
}

void tst_host::theTourBringsAllBack()
{
    const Outcome outcome = tool({ "tour" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr, QString());
    QVERIFY(outcome.strOut.endsWith("\nAll came back.\n"));
    QVERIFY(outcome.strOut.contains(QRegularExpression("layouts +same\n")));
    QVERIFY(outcome.strOut.contains("panel group 6000: 0,0 -> 120,80"));
    QVERIFY(outcome.strOut.contains("move file end, save success"));
    QVERIFY(outcome.strOut.contains("Temp/indexUserConfig.xml_"));
    QVERIFY(outcome.strOut.contains("Exported sector 801780"));
    QVERIFY(!outcome.strOut.contains("DIFFERS"));
}

void tst_host::theTourLeavesTheOriginalAlone()
{
    const QByteArray before = readFile(SAMPLE_USER "/indexUserConfig.xml");
    tool({ "tour" });
    QCOMPARE(readFile(SAMPLE_USER "/indexUserConfig.xml"), before);
}

void tst_host::theTourGoesWithoutSectorsToo()
{
    writeLive(readFile(TEST_DATA "/load/read-only-options.xml"));
    const Outcome outcome = runTool({ "--config-dir", userDir(), "tour" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(!outcome.strOut.contains("Exported"));
}

void tst_host::settingsAreStoredAndRead()
{
    const auto setting = [&](const QStringList& words) {
        return runTool(QStringList { "--config-dir", userDir(), "setting" } + words);
    };
    QCOMPARE(setting({ "get", "k" }).nStatus, 1);
    QVERIFY(setting({ "set", "k", "v", "--dry-run" }).strOut.contains("(absent)  v"));
    QCOMPARE(setting({ "get", "k" }).nStatus, 1);
    QCOMPARE(setting({ "set", "k", QStringLiteral("值 1") }).nStatus, 0);
    QCOMPARE(setting({ "get", "k" }).strOut, QStringLiteral("值 1\n"));
    QCOMPARE(setting({ "set", "k" }).nStatus, 2);
    const CFileSizeLimit limit(1);
    QCOMPARE(setting({ "set", "k", "more than a byte" }).nStatus, 3);
}

void tst_host::sectorsAreListed()
{
    const Outcome outcome = tool({ "sector", "list" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QStringLiteral("  801780  银行            36\n")));
    QCOMPARE(runTool({ "--config-dir", userDir(), "sector", "list" }).nStatus, 3);
    writeFile(userDir() + "/sectors.json", "{");
    QCOMPARE(runTool({ "--config-dir", userDir(), "sector", "list" }).nStatus, 4);
}

void tst_host::anExportTellsWhatItWrote()
{
    const QString strPath = userDir() + "/My" + QDate::currentDate().toString("yyyyMMdd") + ".csv";
    const Outcome outcome = tool({ "export-sector", "801780", userDir(), "--filter",
                                   QStringLiteral("801780=My,1|绝对权重|0|0|0.05") });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut, strPath + ": 5 lines, 31 stocks left out by the filter\n");
    QCOMPARE(readFile(strPath).count('\n'), 4);
    QCOMPARE(
        QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
        1);
}

void tst_host::anExportWithoutSectorFails()
{
    const Outcome outcome = tool({ "export-sector", "9", userDir() });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(outcome.strErr, QString("indexuserctl: there is no sector '9'\n"));
}

void tst_host::anExportThatCannotBeWrittenFails()
{
    const Outcome outcome = tool({ "export-sector", "801780", userDir() + "/missing" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strErr.contains("/missing: "));
}

void tst_host::anExportThatDoesNotFitFailsAndLeavesNothing()
{
    const CFileSizeLimit limit(100); // inherited by the tool
    const Outcome outcome = tool({ "export-sector", "801780", userDir() });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strErr.contains(userDir() + ": the file was not written"));
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
}

void tst_host::aDryRunOfAnExportWritesNothing()
{
    const Outcome outcome = tool({ "export-sector", "801780", userDir(), "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.startsWith("would write " + userDir()));
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
}

void tst_host::outputThatCannotBeWrittenIsAFailure()
{
    QProcess process;
    process.setStandardOutputFile("/dev/full");
    process.start(TOOL, { "--config-dir", SAMPLE_USER, "show" });
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 3);
    QCOMPARE(process.readAllStandardError(),
             QByteArray("indexuserctl: cannot write to standard output: No space left on "
                        "device\n"));
}

void tst_host::aBadFilterWritesNothing()
{
    const Outcome outcome = tool(
        { "export-sector", "801780", userDir(), "--filter", "801780=My,1|绝对权重|0|0|0.05,bad" });
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY(outcome.strErr.contains("filter: group 1: item 2: 1 fields instead of"));
    QCOMPARE(QDir(userDir()).entryList(QDir::Files), QStringList());
    QCOMPARE(tool({ "export-sector", "801780", userDir(), "--filter", "other=N" }).nStatus, 2);
    QCOMPARE(tool({ "export-sector", "801780", userDir(), "--filter", "" }).nStatus, 2);
}

QTEST_GUILESS_MAIN(tst_host)
#include "tst_host.moc"
