#include "librarytest.h"
#include "toolrun.h"

#include <algorithm>
#include <cstring>

#include <pty.h>
#include <sys/wait.h>

// What a script asks for and changes by name: options, stocks, templates, settings, dates, secrets.
class tst_hostcommands : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void changedOptionsAreThoseOffTheirDefaults();
    void optionsGoBackToTheirDefaults();
    void anOptionThatIsNotThereIsNotReset();
    void aListIsShownAlone();
    void aListThatIsNotThereIsNotShown();
    void aStockIsFoundInAllLists_data();
    void aStockIsFoundInAllLists();
    void aStockThatNoListHasIsNotFound();
    void aStockMoves_data();
    void aStockMoves();
    void aMoveThatCannotBeMovesNothing_data();
    void aMoveThatCannotBeMovesNothing();
    void aTemplateIsShownByItsName();
    void settingsAreListedAndUnset();
    void aDryRunUnsetsNothing();
    void wordsStandForDates();
    void theLatestCopyHasToBeThere();
    void aSecretComesFromAFile_data();
    void aSecretComesFromAFile();
    void aSecretComesFromStandardInput();
    void aSecretComesFromAPromptWithoutEcho();
    void aSecretThatIsTypedTwoWaysIsRefused();
    void aValueFromAFileIsRefused_data();
    void aValueFromAFileIsRefused();

private:
    Outcome tool(const QStringList& arguments, const QByteArray& input = {}) const;
    QJsonArray rows(const QStringList& arguments, const QString& table) const;
    QStringList codes(int list) const;
    QString password() const;
    QByteArray typed(const QByteArrayList& lines, int& status) const;
};

void tst_hostcommands::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostcommands::tool(const QStringList& arguments, const QByteArray& input) const
{
    return runProgram(TOOL, QStringList { "--config-dir", "." } + arguments, {}, userDir(), input);
}

QJsonArray tst_hostcommands::rows(const QStringList& arguments, const QString& table) const
{
    const Outcome outcome = tool(arguments + QStringList("--json"));
    return QJsonDocument::fromJson(outcome.strOut.toUtf8()).object()[table].toArray();
}

QStringList tst_hostcommands::codes(int list) const
{
    QStringList found;
    const QDomDocument file = parsed(QString::fromUtf8(readFile(livePath())));
    const QDomNodeList stocks = file.elementsByTagName("Stock");
    for (int i = 0; i < stocks.size(); ++i) {
        const QDomElement stock = stocks.at(i).toElement();
        if (stock.parentNode().toElement().attribute("type") == QString::number(list)) {
            found.append(stock.attribute("code"));
        }
    }
    return found;
}

QString tst_hostcommands::password() const
{
    const QDomDocument file = parsed(QString::fromUtf8(readFile(livePath())));
    return file.elementsByTagName("Settings").at(0).toElement().attribute("oaPassword");
}

void tst_hostcommands::changedOptionsAreThoseOffTheirDefaults()
{
    writeLive("<ICUserConfigFile><Option><Settings tickRestoreDay='4' showGradient='1'"
              " oaUser='u'/></Option></ICUserConfigFile>");
    QStringList names;
    const auto changed = rows({ "option", "list", "--changed" }, "options");
    for (const auto& row : changed) {
        names.append(row.toObject()["option"].toString());
    }
    QCOMPARE(names, QStringList({ "tickRestoreDay", "oaUser" }));
}

void tst_hostcommands::optionsGoBackToTheirDefaults()
{
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=9", "oaUser=u", "showGradient=0" }).nStatus,
             0);
    QCOMPARE(tool({ "option", "reset", "tickRestoreDay", "oaUser", "oaPassword" }).nStatus, 0);
    QCOMPARE(tool({ "option", "get", "tickRestoreDay" }).strOut, QString("1\n"));
    QCOMPARE(tool({ "option", "get", "oaUser" }).strOut, QString("\n"));
    QCOMPARE(tool({ "option", "get", "showGradient" }).strOut, QString("0\n"));
    QCOMPARE(password(), QString());
}

