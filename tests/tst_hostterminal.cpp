#include "librarytest.h"
#include "toolrun.h"

// What people see: tables on a terminal of some width, long answers, the man page, completion.
class tst_hostterminal : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tablesFitTheTerminal_data();
    void tablesFitTheTerminal();
    void columnsAreCutFromTheRight();
    void columnsWithoutAnyRoomAreLeftOutAndShowIt();
    void wideTablesAreWhole();
    void elsewhereTablesAreWhole();
    void stocksAreRows();
    void longAnswersGoThroughThePager();
    void whatIsNotLongGoesThroughNoPager_data();
    void whatIsNotLongGoesThroughNoPager();
    void aPagerThatFailsLosesNothing_data();
    void aPagerThatFailsLosesNothing();
    void whoLeavesThePagerHasSeenEnough();
    void aDumbTerminalHasNoColour();
    void everyCommandHasAParagraphAndAnExample();
    void everyExampleWorks_data();
    void everyExampleWorks();
    void theManPageHasItsSections();
    void whatALayoutIsComparedWithIsToldEverywhere();
    void optionsAreDescribedEverywhere();
    void bashCompletesRunInTheSourceTree();

private:
    QString page() const;
    QStringList shown(const QString& words, int columns, const QStringList& environment = {},
                      int lines = 200) const;
    Outcome tool(const QStringList& arguments) const;
    void makeUser(const QString& directory) const;
};

void tst_hostterminal::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostterminal::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

// The lines of an answer on a terminal, without colours.
QStringList tst_hostterminal::shown(const QString& words, int columns,
                                    const QStringList& environment, int lines) const
{
    const QString strScript
        = QStringLiteral("stty cols %1 rows %2; exec %3 --config-dir %4 %5")
              .arg(QString::number(columns), QString::number(lines), TOOL, userDir(), words);
    const Outcome outcome = runProgram("script", { "-qec", strScript, "/dev/null" },
                                       QStringList { "NO_COLOR=1" } + environment, userDir());
    return QString(outcome.strOut).remove('\r').split('\n');
}

void tst_hostterminal::tablesFitTheTerminal_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("columns");
    for (const char* pszWords :
         { "show", "layout show", "option list --describe", "history list" }) {
        for (const int nColumns : { 6, 12, 32, 40, 60, 80, 200 }) {
            QTest::addRow("%s in %d columns", pszWords, nColumns) << pszWords << nColumns;
        }
    }
}

// Wide characters take two columns, of which these have two or three bytes more than ASCII.
void tst_hostterminal::tablesFitTheTerminal()
{
    QFETCH(QString, words);
    QFETCH(int, columns);
    QCOMPARE(tool({ "option", "set", "oaUser=" + QString(300, 'u') }).nStatus, 0);
    const QStringList lines = shown(words, columns);
    QVERIFY(lines.size() > 3);
    for (const QString& line : lines) {
        int nWidth = 0;
        for (const QChar c : line) {
            nWidth += c.unicode() >= 0x2e80 ? 2 : 1;
        }
        // Headings go on in the next line.
        QVERIFY2(nWidth <= columns || (columns < 40 && !line.startsWith(' ')), qPrintable(line));
    }
}

void tst_hostterminal::columnsAreCutFromTheRight()
{
    QCOMPARE(tool({ "option", "set", "oaUser=" + QString(60, 'u') }).nStatus, 0);
    const QStringList lines = shown("option list --changed", 60);
    const QStringList users = lines.filter("oaUser");
    QCOMPARE(users.size(), 1);
    QVERIFY2(users.first().contains(QRegularExpression("^  oaUser +yes +u+…$")),
             qPrintable(users.first()));
}

// A letter of each is told nobody; of those that stay the last one ends with an ellipsis.
void tst_hostterminal::columnsWithoutAnyRoomAreLeftOutAndShowIt()
{
    const QStringList lines = shown("option list --changed", 12);
    const QStringList users = lines.filter("oa");
    QVERIFY2(!users.isEmpty(), qPrintable(lines.join('\n')));
    for (const QString& user : users) {
        QVERIFY2(user.contains(QRegularExpression("^  oa[A-Z][a-z]*…? *…$")), qPrintable(user));
    }
}

