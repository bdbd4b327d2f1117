#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

#include <indexuser/userconfigfactory.h>

// The host's writing commands, each on a copy of the sample user.
class tst_hostedits : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aChangeIsShownAndSaved_data();
    void aChangeIsShownAndSaved();
    void aDryRunShowsTheSameAndWritesNothing_data();
    void aDryRunShowsTheSameAndWritesNothing();
    void aFullDiskFailsAndLosesNothing_data();
    void aFullDiskFailsAndLosesNothing();
    void aSaveThatFailsIsAFailure();
    void aDamagedFileIsNotEdited_data();
    void aDamagedFileIsNotEdited();
    void aMissingFileIsNotEdited();
    void aRefusalWritesNothing_data();
    void aRefusalWritesNothing();
    void anEditThatWouldCutElementsWritesNothing();
    void nothingToChangeWritesNothing();
    void whatASaveWouldDropIsShown();
    void anEmptyQuoteLayoutIsNoLostWrite();
    void aTemplateGoesFromUserToUser();
    void stocksComeBackFromCsv();
    void logLinesAreThereWhenAskedFor();
    void filesAreReadableByTheirOwnerOnly();

private:
    Outcome tool(const QStringList& arguments);
    static void addEdits();
};

void tst_hostedits::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeFile(userDir() + "/new.csv",
              "list,market,code,name\r\n2,SZ,000002,\"万, 科\"\r\n9,,,\r\n");
    writeFile(userDir() + "/new.xml",
              "<t><LayoutTemplate name=\"新\"><LayoutWindowTemplate screen_id=\"1\" width=\"9\" "
              "height=\"9\"/>"
              "</LayoutTemplate><LayoutTemplate name=\"早盘\"/></t>");
}

Outcome tst_hostedits::tool(const QStringList& arguments)
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

void tst_hostedits::addEdits()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("shown");
    QTest::newRow("options") << QStringList { "option", "set", "tickRestoreDay=7", "oaUser=张 三" }
                             << "options  Option/Settings@oaUser          analyst  张 三";
    QTest::newRow("stock added") << QStringList { "stock", "add", "7", "SH", "601012", "隆基" }
                                 << "Customs/Custom[7]/Stock[SH601012]  (absent)  (present)";
    QTest::newRow("stock removed") << QStringList { "stock", "remove", "2", "SHFE", "au2408" }
                                   << "Customs/Custom[2]/Stock[SHFEau2408]  (present)  (absent)";
    QTest::newRow("stocks imported")
        << QStringList { "stock", "import", "new.csv" }
        << "Customs/Custom[2]/Stock[SZ000002]     (absent)   (present)";
    QTest::newRow("template saved") << QStringList { "template", "save", "收盘" }
                                    << "LayoutTemplates/LayoutTemplate[收盘]  (absent)  (present)";
    QTest::newRow("template applied")
        << QStringList { "template", "apply", "期权" }
        << "IndexLayout/LayoutWindow[102]@width    900                 1800";
    QTest::newRow("template renamed")
        << QStringList { "template", "rename", "期权", "夜盘" }
        << "LayoutTemplates/LayoutTemplate[夜盘]  (absent)   (present)";
    QTest::newRow("template deleted")
        << QStringList { "template", "delete", "早盘" }
        << "LayoutTemplates/LayoutTemplate[早盘]  (present)  (absent)";
    QTest::newRow("trade template deleted")
        << QStringList { "template", "delete", "--trade", "双账户" }
        << "tradeLayoutTemplates/tradeLayoutTemplate[双账户]  (present)  (absent)";
    QTest::newRow("templates imported")
        << QStringList { "template", "import", "new.xml" }
        << "LayoutTemplates/LayoutTemplate[新]  (absent)  (present)";
}

void tst_hostedits::aChangeIsShownAndSaved_data()
{
    addEdits();
}

void tst_hostedits::aChangeIsShownAndSaved()
{
    QFETCH(QStringList, words);
    QFETCH(QString, shown);
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY2(outcome.strOut.contains(shown), qPrintable(outcome.strOut));
    QVERIFY(outcome.strOut.contains("\nsaved " + livePath() + "\n  now: "));
    writeFile(userDir() + "/before.xml", before);
    const Outcome diff = tool({ "diff", "before.xml", livePath() });
    QCOMPARE(diff.nStatus, 1);
    QVERIFY2(diff.strOut.contains(shown), qPrintable(diff.strOut));
}

void tst_hostedits::aDryRunShowsTheSameAndWritesNothing_data()
{
    addEdits();
}

