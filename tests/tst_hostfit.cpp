#include "librarytest.h"
#include "toolrun.h"

#include <QDirIterator>

// Whether layouts fit screens, and how the host brings their windows back.
class tst_hostfit : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whetherItFitsIsTheStatus_data();
    void whetherItFitsIsTheStatus();
    void nothingIsWrittenUnlessItIsApplied_data();
    void nothingIsWrittenUnlessItIsApplied();
    void windowsAreBroughtBackAndUndone_data();
    void windowsAreBroughtBackAndUndone();
    void ofTemplatesOfOneNameTheFirstIsBroughtBack();
    void whatFitsIsNoEdit();
    void badScreensAreRefused_data();
    void badScreensAreRefused();
    void aTemplateThatIsNotThereIsRefused();
    void anAnswerInJsonTellsWhereWindowsGo();

private:
    Outcome tool(const QStringList& arguments) const;
    Outcome fit(const QString& screens, const QStringList& words = {}) const;
    QMap<QString, QByteArray> files() const;
};

void tst_hostfit::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostfit::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", "." } + arguments, {}, userDir());
}

Outcome tst_hostfit::fit(const QString& screens, const QStringList& words) const
{
    return tool(QStringList { "layout", "fit", "--screens", screens } + words);
}

// All that is in the user's directory, by path.
QMap<QString, QByteArray> tst_hostfit::files() const
{
    QMap<QString, QByteArray> files;
    QDirIterator it(userDir(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString strPath = it.next();
        files.insert(strPath, it.fileInfo().isFile() ? readFile(strPath) : QByteArray());
    }
    return files;
}

void tst_hostfit::whetherItFitsIsTheStatus_data()
{
    QTest::addColumn<QString>("screens");
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("told");
    const QString strOne = "1920x1080+0+0";
    const QString strTwo = strOne + ",1920x1080+1920+0";
    const QStringList morning { "--template", "早盘" };
    const QStringList trade { "--trade", "--template", "双账户" };
    QTest::newRow("all screens") << strTwo + ",1920x1080-1920+0" << QStringList() << 0
                                 << "IndexLayout of 4 windows fits\n";
    QTest::newRow("one is missing")
        << strTwo << QStringList() << 1 << "IndexLayout of 4 windows does not fit, 2 off\n";
    QTest::newRow("across") << strTwo + ",1000x1080-1000+0" << QStringList() << 1
                            << "IndexLayout of 4 windows does not fit, 1 across\n";
    QTest::newRow("lower")
        << "1920x800+0+0,1920x800+1920+0" << morning << 1
        << "LayoutTemplates 早盘 of 2 windows does not fit, 1 across, 1 too large\n";
    QTest::newRow("template") << strTwo << morning << 0
                              << "LayoutTemplates 早盘 of 2 windows fits\n";
    QTest::newRow("trade") << strTwo << QStringList("--trade") << 0
                           << "tradePanelGroup of 2 windows fits\n";
    QTest::newRow("trade template")
        << strTwo << trade << 0 << "tradeLayoutTemplates 双账户 of 1 windows fits\n";
}

void tst_hostfit::whetherItFitsIsTheStatus()
{
    QFETCH(QString, screens);
    QFETCH(QStringList, words);
    QFETCH(QString, told);
    const Outcome outcome = fit(screens, words);
    QTEST(outcome.nStatus, "status");
    QVERIFY2(outcome.strOut.contains(told), qPrintable(outcome.strOut));
    QCOMPARE(outcome.strErr, QString());
}

void tst_hostfit::nothingIsWrittenUnlessItIsApplied_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("asked") << QStringList() << 1;
    QTest::newRow("asked for JSON") << QStringList("--json") << 1;
    QTest::newRow("dry run") << QStringList("--dry-run") << 1;
    QTest::newRow("applied dry") << QStringList { "--apply", "--dry-run" } << 0;
}

void tst_hostfit::nothingIsWrittenUnlessItIsApplied()
{
    QFETCH(QStringList, words);
    const auto before = files();
    const Outcome outcome = fit("800x600+0+0", words);
    QTEST(outcome.nStatus, "status");
    QCOMPARE(outcome.strOut.contains("IndexLayout/LayoutWindow"), words.contains("--apply"));
    QCOMPARE(files(), before);
}

void tst_hostfit::windowsAreBroughtBackAndUndone_data()
{
    QTest::addColumn<QString>("screens");
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("replaced"); // in the file: what, by what, what, by what
    QTest::newRow("current")
        << "1920x1080+0+0,2560x1440+1920+0" << QStringList()
        << QStringList { R"("3" is_main="0" maximized="0" left="-1880" top="60" width="900")",
                         R"("1" is_main="0" maximized="0" left="0" top="60" width="900")",
                         R"("3" is_main="0" maximized="0" left="-960" top="60")",
                         R"("1" is_main="0" maximized="0" left="920" top="60")" };
    QTest::newRow("template")
        << "1920x1080+0+0" << QStringList { "--template", "期权" }
        << QStringList { R"("3" is_main="0" maximized="0" left="-1880" top="60" width="1800")",
                         R"("1" is_main="0" maximized="0" left="0" top="60" width="1800")" };
    QTest::newRow("trade")
        << "800x600+0+0" << QStringList("--trade")
        << QStringList { R"(left="60" top="500" width="1400" height="520" navtree)",
                         R"(left="0" top="80" width="800" height="520" navtree)",
                         R"("2" is_main="0" maximized="0" left="1990" top="640" width="900")",
                         R"("1" is_main="0" maximized="0" left="0" top="220" width="800")" };
    QTest::newRow("trade template")
        << "800x600+0+0" << QStringList { "--trade", "--template", "双账户" }
        << QStringList { R"(left="60" top="500" width="1400" height="520" panelgroup_id)",
                         R"(left="0" top="80" width="800" height="520" panelgroup_id)" };
}

