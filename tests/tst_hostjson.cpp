#include "librarytest.h"
#include "toolrun.h"

#include <algorithm>

// Commands that end well for the user of this test.
constexpr const char* c_answered[] = { "show",
                                       "check",
                                       "diff indexUserConfig.xml indexUserConfig.xml",
                                       "recover",
                                       "apply patch.json",
                                       "bundle export --out out/a --parts options",
                                       "bundle import indexUserConfig.xml",
                                       "recover --list",
                                       "recover --newest",
                                       "recover --from 2024-01-31",
                                       "report --out out/a",
                                       "support-bundle --out out/a",
                                       "snapshot list",
                                       "snapshot show 2024-01-31",
                                       "snapshot restore 2024-01-31",
                                       "undo",
                                       "history list",
                                       "history show 1",
                                       "history restore 1",
                                       "history prune",
                                       "option list",
                                       "option get oaUser",
                                       "option set tickRestoreDay=9",
                                       "option reset oaUser",
                                       "stock list",
                                       "stock find 600519",
                                       "stock move 0 SH 600519 7",
                                       "stock add 7 SH 1 n",
                                       "stock remove 2 SHFE au2408",
                                       "stock import new.csv",
                                       "stock export out/a",
                                       "layout show",
                                       "layout draw --out out/a",
                                       "layout fit --screens 9999x2000-2000+0",
                                       "layout fit --screens 800x600+0+0 --apply",
                                       "template list",
                                       "template show 早盘",
                                       "template save n",
                                       "template apply 早盘",
                                       "template rename 早盘 n",
                                       "template delete 早盘",
                                       "template export 早盘 out/a",
                                       "template import new.xml",
                                       "setting set k v",
                                       "setting set k v --dry-run",
                                       "setting list",
                                       "sector list",
                                       "export-sector 801780 out",
                                       "tour",
                                       "manual" };

// The one form of all answers in JSON. Their content is held against docs/json/ by answers.py.
class tst_hostjson : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyCommandAnswers_data();
    void everyCommandAnswers();
    void theSchemaNamesEveryCommand();
    void aChangeIsToldWithItsReceipt();
    void aDryRunSaysSo();
    void nothingToDoIsNoChange();
    void stocksComeInFields();
    void aFailureIsAnAnswer_data();
    void aFailureIsAnAnswer();
    void aDamagedFileIsNamedWithItsLine();
    void whatIsWrongInAPatchNamesIt_data();
    void whatIsWrongInAPatchNamesIt();
    void whateverFileIsWrongIsNamed_data();
    void whateverFileIsWrongIsNamed();
    void aFileThatCannotBeCheckedIsAnError_data();
    void aFileThatCannotBeCheckedIsAnError();
    void whatIsNotUnderstoodIsAnAnswer();
    void anAnswerSharesStandardOutputWithNoFile();
    void anAnswerThatDoesNotGoOutTellsWhatWasDone();
    void helpStaysHelp();

private:
    Outcome tool(const QStringList& arguments) const;
    QJsonObject answer(const QStringList& arguments) const;
    QString commandOf(const QStringList& words) const;
};

void tst_hostjson::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
    writeFile(userDir() + "/new.csv", "list,market,code,name\n2,SZ,000002,n\n");
    writeFile(userDir() + "/new.xml",
              "<t><LayoutTemplate name=\"n\"><LayoutWindowTemplate screen_id=\"1\" width=\"9\" "
              "height=\"9\"/>"
              "</LayoutTemplate></t>");
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    QVERIFY(QFile::copy(livePath(), userDir() + "/Temp/indexUserConfig.xml_20240131"));
    writeFile(userDir() + "/patch.json",
              R"({"patch":1,"changes":[{"part":"option","name":"oaUser","before":"analyst",
                  "after":"p"}]})");
    QVERIFY(QDir(userDir()).mkdir("out"));
}

Outcome tst_hostjson::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", "." } + arguments,
                      { "PGHOST=/no/server" }, userDir());
}

QJsonObject tst_hostjson::answer(const QStringList& arguments) const
{
    return QJsonDocument::fromJson(tool(arguments + QStringList("--json")).strOut.toUtf8())
        .object();
}