void tst_hostterminal::wideTablesAreWhole()
{
    QCOMPARE(tool({ "option", "set", "oaUser=" + QString(60, 'u') }).nStatus, 0);
    QVERIFY(shown("option list --wide", 40).join('\n').contains(QString(60, 'u')));
    QVERIFY(!shown("option list --wide", 40).join('\n').contains("…"));
}

void tst_hostterminal::elsewhereTablesAreWhole()
{
    QCOMPARE(tool({ "option", "set", "oaUser=" + QString(600, 'u') }).nStatus, 0);
    QVERIFY(tool({ "option", "list" }).strOut.contains(QString(600, 'u')));
    QVERIFY(runProgram(TOOL, { "--config-dir", userDir(), "option", "list" }, { "COLUMNS=40" })
                .strOut.contains(QString(600, 'u')));
}

void tst_hostterminal::stocksAreRows()
{
    QByteArray csv = "list,market,code,name\n";
    for (int i = 0; i < 5000; ++i) {
        csv += "3,SH," + QByteArray::number(600000 + i) + ",n\n";
    }
    writeFile(userDir() + "/many.csv", csv);
    QCOMPARE(tool({ "stock", "import", "many.csv" }).nStatus, 0);
    const QStringList lines = tool({ "stock", "list", "3" }).strOut.split('\n');
    QCOMPARE(lines.filter(QRegularExpression("^  3 +SH +60\\d{4}  n$")).size(), 5000);
}

void tst_hostterminal::longAnswersGoThroughThePager()
{
    const QStringList paged = shown("option list", 200, { "PAGER=sed 's/^/paged /'" }, 10);
    QCOMPARE(paged.filter(QRegularExpression("^paged ")).size(), paged.size() - 1);
    QVERIFY(paged.size() > 30);
}

void tst_hostterminal::whatIsNotLongGoesThroughNoPager_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QStringList>("environment");
    QTest::addColumn<int>("lines");
    QTest::newRow("short") << "option get oaUser" << QStringList("PAGER=sed s/^/paged/") << 10;
    QTest::newRow("fits") << "option list" << QStringList("PAGER=sed s/^/paged/") << 60;
    QTest::newRow("no pager") << "option list" << QStringList("PAGER=") << 10;
}

void tst_hostterminal::whatIsNotLongGoesThroughNoPager()
{
    QFETCH(QString, words);
    QFETCH(QStringList, environment);
    QFETCH(int, lines);
    const QStringList seen = shown(words, 200, environment, lines);
    QVERIFY(seen.filter("paged").isEmpty());
    QVERIFY(!seen.filter(QRegularExpression("analyst")).isEmpty());
}

void tst_hostterminal::aPagerThatFailsLosesNothing_data()
{
    QTest::addColumn<QString>("pager");
    QTest::newRow("not there") << "no-such-pager";
    QTest::newRow("no program") << "/dev/null";
    QTest::newRow("fails") << "false";
    QTest::newRow("wrong option") << "cat --no-such-option";
    QTest::newRow("killed") << "kill -9 $$";
}

void tst_hostterminal::aPagerThatFailsLosesNothing()
{
    QFETCH(QString, pager);
    const QStringList seen = shown("option list", 200, { "PAGER=" + pager }, 10);
    QCOMPARE(seen.filter(QRegularExpression("^  tickRestoreDay ")).size(), 1);
}

void tst_hostterminal::whoLeavesThePagerHasSeenEnough()
{
    const QStringList seen = shown("option list", 200, { "PAGER=head -n 3" }, 10);
    QCOMPARE(seen.size(), 3 + 1);
}

void tst_hostterminal::aDumbTerminalHasNoColour()
{
    const auto coloured = [&](const char* pszTerminal) {
        const QString strScript
            = QStringLiteral(TOOL " --config-dir %1 show stocks").arg(userDir());
        return runProgram("script", { "-qec", strScript, "/dev/null" }, { pszTerminal })
            .strOut.contains("\033[");
    };
    QVERIFY(coloured("TERM=xterm"));
    QVERIFY(!coloured("TERM=dumb"));
}