void tst_hostcommands::anOptionThatIsNotThereIsNotReset()
{
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool({ "option", "reset", "oaUser", "oaUsr" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("did you mean 'oaUser'?"), qPrintable(outcome.strErr));
    QCOMPARE(tool({ "option", "reset", "updateposition" }).nStatus, 2);
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostcommands::aListIsShownAlone()
{
    const auto stocks = rows({ "stock", "list", "1" }, "stocks");
    QCOMPARE(stocks.size(), codes(1).size());
    for (const auto& row : stocks) {
        QCOMPARE(row.toObject()["list"].toInt(), 1);
    }
    QCOMPARE(rows({ "stock", "list", "7" }, "lists"),
             (QJsonArray { QJsonObject { { "list", 7 }, { "stocks", 0 } } }));
}

void tst_hostcommands::aListThatIsNotThereIsNotShown()
{
    const Outcome outcome = tool({ "stock", "list", "5" });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(outcome.strErr, QString("indexuserctl: there is no list 5; lists are 0, 1, 2, 7\n"));
    QCOMPARE(tool({ "stock", "list", "x" }).nStatus, 2);
}

void tst_hostcommands::aStockIsFoundInAllLists_data()
{
    QTest::addColumn<QString>("word");
    QTest::newRow("code") << "600519";
    QTest::newRow("market and code") << "SH600519";
}

void tst_hostcommands::aStockIsFoundInAllLists()
{
    QFETCH(QString, word);
    QCOMPARE(tool({ "stock", "add", "7", "SH", "600519", "n" }).nStatus, 0);
    QList<int> lists;
    const auto found = rows({ "stock", "find", word }, "stocks");
    for (const auto& row : found) {
        QCOMPARE(row.toObject()["code"].toString(), QString("600519"));
        lists.append(row.toObject()["list"].toInt());
    }
    QCOMPARE(lists, QList<int>({ 0, 7 }));
}

void tst_hostcommands::aStockThatNoListHasIsNotFound()
{
    const Outcome outcome = tool({ "stock", "find", "600518" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("no list has a stock '600518', did you mean '600519'?"),
             qPrintable(outcome.strErr));
}

void tst_hostcommands::aStockMoves_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("first");
    QTest::addColumn<QStringList>("second");
    const QStringList rest { "600000", "000001", "300750" };
    QTest::newRow("to another list") << QStringList { "7" } << rest << QStringList { "600519" };
    QTest::newRow("to a new list") << QStringList { "9" } << rest << QStringList();
    QTest::newRow("to its end") << QStringList { "0" } << rest + QStringList("600519")
                                << QStringList();
    QTest::newRow("to its beginning")
        << QStringList { "0", "1" } << QStringList("600519") + rest << QStringList();
    QTest::newRow("to its third place")
        << QStringList { "0", "3" } << QStringList { "600000", "000001", "600519", "300750" }
        << QStringList();
}

void tst_hostcommands::aStockMoves()
{
    QFETCH(QStringList, words);
    QFETCH(QStringList, first);
    QFETCH(QStringList, second);
    const Outcome outcome = tool(QStringList { "stock", "move", "0", "SH", "600519" } + words);
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QCOMPARE(codes(0), first);
    QCOMPARE(codes(7), second);
    QCOMPARE(codes(words[0].toInt()).count("600519"), 1);
}

void tst_hostcommands::aMoveThatCannotBeMovesNothing_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("not there") << "0 SH 1 7" << 1;
    QTest::newRow("from a list that is not there") << "5 SH 600519 7" << 1;
    QTest::newRow("there already") << "0 SH 600519 8" << 1;
    QTest::newRow("no place") << "0 SH 600519 7 2" << 2;
    QTest::newRow("place 0") << "0 SH 600519 0 0" << 2;
    QTest::newRow("no list") << "0 SH 600519 x" << 2;
}

void tst_hostcommands::aMoveThatCannotBeMovesNothing()
{
    QFETCH(QString, words);
    QFETCH(int, status);
    QCOMPARE(tool({ "stock", "add", "8", "SH", "600519", "n" }).nStatus, 0);
    const QByteArray before = readFile(livePath());
    QCOMPARE(tool(QStringList { "stock", "move" } + words.split(' ')).nStatus, status);
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostcommands::aTemplateIsShownByItsName()
{
    const Outcome shown = tool({ "template", "show", "早盘" });
    QCOMPARE(shown.nStatus, 0);
    QCOMPARE(shown.strOut, tool({ "layout", "show", "--template", "早盘" }).strOut);
    QCOMPARE(rows({ "template", "show", "--trade", "双账户" }, "windows").size(), 1);
    QCOMPARE(tool({ "template", "show", "早盆" }).nStatus, 1);
}

void tst_hostcommands::settingsAreListedAndUnset()
{
    QCOMPARE(tool({ "setting", "set", "a", "1" }).nStatus, 0);
    QCOMPARE(tool({ "setting", "set", "b", "" }).nStatus, 0);
    const QJsonObject a { { "key", "a" }, { "value", "1" } };
    const QJsonObject b { { "key", "b" }, { "value", "" } };
    QCOMPARE(rows({ "setting", "list" }, "settings"), (QJsonArray { a, b }));
    QCOMPARE(tool({ "setting", "unset", "a" }).nStatus, 0);
    QCOMPARE(rows({ "setting", "list" }, "settings"), QJsonArray { b });
    QCOMPARE(tool({ "setting", "unset", "a" }).nStatus, 1);
    const QJsonObject gone {
        { "part", "settings" }, { "value", "b" }, { "left", "" }, { "right", QJsonValue() }
    };
    QCOMPARE(rows({ "setting", "unset", "b" }, "changes"), QJsonArray { gone });
    QVERIFY(rows({ "setting", "list" }, "settings").isEmpty());
}

void tst_hostcommands::aDryRunUnsetsNothing()
{
    QCOMPARE(tool({ "setting", "set", "a", "1" }).nStatus, 0);
    const Outcome outcome = tool({ "setting", "unset", "a", "--dry-run" });
    QVERIFY(outcome.strOut.contains(QRegularExpression("settings +a +1 +\\(absent\\)")));
    QCOMPARE(tool({ "setting", "get", "a" }).strOut, QString("1\n"));
}

void tst_hostcommands::wordsStandForDates()
{
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    const auto copy = [&](const QDate& date, const char* pszUser) {
        writeFile(userDir() + "/Temp/indexUserConfig.xml_" + date.toString("yyyyMMdd"),
                  QByteArray("<ICUserConfigFile><Option><Settings oaUser='") + pszUser
                      + "'/></Option></ICUserConfigFile>");
    };
    const auto shown = [&](const char* pszDate) {
        const auto options = rows({ "snapshot", "show", pszDate, "options" }, "options");
        const auto isUser
            = [](const auto& row) { return row.toObject()["option"] == QJsonValue("oaUser"); };
        const auto it = std::find_if(options.begin(), options.end(), isUser);
        return it == options.end() ? QString() : (*it).toObject()["value"].toString();
    };
    const QDate today = QDate::currentDate();
    copy(today.addDays(-9), "nine");
    copy(today.addDays(-1), "yesterday");
    QCOMPARE(shown("latest"), QString("yesterday"));
    QCOMPARE(shown("yesterday"), QString("yesterday"));
    QCOMPARE(shown("today"), QString());
    copy(today, "today");
    QCOMPARE(shown("today"), QString("today"));
    QCOMPARE(shown("latest"), QString("today"));
    QCOMPARE(tool({ "snapshot", "diff", "yesterday", "latest" }).nStatus, 1);
    QCOMPARE(tool({ "recover", "--from", "yesterday" }).nStatus, 0);
    QCOMPARE(tool({ "option", "get", "oaUser" }).strOut, QString("yesterday\n"));
    QCOMPARE(tool({ "snapshot", "restore", "latest" }).nStatus, 0);
    QCOMPARE(tool({ "option", "get", "oaUser" }).strOut, QString("today\n"));
}

void tst_hostcommands::theLatestCopyHasToBeThere()
{
    const Outcome outcome = tool({ "snapshot", "show", "latest" });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(outcome.strErr, QString("indexuserctl: there is no dated copy yet\n"));
}

void tst_hostcommands::aSecretComesFromAFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("secret");
    QTest::newRow("line") << QByteArray("s=e cret\n") << "s=e cret";
    QTest::newRow("no end of line") << QByteArray("s") << "s";
    QTest::newRow("Windows") << QByteArray("s\r\n") << "s";
    QTest::newRow("more lines") << QByteArray("s\nt\n") << "s";
    QTest::newRow("nothing") << QByteArray() << "";
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbfs\r\n") << "s";
    QTest::newRow("mark within") << QByteArray("s\xef\xbb\xbft\r\n") << QString("s\ufefft");
}

void tst_hostcommands::aSecretComesFromAFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, secret);
    writeFile(userDir() + "/secret", content);
    const QStringList words { "option", "set", "oaPassword", "--from-file" };
    QCOMPARE(tool(words + QStringList("secret")).nStatus, 0);
    QCOMPARE(password(), secret);
    QCOMPARE(tool({ "option", "set", "oaPassword=other" }).nStatus, 0);
    QCOMPARE(tool(words + QStringList("-"), content).nStatus, 0);
    QCOMPARE(password(), secret);
    QVERIFY(secret.isEmpty() || secret == "s"
            || !tool({ "history", "list" }).strOut.contains(secret));
}