void tst_hostjson::everyCommandAnswers_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    const auto row = [](const char* pszWords, int status = 0) {
        QTest::newRow(pszWords) << QString::fromUtf8(pszWords) << status;
    };
    for (const char* pszWords : c_answered) {
        row(pszWords);
    }
    row("redo", 1);
    row("layout fit --screens 800x600+0+0", 1);
    row("setting get k", 1);
    row("setting unset k", 1);
    row("snapshot diff 2024-01-31", 1);
    row("history diff 1", 1);
    for (const char* pszWords : { "init", "status", "push", "pull", "history", "show 1", "diff 1",
                                  "restore 1", "asides", "resolve 1 --take mine", "thin" }) {
        row(qPrintable(QStringLiteral("roam %1").arg(pszWords)), 3); // nobody answers here
    }
}

void tst_hostjson::everyCommandAnswers()
{
    QFETCH(QString, words);
    QFETCH(int, status);
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7" }).nStatus, 0);
    const QStringList typed = words.split(' ');
    const Outcome outcome = tool(typed + QStringList("--json"));
    QCOMPARE(outcome.nStatus, status);
    const QJsonObject object = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    QCOMPARE(object["schema"].toInt(), 2);
    QCOMPARE(object["status"].toInt(), status);
    const QString strCommand = object["command"].toString();
    QVERIFY2(!strCommand.isEmpty() && words.startsWith(strCommand), qPrintable(strCommand));
    QVERIFY(object["changes"].isArray());
    QCOMPARE(object["error"].isNull(), outcome.strErr.isEmpty());
    QVERIFY(!outcome.strOut.contains("sample-only"));
}

void tst_hostjson::theSchemaNamesEveryCommand()
{
    QStringList told;
    const auto lines = tool({ "--help" }).strOut.split('\n');
    for (const QString& line : lines) {
        if (line.startsWith("  ") && line.size() > 2 && line[2].isLower()) {
            const QString strUsage = line.mid(2).split('[').first().trimmed();
            QStringList words = strUsage.split(' ');
            const auto isArgument = [](const QString& word) { return !word[0].isLower(); };
            words.erase(std::find_if(words.begin(), words.end(), isArgument), words.end());
            told.append(words.join(' '));
        }
    }
    told.sort();
    const QJsonObject schema
        = QJsonDocument::fromJson(readFile(DOCS "/json/answer.schema.json")).object();
    QStringList named;
    const auto names = schema["properties"].toObject()["command"].toObject()["enum"].toArray();
    for (const auto& name : names) {
        if (name.isString()) {
            named.append(name.toString());
        }
    }
    QCOMPARE(named, told);
}

void tst_hostjson::aChangeIsToldWithItsReceipt()
{
    const QJsonObject object = answer({ "option", "set", "tickRestoreDay=7" });
    const QJsonObject change { { "part", "options" },
                               { "value", "Option/Settings@tickRestoreDay" },
                               { "left", "2" },
                               { "right", "7" } };
    QCOMPARE(object["changes"].toArray(), QJsonArray { change });
    QCOMPARE(object["receipt"].toObject()["bytes"].toInt(), readFile(livePath()).size());
    QCOMPARE(object["dryRun"], QJsonValue(false));
    const QJsonObject undone = answer({ "undo" });
    QCOMPARE(undone["changes"].toArray()[0].toObject()["right"], QJsonValue("2"));
    QCOMPARE(undone["receipt"].toObject()["edit"].toInt(), 2);
}

void tst_hostjson::aDryRunSaysSo()
{
    const QJsonObject object = answer({ "option", "set", "tickRestoreDay=7", "--dry-run" });
    QCOMPARE(object["dryRun"], QJsonValue(true));
    QCOMPARE(object["changes"].toArray().size(), 1);
    QVERIFY(object["receipt"].isNull());
    const QJsonObject setting = answer({ "setting", "set", "k", "v", "--dry-run" });
    QCOMPARE(setting["dryRun"], QJsonValue(true));
    QCOMPARE(answer({ "setting", "get", "k" })["status"].toInt(), 1);
}