void tst_hostedits::aDryRunShowsTheSameAndWritesNothing()
{
    QFETCH(QStringList, words);
    const QByteArray before = readFile(livePath());
    const Outcome dry = tool(words + QStringList("--dry-run"));
    QCOMPARE(dry.nStatus, 0);
    QCOMPARE(readFile(livePath()), before);
    QVERIFY(!QDir(userDir()).exists("Temp"));
    const Outcome real = tool(words);
    QVERIFY2(real.strOut.startsWith(dry.strOut + "\nsaved " + livePath() + '\n'),
             qPrintable(real.strOut));
}

void tst_hostedits::aFullDiskFailsAndLosesNothing_data()
{
    addEdits();
    QTest::newRow("drawing") << QStringList { "layout", "draw", "--out", "a.svg" } << "";
    QTest::newRow("report") << QStringList { "report", "--out", "a.html" } << "";
    QTest::newRow("stocks exported") << QStringList { "stock", "export", "a.csv" } << "";
    QTest::newRow("template exported")
        << QStringList { "template", "export", "早盘", "a.xml" } << "";
}

void tst_hostedits::aFullDiskFailsAndLosesNothing()
{
    QFETCH(QStringList, words);
    const QByteArray before = readFile(livePath());
    const QStringList files = QDir(userDir()).entryList(QDir::Files | QDir::Hidden);
    Outcome outcome {};
    {
        const CFileSizeLimit limit(100); // inherited by the tool
        outcome = tool(words);
    }
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(!outcome.strErr.isEmpty());
    QVERIFY(!outcome.strOut.contains("saved"));
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(QDir(userDir()).entryList(QDir::Files | QDir::Hidden), files);
}

void tst_hostedits::aSaveThatFailsIsAFailure()
{
    const QByteArray before = readFile(livePath());
    writeFile(userDir() + "/Temp", "no directory");
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("the save failed: Not a directory: "),
             qPrintable(outcome.strErr));
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostedits::aDamagedFileIsNotEdited_data()
{
    addEdits();
}

void tst_hostedits::aDamagedFileIsNotEdited()
{
    QFETCH(QStringList, words);
    writeLive("<ICUserConfigFile>\n  <Option");
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY(outcome.strErr.contains(":2:10: "));
    QCOMPARE(readFile(livePath()), QByteArray("<ICUserConfigFile>\n  <Option"));
}

void tst_hostedits::aMissingFileIsNotEdited()
{
    QVERIFY(QFile::remove(livePath()));
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY(outcome.strErr.contains("No such file or directory"));
    QVERIFY(!QFile::exists(livePath()));
}

void tst_hostedits::aRefusalWritesNothing_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    const auto row = [](const QStringList& words, int status, const char* pszMessage) {
        QTest::newRow(qPrintable(words.join(' '))) << words << status << pszMessage;
    };
    row({ "option", "set", "tickRestoreDay=x" }, 2, "tickRestoreDay: 'x' is no whole number");
    row({ "option", "set", "tickRestoreDay=2147483648" }, 2, "is no whole number from");
    row({ "option", "set", "tickRestoreDay=" }, 2, "'' is no whole number");
    row({ "option", "set", "showGradient=true" }, 2, "'true' is neither 0 nor 1");
    row({ "option", "set", "oaUser=a\tb" }, 2, "control character");
    row({ "option", "set", "oaUsr=a" }, 2, "there is no option 'oaUsr', did you mean 'oaUser'?");
    row({ "option", "set", "groupSignalRunTime=09:30" }, 2, "never saved");
    row({ "option", "set", "tickRestoreDay" }, 2, "is not of the form NAME=VALUE");
    row({ "option", "set", "reportRefreshTime=1", "nonsense=2" }, 2, "there is no option");
    row({ "option", "get", "oaUsr" }, 1, "did you mean 'oaUser'?");
    row({ "stock", "add", "--", "-1", "SH", "600000" }, 2, "is no list");
    row({ "stock", "add", "x", "SH", "600000" }, 2, "'x' is no list");
    row({ "stock", "add", "0", "SH", "" }, 2, "a stock has a code");
    row({ "stock", "add", "0", "SH", "600000" }, 1, "SH600000 is in list 0 already");
    row({ "stock", "remove", "0", "SH", "1" }, 1, "SH1 is not in list 0");
    row({ "stock", "remove", "77", "SH", "600000" }, 1, "SH600000 is not in list 77");
    row({ "stock", "import", "new.xml" }, 4, "new.xml:1: the heading is not");
    row({ "stock", "import", "missing.csv" }, 3, "missing.csv: No such file");
    row({ "template", "apply", "早盆" }, 1, "there is no template '早盆', did you mean '早盘'?");
    row({ "template", "rename", "早盘", "期权" }, 1, "there is a template '期权' already");
    row({ "template", "delete", "--trade", "早盘" }, 1, "there is no template '早盘'");
    row({ "template", "import", "new.csv" }, 4, "new.csv:1:1: ");
    row({ "template", "import", "--trade", "new.xml" }, 1, "no template in it whose name is free");
    row({ "template", "export", "none", "x.xml" }, 1, "there is no template 'none'");
}