void tst_hostfit::windowsAreBroughtBackAndUndone()
{
    QFETCH(QString, screens);
    QFETCH(QStringList, words);
    QFETCH(QStringList, replaced);
    const QByteArray before = readFile(livePath());
    QByteArray expected = before;
    for (int i = 0; i < replaced.size(); i += 2) {
        QCOMPARE(expected.count(replaced[i].toUtf8()), 1);
        expected.replace(replaced[i].toUtf8(), replaced[i + 1].toUtf8());
    }
    writeFile(userDir() + "/expected.xml", expected);
    const Outcome outcome = fit(screens, words + QStringList("--apply"));
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY2(outcome.strOut.contains("\nsaved "), qPrintable(outcome.strOut));
    const Outcome diff = tool({ "diff", "expected.xml", "indexUserConfig.xml" });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
    QCOMPARE(fit(screens, words).nStatus, 0);
    QVERIFY(tool({ "history", "list" }).strOut.contains("layout fit --screens " + screens));
    QCOMPARE(tool({ "undo" }).nStatus, 0);
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostfit::ofTemplatesOfOneNameTheFirstIsBroughtBack()
{
    const QByteArray window = "<LayoutTemplate name=\"n\"><LayoutWindowTemplate screen_id=\"1\" "
                              "is_main=\"0\" maximized=\"0\" left=\"%\" top=\"0\" width=\"9\" "
                              "height=\"9\" panelgroup_id=\"1\"/></LayoutTemplate>";
    const auto at = [&](const char* pszLeft) { return QByteArray(window).replace("%", pszLeft); };
    const auto user = [&](const char* pszFirst) {
        return readFile(SAMPLE_USER "/indexUserConfig.xml")
            .replace("</LayoutTemplates>", at(pszFirst) + at("-900") + "</LayoutTemplates>");
    };
    writeLive(user("-500"));
    writeFile(userDir() + "/expected.xml", user("0"));
    QCOMPARE(fit("800x600+0+0", { "--template", "n", "--apply" }).nStatus, 0);
    const Outcome diff = tool({ "diff", "expected.xml", "indexUserConfig.xml" });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
}

void tst_hostfit::whatFitsIsNoEdit()
{
    const QByteArray before = readFile(livePath());
    const Outcome outcome
        = fit("1920x1080+0+0,1920x1080+1920+0", { "--template", "早盘", "--apply" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY(outcome.strOut.contains("No differences"));
    QCOMPARE(readFile(livePath()), before);
    QVERIFY(!tool({ "history", "list" }).strOut.contains("layout fit"));
}

void tst_hostfit::badScreensAreRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message");
    QTest::newRow("none") << QStringList { "layout", "fit" } << "--screens is required";
    QTest::newRow("no value") << QStringList { "layout", "fit", "--screens=" }
                              << "--screens: a value is wanted";
    const auto row = [](const char* pszScreens, const char* pszMessage) {
        QTest::newRow(pszScreens) << QStringList { "layout", "fit", "--screens", pszScreens }
                                  << "--screens: '" + QString(pszMessage);
    };
    row("1920x1080", "1920x1080' is no screen like 1920x1080+0+0");
    row("1920x1080+0+0,big", "big' is no screen like 1920x1080+0+0");
    row("99999x10+0+0", "99999x10+0+0' is farther out than any desktop reaches");
    row("9x9+0+0,9x9+8+0", "9x9+8+0' overlaps a screen before it");
}

void tst_hostfit::badScreensAreRefused()
{
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    const auto before = files();
    for (const QStringList& more : { QStringList(), QStringList("--apply") }) {
        const Outcome outcome = tool(words + more);
        QCOMPARE(outcome.nStatus, 2);
        QVERIFY2(outcome.strErr.contains(message), qPrintable(outcome.strErr));
        QCOMPARE(outcome.strOut, QString());
    }
    QCOMPARE(files(), before);
}

void tst_hostfit::aTemplateThatIsNotThereIsRefused()
{
    const QByteArray before = readFile(livePath());
    for (const QStringList& more : { QStringList(), QStringList("--apply") }) {
        const Outcome outcome = fit("9x9+0+0", QStringList { "--template", "早" } + more);
        QCOMPARE(outcome.nStatus, 1);
        QVERIFY2(outcome.strErr.contains("there is no template '早'"), qPrintable(outcome.strErr));
    }
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostfit::anAnswerInJsonTellsWhereWindowsGo()
{
    const QJsonObject window { { "window", 1 },    { "state", "off" },
                               { "group", 102 },   { "maximized", false },
                               { "screen", 3 },    { "place", "1800x900-1880+60" },
                               { "newScreen", 1 }, { "newPlace", "1800x900+0+60" } };
    for (const QStringList& more : { QStringList(), QStringList("--apply") }) {
        const Outcome outcome
            = fit("1920x1080+0+0", QStringList { "--template", "期权", "--json" } + more);
        const QJsonObject answer = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
        QCOMPARE(answer["fit"].toArray(), QJsonArray { window });
        QCOMPARE(answer["changes"].toArray().isEmpty(), more.isEmpty());
        QCOMPARE(answer["receipt"].isNull(), more.isEmpty());
    }
}

QTEST_GUILESS_MAIN(tst_hostfit)
#include "tst_hostfit.moc"
