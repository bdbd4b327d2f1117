#include "librarytest.h"
#include "toolrun.h"

// "-" as a file, and the help of a group.
class tst_hoststreams : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aFileGoesToStandardOutputAsItIs_data();
    void aFileGoesToStandardOutputAsItIs();
    void aDryRunKeepsTheStreamEmpty();
    void stocksComeFromStandardInput();
    void templatesComeFromStandardInput();
    void checkReadsStandardInput();
    void diffReadsStandardInput();
    void errorsNameStandardInput();
    void groupsHaveHelpOfTheirOwn_data();
    void groupsHaveHelpOfTheirOwn();

private:
    Outcome tool(const QStringList& arguments, const QByteArray& input = {}) const;
};

void tst_hoststreams::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hoststreams::tool(const QStringList& arguments, const QByteArray& input) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir(),
                      input);
}

void tst_hoststreams::aFileGoesToStandardOutputAsItIs_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("stocks") << QStringList { "stock", "export" };
    QTest::newRow("template") << QStringList { "template", "export", "早盘" };
    QTest::newRow("drawing") << QStringList { "layout", "draw", "--out" };
}

void tst_hoststreams::aFileGoesToStandardOutputAsItIs()
{
    QFETCH(QStringList, words);
    QCOMPARE(tool(words + QStringList("a")).nStatus, 0);
    const Outcome outcome = tool(words + QStringList("-"));
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut.toUtf8(), readFile(userDir() + "/a"));
    QCOMPARE(outcome.strErr,
             QStringLiteral("standard output (%1 bytes)\n").arg(outcome.strOut.toUtf8().size()));
    QVERIFY(!QFile::exists(userDir() + "/-"));
}

void tst_hoststreams::aDryRunKeepsTheStreamEmpty()
{
    const Outcome outcome = tool({ "report", "--out", "-", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut, QString());
    QVERIFY2(outcome.strErr.startsWith("would write standard output ("),
             qPrintable(outcome.strErr));
    QVERIFY(tool({ "report", "--out", "-" }).strOut.startsWith("<!DOCTYPE html>"));
}

void tst_hoststreams::stocksComeFromStandardInput()
{
    const Outcome exported = tool({ "stock", "export", "-" });
    QCOMPARE(tool({ "stock", "remove", "0", "SH", "600519" }).nStatus, 0);
    QCOMPARE(tool({ "stock", "import", "-" }, exported.strOut.toUtf8()).nStatus, 0);
    QCOMPARE(tool({ "diff", SAMPLE_USER "/indexUserConfig.xml", livePath() }).nStatus, 0);
}

void tst_hoststreams::templatesComeFromStandardInput()
{
    const Outcome exported = tool({ "template", "export", "早盘", "-" });
    QCOMPARE(tool({ "template", "delete", "早盘" }).nStatus, 0);
    QCOMPARE(tool({ "template", "import", "-" }, exported.strOut.toUtf8()).nStatus, 0);
    QVERIFY(tool({ "template", "list" }).strOut.contains("早盘"));
}

void tst_hoststreams::checkReadsStandardInput()
{
    const Outcome outcome = tool({ "check", "-" }, readFile(TEST_DATA "/load/word-booleans.xml"));
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strOut.contains("\n/dev/stdin:2:18: changed: "), qPrintable(outcome.strOut));
}

void tst_hoststreams::diffReadsStandardInput()
{
    const QByteArray sample = readFile(livePath());
    QCOMPARE(tool({ "diff", "-", livePath() }, sample).nStatus, 0);
    QCOMPARE(tool({ "diff", livePath(), "-" }, QByteArray(sample).replace("早盘", "午盘")).nStatus,
             1);
}

void tst_hoststreams::errorsNameStandardInput()
{
    const Outcome stocks = tool({ "stock", "import", "-" }, "list\n");
    QVERIFY2(stocks.strErr.startsWith("indexuserctl: /dev/stdin:1: the heading"),
             qPrintable(stocks.strErr));
    const Outcome templates = tool({ "template", "import", "-" }, "<a>\n<b>");
    QVERIFY2(templates.strErr.startsWith("indexuserctl: /dev/stdin:2:"),
             qPrintable(templates.strErr));
}

void tst_hoststreams::groupsHaveHelpOfTheirOwn_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("behind") << QStringList { "stock", "--help" };
    QTest::newRow("short") << QStringList { "stock", "-h" };
    QTest::newRow("with a directory") << QStringList { "--config-dir", "x", "stock", "--help" };
}

void tst_hoststreams::groupsHaveHelpOfTheirOwn()
{
    QFETCH(QStringList, words);
    const Outcome outcome = runTool(words);
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr, QString());
    QStringList names;
    for (const QString& line : outcome.strOut.split('\n')) {
        if (line.startsWith("  stock ")) {
            names.append(line.split(' ', Qt::SkipEmptyParts)[1]);
        }
    }
    QCOMPARE(names, QStringList({ "list", "find", "add", "remove", "move", "import", "export" }));
    QVERIFY(!outcome.strOut.contains("template"));
}

QTEST_GUILESS_MAIN(tst_hoststreams)
#include "tst_hoststreams.moc"