void tst_hostjson::nothingToDoIsNoChange()
{
    for (const QStringList& words : { QStringList { "option", "set", "tickRestoreDay=2" },
                                      { "recover" },
                                      { "recover", "--newest" } }) {
        const QJsonObject object = answer(words);
        QCOMPARE(object["status"].toInt(), 0);
        QVERIFY(object["changes"].toArray().isEmpty());
        QVERIFY(object["receipt"].isNull());
    }
}

void tst_hostjson::stocksComeInFields()
{
    const QJsonArray stocks = answer({ "stock", "list" })["stocks"].toArray();
    const QJsonObject wanted { { "list", 0 },
                               { "market", "SH" },
                               { "code", "600519" },
                               { "name", QStringLiteral("贵州茅台") } };
    QCOMPARE(std::count(stocks.begin(), stocks.end(), QJsonValue(wanted)), 1);
}

void tst_hostjson::aFailureIsAnAnswer_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("status");
    QTest::newRow("no") << "template apply none"
                        << "negative" << 1;
    QTest::newRow("usage") << "option set tickRestoreDay=x"
                           << "usage" << 2;
    QTest::newRow("unread") << "stock import missing.csv"
                            << "input-output" << 3;
    QTest::newRow("damaged") << "template import new.csv"
                             << "damaged" << 4;
}

void tst_hostjson::aFailureIsAnAnswer()
{
    QFETCH(QString, words);
    QFETCH(QString, code);
    QFETCH(int, status);
    const QByteArray before = readFile(livePath());
    const QJsonObject object = answer(words.split(' '));
    QCOMPARE(object["status"].toInt(), status);
    QCOMPARE(object["error"].toObject()["code"].toString(), code);
    QVERIFY(object["changes"].toArray().isEmpty());
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostjson::aDamagedFileIsNamedWithItsLine()
{
    writeLive("<ICUserConfigFile>\n<a></b>");
    QVERIFY(QDir(userDir() + "/Temp").removeRecursively());
    for (const char* pszWords : { "show", "option set tickRestoreDay=7", "recover" }) {
        const QJsonObject object = answer(QString(pszWords).split(' '));
        const QJsonObject error = object["error"].toObject();
        QCOMPARE(object["status"].toInt(), 4);
        QCOMPARE(error["file"].toString(), QString("./indexUserConfig.xml"));
        QCOMPARE(error["line"].toInt(), 2);
    }
}

void tst_hostjson::whatIsWrongInAPatchNamesIt_data()
{
    QTest::addColumn<QByteArray>("patch");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("line");
    const auto changed = [](const char* pszText) {
        return QByteArray("{\"patch\":1,\n\"changes\":[") + pszText + "]}";
    };
    QTest::newRow("torn") << QByteArray("{\"patch\":1,\n\n\"changes\":[}") << 4 << 3;
    QTest::newRow("no change") << changed("{}") << 4 << 0;
    QTest::newRow("no value of the option")
        << changed(R"({"part":"option","name":"tickRestoreDay","before":"2","after":"x"})") << 4
        << 0;
    QTest::newRow("conflict") << changed(
        R"({"part":"option","name":"tickRestoreDay","before":"3","after":"4"})")
                              << 1 << 0;
}

void tst_hostjson::whatIsWrongInAPatchNamesIt()
{
    QFETCH(QByteArray, patch);
    QFETCH(int, status);
    QFETCH(int, line);
    writeFile(userDir() + "/patch.json", patch);
    const QJsonObject object = answer({ "apply", "patch.json" });
    QCOMPARE(object["status"].toInt(), status);
    const QJsonObject error = object["error"].toObject();
    QCOMPARE(error["file"], QJsonValue("patch.json"));
    QCOMPARE(error["line"], line > 0 ? QJsonValue(line) : QJsonValue());
}

void tst_hostjson::whateverFileIsWrongIsNamed_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("line");
    const auto row = [](const char* pszWords, const char* pszFile, int line = 0) {
        QTest::newRow(pszWords) << pszWords << pszFile << line;
    };
    row("stock import bad.csv", "bad.csv", 2);
    row("template import new.csv", "new.csv", 1);
    row("template import indexUserConfig.xml", "indexUserConfig.xml");
    row("diff new.csv indexUserConfig.xml", "new.csv", 1);
    row("layout draw --against new.csv --out out/a", "new.csv", 1);
    row("recover --from new.csv", "new.csv", 1);
    row("sector list", "./sectors.json", 3);
    row("export-sector 801780 out", "./sectors.json", 3);
    row("option set oaUser --from-file none", "none");
    row("stock export indexUserConfig.xml", "indexUserConfig.xml");
    row("report --out none/a", "none/a");
}