void tst_hostcommands::aSecretComesFromStandardInput()
{
    QCOMPARE(tool({ "option", "set", "oaPassword" }, "hidden one\nrest").nStatus, 0);
    QCOMPARE(password(), QString("hidden one"));
    QCOMPARE(tool({ "option", "set", "oaPassword" }, "\xef\xbb\xbfhidden one\r\n").nStatus, 0);
    QCOMPARE(password(), QString("hidden one"));
    QCOMPARE(tool({ "option", "set", "oaPassword" }).nStatus, 2);
    QCOMPARE(tool({ "option", "set", "oaPassword" }, "\xff\n").nStatus, 2);
    QCOMPARE(password(), QString("hidden one"));
    QCOMPARE(tool({ "option", "set", "oaUser" }, "u\n").nStatus, 2);
}

// What a terminal shows while the lines are typed, each at a colon and a blank.
QByteArray tst_hostcommands::typed(const QByteArrayList& lines, int& status) const
{
    const QByteArray directory = QFile::encodeName(userDir());
    int nTerminal = -1;
    const pid_t nChild = ::forkpty(&nTerminal, nullptr, nullptr, nullptr);
    if (nChild == 0) {
        ::execl(TOOL, TOOL, "--config-dir", directory.constData(), "option", "set", "oaPassword",
                nullptr);
        ::_exit(127);
    }
    QByteArray shown;
    char block[512];
    ssize_t n = 0;
    int nTyped = 0;
    while ((n = ::read(nTerminal, block, sizeof block)) > 0) {
        shown.append(block, static_cast<int>(n));
        if (nTyped < lines.size() && shown.count(": ") > nTyped) {
            const QByteArray line = lines[nTyped++] + '\n';
            if (::write(nTerminal, line.constData(), static_cast<size_t>(line.size())) < 0) {
                break;
            }
        }
    }
    ::close(nTerminal);
    int nEnd = 0;
    ::waitpid(nChild, &nEnd, 0);
    status = WIFEXITED(nEnd) ? WEXITSTATUS(nEnd) : -1;
    return shown;
}