QString tst_hostterminal::page() const
{
    return tool({ "manual" }).strOut.replace("\\(ti", "~").remove('\\');
}

// Of each command: its line, a paragraph, an example.
void tst_hostterminal::everyCommandHasAParagraphAndAnExample()
{
    const QString strCommands = page().section(".SH COMMANDS\n", 1).section(".SH ", 0, 0);
    const QStringList entries = strCommands.split(".TP\n.B ", Qt::SkipEmptyParts);
    QVERIFY(entries.size() > 40);
    for (const QString& entry : entries) {
        const QRegularExpression form("^([a-z][a-z -]*[a-z]).*\n.+\n\\.IP\n.{20,}\n\\.IP\n\\.EX\n"
                                      "indexuserctl \\1\\b.*\n\\.EE\n$");
        QVERIFY2(form.match(entry).hasMatch(), qPrintable(entry));
    }
}

void tst_hostterminal::everyExampleWorks_data()
{
    QTest::addColumn<QString>("command");
    const Outcome manual = runTool({ "manual" });
    const QString strPage = QString(manual.strOut).replace("\\(ti", "~").remove('\\');
    QRegularExpressionMatchIterator it
        = QRegularExpression("\\.EX\n(.*)\n\\.EE\n").globalMatch(strPage);
    while (it.hasNext()) {
        const QString strCommand = it.next().captured(1);
        if (strCommand.startsWith("indexuserctl roam ")) {
            continue; // they need a server, and the demonstration types them
        }
        QTest::newRow(qPrintable(strCommand)) << strCommand;
    }
}

// Somebody who has worked for a while: copies, edits, one of them undone.
void tst_hostterminal::makeUser(const QString& directory) const
{
    QVERIFY(QDir().mkpath(directory + "/Temp"));
    for (const char* pszFile : { "/indexUserConfig.xml", "/sectors.json" }) {
        QVERIFY(QFile::copy(QString(SAMPLE_USER) + pszFile, directory + pszFile));
    }
    const QString strYesterday = QDate::currentDate().addDays(-1).toString("yyyyMMdd");
    for (const QString& date : { QStringLiteral("20240131"), strYesterday }) {
        writeFile(directory + "/Temp/indexUserConfig.xml_" + date,
                  readFile(SAMPLE_USER "/indexUserConfig.xml").replace("analyst", "before"));
    }
    for (const char* pszWords :
         { "option set oaUser=a", "setting set theme light", "option set oaUser=b", "undo" }) {
        const Outcome outcome = runProgram(
            TOOL, QStringList { "--config-dir", directory } + QString(pszWords).split(' '), {},
            userDir());
        QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    }
}