void tst_hostjson::whateverFileIsWrongIsNamed()
{
    QFETCH(QString, words);
    QFETCH(QString, file);
    QFETCH(int, line);
    writeFile(userDir() + "/sectors.json", "{\n\n}}");
    writeFile(userDir() + "/bad.csv", "list,market,code,name\n1,SH\n");
    const QJsonObject error = answer(words.split(' '))["error"].toObject();
    QCOMPARE(error["file"], QJsonValue(file));
    QCOMPARE(error["line"], line > 0 ? QJsonValue(line) : QJsonValue());
}

void tst_hostjson::aFileThatCannotBeCheckedIsAnError_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("line");
    QTest::newRow("missing") << QByteArray() << "input-output" << 0;
    QTest::newRow("torn") << QByteArray("<ICUserConfigFile>\n<a></b>") << "damaged" << 2;
}

// Beside one that is whole, and its row stays.
void tst_hostjson::aFileThatCannotBeCheckedIsAnError()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, code);
    QFETCH(int, line);
    if (!content.isEmpty()) {
        writeFile(userDir() + "/bad.xml", content);
    }
    const QJsonObject object = answer({ "check", "indexUserConfig.xml", "bad.xml" });
    QCOMPARE(object["files"].toArray().size(), 2);
    const QJsonObject error = object["error"].toObject();
    QCOMPARE(error["code"].toString(), code);
    QCOMPARE(error["file"], QJsonValue("bad.xml"));
    QCOMPARE(error["line"], line > 0 ? QJsonValue(line) : QJsonValue());
    QCOMPARE(error["message"], object["files"].toArray()[1].toObject()["error"]);
}

void tst_hostjson::whatIsNotUnderstoodIsAnAnswer()
{
    for (const QStringList& words :
         { QStringList { "shwo" }, { "show", "--bogus" }, { "option", "get" }, {} }) {
        const QJsonObject object = answer(words);
        QCOMPARE(object["error"].toObject()["code"].toString(), QString("usage"));
        QCOMPARE(object["command"].isNull(), words.value(0) != "show" && words.size() < 2);
    }
    QVERIFY(answer({ "show", "--", "x" }).isEmpty());
}

void tst_hostjson::anAnswerSharesStandardOutputWithNoFile()
{
    for (const char* pszWords : { "report --out -", "stock export -", "layout draw --out -" }) {
        const QJsonObject object = answer(QString(pszWords).split(' '));
        QCOMPARE(object["error"].toObject()["code"].toString(), QString("usage"));
    }
}

void tst_hostjson::anAnswerThatDoesNotGoOutTellsWhatWasDone()
{
    for (const QStringList& words : { QStringList { "option", "set", "tickRestoreDay=7" },
                                      { "undo" },
                                      { "stock", "export", userDir() + "/out/a" } }) {
        const Outcome outcome
            = runOntoFullDisk(QStringList { "--json", "--config-dir", userDir() } + words);
        QCOMPARE(outcome.nStatus, 3);
        QVERIFY2(outcome.strErr.contains("; but it was done: "), qPrintable(outcome.strErr));
    }
}

void tst_hostjson::helpStaysHelp()
{
    const QJsonObject object = answer({ "show", "--help" });
    QVERIFY(object["page"].toObject()["text"].toString().startsWith("indexuserctl show "));
    QCOMPARE(runTool({ "complete", "check", "--json" }).strOut, QString("--json\n--jsonl\n"));
}

QTEST_GUILESS_MAIN(tst_hostjson)
#include "tst_hostjson.moc"
