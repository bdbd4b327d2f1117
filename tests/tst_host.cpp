#include "filelimits.h"
#include "librarytest.h"

#include "filterline.h"

#include <QProcess>

namespace {

struct Outcome {
    int nStatus;
    QString strOut;
    QString strErr;
};

Outcome runTool(const QStringList& arguments, const QStringList& environment = {})
{
    QProcess process;
    process.setEnvironment(QProcess::systemEnvironment() + environment);
    process.start(TOOL, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        qFatal("the tool does not end: %s", qPrintable(process.errorString()));
    }
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace

class tst_host : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void helpAndVersionGoToStandardOutput_data();
    void helpAndVersionGoToStandardOutput();
    void wordsThatMeanNothingAreRefused_data();
    void wordsThatMeanNothingAreRefused();
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
    void snapshotsAreListed();
    void filesAreCompared();
    void datedCopiesAreCompared();
    void recoveryTellsWhatItDid();
    void recoveryWithLossHasAStatusOfItsOwn();
    void recoveryWithoutCopyFails();
    void settingsAreStoredAndRead();
    void sectorsAreListed();
    void anExportTellsWhatItWrote();
    void anExportWithoutSectorFails();
    void anExportThatCannotBeWrittenFails();
    void anExportThatDoesNotFitFailsAndLeavesNothing();
    void outputThatCannotBeWrittenIsAFailure();
    void aBadFilterWritesNothing();
    void filterLines_data();
    void filterLines();

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
                          << "Exit status: 0 ok";
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
    QTest::newRow("nothing") << QStringList() << "no command; see --help";
    QTest::newRow("command") << QStringList { "bogus" } << "unknown command 'bogus'; see --help";
    QTest::newRow("option") << QStringList { "--bogus" } << "Unknown option 'bogus'. See --help.";
    QTest::newRow("part") << QStringList { "show", "bogus" } << "show: unknown part 'bogus'";
    QTest::newRow("too many words") << QStringList { "tour", "x" } << "usage: tour";
    QTest::newRow("too few words")
        << QStringList { "export-sector", "x" } << "usage: export-sector";
    QTest::newRow("sector") << QStringList { "sector", "x" } << "usage: sector list";
    QTest::newRow("directory") << QStringList { "--config-dir", "", "show" }
                               << "--config-dir: a directory is wanted";
    QTest::newRow("filter") << QStringList { "show", "--filter", "k=N" }
                            << "goes with export-sector";
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

void tst_host::showPrintsWhatTheFileHolds()
{
    const Outcome outcome = tool({ "show" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr, QString());
    for (const char* pszText :
         { "reportRefreshTime", "SH600519 贵州茅台", "IndexLayout", "1920x1040",
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
    QVERIFY(outcome.strOut.contains(QRegularExpression("LayoutTemplates A +none")));
}

void tst_host::showHidesThePassword()
{
    const Outcome outcome = tool({ "show", "options" });
    QVERIFY(outcome.strOut.contains(QRegularExpression("oaPassword +\\(hidden\\)")));
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
    QVERIFY(outcome.strOut.contains(QRegularExpression("reportRefreshTime +same +750\n")));
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

void tst_host::snapshotsAreListed()
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<a/>");
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240201", "<a");
    const Outcome outcome = runTool({ "--config-dir", userDir(), "snapshot", "list" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QRegularExpression("2024-02-01  2      damaged  .*:1:3: ")));
    QVERIFY(outcome.strOut.contains("2024-01-31  4      whole\n"));
}

void tst_host::filesAreCompared()
{
    QByteArray changed = readFile(SAMPLE_USER "/indexUserConfig.xml");
    changed.replace("left=\"-960\"", "left=\"-840\"").replace("sample-only", "secret");
    writeLive(changed);
    const QString strSample = SAMPLE_USER "/indexUserConfig.xml";
    const Outcome same = runTool({ "diff", strSample, strSample });
    QCOMPARE(same.nStatus, 0);
    QCOMPARE(same.strOut, QString("no differences\n"));
    const Outcome differs = runTool({ "diff", strSample, livePath() });
    QCOMPARE(differs.nStatus, 1);
    QVERIFY(differs.strOut.contains("2 differences"));
    QVERIFY(differs.strOut.contains(
        QRegularExpression("  IndexLayout/LayoutWindow\\[103\\]@left +-960 +-840\n")));
    QVERIFY(differs.strOut.contains("(hidden)") && !differs.strOut.contains("secret"));
    QCOMPARE(runTool({ "diff", strSample, userDir() + "/missing" }).nStatus, 3);
}

void tst_host::datedCopiesAreCompared()
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<r a=\"1\"/>");
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240201", "<r a=\"1\"/>");
    writeLive("<r a=\"2\"/>");
    const auto diff = [&](const QStringList& dates) {
        return runTool(QStringList { "--config-dir", userDir(), "snapshot", "diff" } + dates)
            .nStatus;
    };
    QCOMPARE(diff({ "20240131", "2024-02-01" }), 0);
    QCOMPARE(diff({ "2024-02-01" }), 1);
    QCOMPARE(diff({ "2024-02-02" }), 1);
    QCOMPARE(diff({}), 2);
}

void tst_host::recoveryTellsWhatItDid()
{
    const QStringList arguments { "--config-dir", userDir(), "recover" };
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(strCopy, "<a/>");
    QVERIFY(runTool(arguments + QStringList("--dry-run"))
                .strOut.contains("would bring back " + strCopy));
    QVERIFY(!QFile::exists(livePath()));
    const Outcome outcome = runTool(arguments);
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut,
             livePath() + ": No such file or directory\nbrought back " + strCopy + '\n');
    QCOMPARE(runTool(arguments).strOut, livePath() + ": whole, nothing to recover\n");
}

void tst_host::recoveryWithLossHasAStatusOfItsOwn()
{
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(strCopy, "<a/>");
    QFile copy(strCopy);
    QVERIFY(copy.open(QIODevice::ReadWrite));
    QVERIFY(copy.setFileTime(QDateTime(QDate(2024, 1, 31), QTime(9, 0)),
                             QFileDevice::FileModificationTime));
    writeLive("<damaged");
    const Outcome outcome = runTool({ "--config-dir", userDir(), "recover" });
    QCOMPARE(outcome.nStatus, 6);
    QVERIFY(outcome.strOut.contains("lost: what was changed after that copy was saved"));
}

void tst_host::recoveryWithoutCopyFails()
{
    const Outcome outcome = runTool({ "--config-dir", userDir(), "recover" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY(outcome.strErr.contains("there is no whole dated copy"));
}

void tst_host::settingsAreStoredAndRead()
{
    const auto setting = [&](const QStringList& words) {
        return runTool(QStringList { "--config-dir", userDir(), "setting" } + words);
    };
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

void tst_host::outputThatCannotBeWrittenIsAFailure()
{
    QProcess process;
    process.setStandardOutputFile("/dev/full");
    process.start(TOOL, { "--config-dir", SAMPLE_USER, "show" });
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 3);
    QCOMPARE(process.readAllStandardError(),
             QByteArray("indexuserctl: cannot write to standard output\n"));
}

void tst_host::aBadFilterWritesNothing()
{
    const Outcome outcome
        = tool({ "export-sector", "801780", userDir(), "--filter", "801780=My,1|a|0|0|0.05,bad" });
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY(outcome.strErr.contains("filter: group 1: item 2: 1 fields instead of"));
    QCOMPARE(QDir(userDir()).entryList(QDir::Files), QStringList());
    QCOMPARE(tool({ "export-sector", "801780", userDir(), "--filter", "other=N" }).nStatus, 2);
    QCOMPARE(tool({ "export-sector", "801780", userDir(), "--filter", "" }).nStatus, 2);
}

void tst_host::filterLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");
    QTest::newRow("whole") << QStringLiteral("a=N,1|绝对权重|0|0|0.05:b=M") << "";
    QTest::newRow("empty") << ""
                           << "group 1: '' is not of the form key=name,item,...";
    QTest::newRow("no equals sign") << "a=N:b"
                                    << "group 2: 'b' is not of the form key=name,item,...";
    QTest::newRow("two equals signs") << "a=N=M"
                                      << "group 1: 'a=N=M' is not of the form key=name,item,...";
    QTest::newRow("name with bars") << "a=1|2|3|4|5"
                                    << "group 1: the name '1|2|3|4|5' holds '|' or '/'";
    QTest::newRow("name with a slash") << "a=../x"
                                       << "group 1: the name '../x' holds '|' or '/'";
    QTest::newRow("four fields") << "a=N,1|2|3|4"
                                 << "group 1: item 1: 4 fields instead of "
                                    "id|indicator|compareOp|extra|threshold";
    QTest::newRow("id") << "a=N,x|i|0|0|1"
                        << "group 1: item 1: 'x' is no integer";
    QTest::newRow("operator") << "a=N,1|i|0|0|1,1|i|>|0|1"
                              << "group 1: item 2: '>' is no integer";
    QTest::newRow("threshold") << "a=N,1|i|0|0|1,5"
                               << "group 1: item 2: 1 fields instead of "
                                  "id|indicator|compareOp|extra|threshold";
    QTest::newRow("infinity") << "a=N,1|i|0|0|inf"
                              << "group 1: item 1: 'inf' is no number";
    QTest::newRow("twice") << "a=N:a=M"
                           << "group 2: a second group for 'a'";
}

void tst_host::filterLines()
{
    QFETCH(QString, line);
    QFETCH(QString, error);
    QCOMPARE(filterLineError(line), error);
}

QTEST_GUILESS_MAIN(tst_host)
#include "tst_host.moc"