void tst_hostcommands::aSecretComesFromAPromptWithoutEcho()
{
    int nStatus = -1;
    const QByteArray shown = typed({ "unseen", "unseen" }, nStatus);
    QCOMPARE(nStatus, 0);
    QVERIFY2(shown.startsWith("oaPassword: \r\noaPassword, again: \r\n"), shown.constData());
    QVERIFY2(!shown.contains("unseen"), shown.constData());
    QCOMPARE(password(), QString("unseen"));
}

void tst_hostcommands::aSecretThatIsTypedTwoWaysIsRefused()
{
    const QByteArray before = readFile(livePath());
    int nStatus = -1;
    QVERIFY(typed({ "unseen", "unsene" }, nStatus).contains("these two were not the same"));
    QCOMPARE(nStatus, 2);
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostcommands::aValueFromAFileIsRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("missing file") << QStringList { "oaPassword", "--from-file", "none" } << 3;
    QTest::newRow("no name") << QStringList { "", "--from-file", "f" } << 1;
    QTest::newRow("two names") << QStringList { "oaUser", "oaPassword", "--from-file", "f" } << 2;
    QTest::newRow("name and value") << QStringList { "oaUser=u", "--from-file", "f" } << 2;
    QTest::newRow("unknown name") << QStringList { "oaUsr", "--from-file", "f" } << 1;
    QTest::newRow("no number") << QStringList { "tickRestoreDay", "--from-file", "f" } << 2;
    QTest::newRow("not UTF-8") << QStringList { "oaUser", "--from-file", "bytes" } << 4;
}

void tst_hostcommands::aValueFromAFileIsRefused()
{
    QFETCH(QStringList, words);
    QFETCH(int, status);
    writeFile(userDir() + "/f", "text\n");
    writeFile(userDir() + "/bytes", "\xff\n");
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool(QStringList { "option", "set" } + words);
    QVERIFY2(outcome.nStatus == status, qPrintable(outcome.strErr));
    QCOMPARE(readFile(livePath()), before);
}

QTEST_GUILESS_MAIN(tst_hostcommands)
#include "tst_hostcommands.moc"