void tst_hostedits::aRefusalWritesNothing()
{
    QFETCH(QStringList, words);
    QFETCH(int, status);
    QFETCH(QString, message);
    const QByteArray before = readFile(livePath());
    const QStringList files = QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden);
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: ") && outcome.strErr.contains(message),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, status);
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden), files);
}

// In a template the same window stands one level lower.
void tst_hostedits::anEditThatWouldCutElementsWritesNothing()
{
    const QByteArray tree
        = QByteArray("<d>").repeated(509) + "<!-- 512 -->" + QByteArray("</d>").repeated(509);
    writeLive("<ICUserConfigFile><IndexLayout><LayoutWindow panelgroup_id='6000'>" + tree
              + "</LayoutWindow></IndexLayout></ICUserConfigFile>");
    const QByteArray before = readFile(livePath());
    for (const QStringList& more : { QStringList(), QStringList("--dry-run") }) {
        const Outcome outcome = tool(QStringList { "template", "save", "深" } + more);
        QCOMPARE(outcome.nStatus, 1);
        QCOMPARE(outcome.strOut, QString());
        QCOMPARE(outcome.strErr,
                 QString("indexuserctl: elements would be nested deeper than 512 levels: "
                         "/ICUserConfigFile/LayoutTemplates/LayoutTemplate/"
                         "LayoutWindowTemplate/.../d\n"));
        QCOMPARE(readFile(livePath()), before);
        QVERIFY(!QDir(userDir()).exists("Temp"));
    }
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7" }).nStatus, 0);
    QCOMPARE(readFile(livePath()).count("<d>"), 509);
}

void tst_hostedits::nothingToChangeWritesNothing()
{
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=2" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("No differences"));
    QCOMPARE(readFile(livePath()), before);
    QVERIFY(!QDir(userDir()).exists("Temp"));
}

void tst_hostedits::whatASaveWouldDropIsShown()
{
    writeLive("<ICUserConfigFile><Unknown a=\"1\"/><Option><Settings groupSignalRunTime=\"09:30\"/>"
              "</Option></ICUserConfigFile>");
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=2" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QRegularExpression("groupSignalRunTime +09:30 +00:00\n")));
    QVERIFY(outcome.strOut.contains(QRegularExpression("Unknown +\\(present\\) +\\(absent\\)")));
}

void tst_hostedits::anEmptyQuoteLayoutIsNoLostWrite()
{
    writeLive("<ICUserConfigFile/>");
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=2" }).nStatus, 0);
    QCOMPARE(tool({ "option", "get", "tickRestoreDay" }).strOut, QString("2\n"));
}

void tst_hostedits::aTemplateGoesFromUserToUser()
{
    QCOMPARE(tool({ "template", "export", "--trade", "双账户", "out.xml" }).nStatus, 0);
    QCOMPARE(tool({ "template", "delete", "--trade", "双账户" }).nStatus, 0);
    QCOMPARE(tool({ "template", "import", "--trade", "out.xml" }).nStatus, 0);
    const Outcome diff = tool({ "diff", SAMPLE_USER "/indexUserConfig.xml", livePath() });
    QCOMPARE(diff.nStatus, 0);
}

void tst_hostedits::stocksComeBackFromCsv()
{
    QCOMPARE(tool({ "stock", "export", "out.csv" }).nStatus, 0);
    QCOMPARE(tool({ "stock", "remove", "0", "SH", "600519" }).nStatus, 0);
    QCOMPARE(tool({ "stock", "import", "out.csv" }).nStatus, 0);
    const Outcome diff = tool({ "diff", SAMPLE_USER "/indexUserConfig.xml", livePath() });
    QCOMPARE(diff.nStatus, 0);
}

void tst_hostedits::logLinesAreThereWhenAskedFor()
{
    const Outcome outcome = tool({ "--log", "option", "set", "tickRestoreDay=9" });
    QVERIFY(outcome.strErr.contains("move file end, save success"));
}

void tst_hostedits::filesAreReadableByTheirOwnerOnly()
{
    QCOMPARE(tool({ "stock", "export", "out.csv" }).nStatus, 0);
    const auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther;
    QVERIFY(!(QFile::permissions(userDir() + "/out.csv") & others));
}

QTEST_GUILESS_MAIN(tst_hostedits)
#include "tst_hostedits.moc"