void tst_hostterminal::everyExampleWorks()
{
    QFETCH(QString, command);
    static const QTemporaryDir s_user; // one for all, since making it takes longer than the example
    const QString strMade = s_user.path() + "/made";
    if (!QFile::exists(strMade)) {
        makeUser(strMade);
    }
    const QString strHome = userDir() + "/home";
    QVERIFY(QDir().mkpath(strHome + "/.config"));
    QCOMPARE(runProgram("cp", { "-a", strMade, strHome + "/.config/indexuser" }).nStatus, 0);
    writeFile(userDir() + "/stocks.csv", "list,market,code,name\n1,SH,600000,n\n");
    writeFile(userDir() + "/patch.json", R"({"patch":1,"changes":[]})");
    writeFile(userDir() + "/bundle.xml", readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeFile(userDir() + "/morning.xml",
              "<t><LayoutTemplate name=\"n\"><LayoutWindowTemplate screen_id=\"1\" width=\"9\" "
              "height=\"9\"/>"
              "</LayoutTemplate></t>");
    const QString strPath = QFileInfo(TOOL).path() + ':' + qEnvironmentVariable("PATH");
    const Outcome outcome
        = runProgram("bash", { "-c", command },
                     { "HOME=" + strHome, "PATH=" + strPath, "XDG_CONFIG_HOME=" }, userDir());
    const bool bCompares = command.contains(" diff ");
    QVERIFY2(outcome.nStatus == (bCompares ? 1 : 0), qPrintable(outcome.strErr));
    QCOMPARE(outcome.strErr, QString());
}

void tst_hostterminal::theManPageHasItsSections()
{
    const QString strPage = page();
    QStringList sections;
    for (const QString& line : strPage.split('\n')) {
        if (line.startsWith(".SH ")) {
            sections.append(line.mid(4));
        }
    }
    QCOMPARE(sections,
             QStringList({ "NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "MANY USERS", "OPTIONS",
                           "OPTIONS OF THE CLIENT", "EXIT STATUS", "FILES", "ENVIRONMENT",
                           "SEE ALSO" }));
    for (const char* pszText : { "~/.config/indexuser/", "XDG_CONFIG_HOME", "PAGER" }) {
        QVERIFY2(strPage.contains(QString("\n.B ") + pszText + '\n'), pszText);
    }
}

void tst_hostterminal::whatALayoutIsComparedWithIsToldEverywhere()
{
    const QRegularExpression value("--against\\W+DATE\\|FILE\\|TEMPLATE\\b");
    const QString strHelp = tool({ "layout", "draw", "--help" }).strOut;
    QVERIFY2(strHelp.contains(value), qPrintable(strHelp));
    QVERIFY(page().contains(value));
    const QString strDraw = page().section("\n.B layout draw", 1).section(".TP", 0, 0);
    QVERIFY2(strDraw.contains("With --against "), qPrintable(strDraw));
}

void tst_hostterminal::optionsAreDescribedEverywhere()
{
    const QString strPage = page().section(".SH OPTIONS OF THE CLIENT\n", 1).section(".SH ", 0, 0);
    const QString strSchema = QString::fromUtf8(readFile(DOCS "/indexUserConfig.xsd"));
    const QString strPatches = QString::fromUtf8(readFile(DOCS "/json/patch.schema.json"));
    const QString strReport = tool({ "report", "--out", "-" }).strOut.replace("&quot;", "\"");
    const auto rows = QJsonDocument::fromJson(
                          tool({ "option", "list", "--describe", "--json" }).strOut.toUtf8())
                          .object()["descriptions"]
                          .toArray();
    QCOMPARE(rows.size(), 33);
    QCOMPARE(strPage.count(".TP\n"), 33);
    for (const auto& each : rows) {
        const QJsonObject row = each.toObject();
        const QString strName = row["option"].toString();
        const QString strText = (row["about"].toString() + ": " + row["range"].toString() + ' '
                                 + row["unit"].toString())
                                    .trimmed();
        QVERIFY(row["about"].toString().size() > 5);
        QVERIFY2(strPage.contains(".B " + strName + '\n' + strText + '\n'), qPrintable(strText));
        const bool bSaved = strSchema.contains("<xs:attribute name=\"" + strName + '"');
        QCOMPARE(strSchema.count('>' + strText + "</xs:documentation>") > 0, bSaved);
        const QString strOfPatch
            = "{\"const\": \"" + strName + "\", \"description\": \"" + strText + "\"}";
        QCOMPARE(strPatches.count(strOfPatch), bSaved && strName != "oaPassword" ? 1 : 0);
        const QString strOfReport = '>' + strName + " <small>" + strText + "</small></th>";
        QVERIFY2(strReport.contains(strOfReport), qPrintable(strOfReport));
    }
}

void tst_hostterminal::bashCompletesRunInTheSourceTree()
{
    QVERIFY(QDir(userDir()).mkpath("build/release/bin"));
    QVERIFY(QFile::link(TOOL, userDir() + "/build/release/bin/indexuserctl"));
    makeUser(userDir() + "/build/user");
    const QString strScript
        = QStringLiteral(
              "source '%1'; COMP_WORDS=(./run template apply 期); COMP_CWORD=3; "
              "_indexuserctl; eval \"printf '%s\\n' ${COMPREPLY[0]}\"; complete -p ./run")
              .arg(COMPLETION);
    const Outcome outcome = runProgram("bash", { "-c", strScript }, {}, userDir());
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.strOut, QStringLiteral("期权\ncomplete -o default -F _indexuserctl ./run\n"));
}

QTEST_GUILESS_MAIN(tst_hostterminal)
#include "tst_hostterminal.moc"
