#include "librarytest.h"
#include "toolrun.h"

// Which words the command line takes, and what it says of the others.
class tst_hostwords : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void unknownWordsAreNamedWithANearOne_data();
    void unknownWordsAreNamedWithANearOne();
    void anOptionWithoutItsValueIsRefused_data();
    void anOptionWithoutItsValueIsRefused();
    void emptyNamesAreRefused_data();
    void emptyNamesAreRefused();
    void whatIsNoUtf8IsRefused_data();
    void whatIsNoUtf8IsRefused();
    void whatNoFileHoldsIsRefused_data();
    void whatNoFileHoldsIsRefused();
    void whatIsTypedIsStored();

private:
    Outcome tool(const QStringList& arguments) const;
    QStringList files() const;
};

void tst_hostwords::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
}

Outcome tst_hostwords::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

QStringList tst_hostwords::files() const
{
    return QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void tst_hostwords::unknownWordsAreNamedWithANearOne_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* pszLine, const char* pszMessage) {
        QTest::newRow(pszLine) << QString(pszLine) << QString(pszMessage);
    };
    row("optoin set a=1", "there is no command 'optoin', did you mean 'option'?; see --help");
    row("stcok list", "there is no command 'stcok', did you mean 'stock'?; see --help");
    row("templat list", "there is no command 'templat', did you mean 'template'?; see --help");
    row("sectors list", "there is no command 'sectors', did you mean 'sector'?; see --help");
    row("optoin", "there is no command 'optoin', did you mean 'option'?; see --help");
    row("option sett a=1", "there is no command 'option sett', did you mean 'option set'?");
    row("lunch list", "there is no command 'lunch'; see --help");
    row("check --jsn",
        "there is no option '--jsn', did you mean '--json'?; usage: indexuserctl check "
        "[--users GLOB] [--users-from FILE] [--resume FILE] [--stop-after N] [FILE...]");
    row("check --jsn=1", "there is no option '--jsn', did you mean '--json'?; usage: ");
    row("show --confg-dir x", "there is no option '--confg-dir', did you mean '--config-dir'?");
    row("show --dry-run", "there is no option '--dry-run'; usage: indexuserctl show ");
    row("--config-dri x show",
        "there is no option '--config-dri', did you mean '--config-dir'?; see --help");
    row("template lst --trade --jsn", "there is no option '--jsn', did you mean '--json'?");
}

void tst_hostwords::unknownWordsAreNamedWithANearOne()
{
    QFETCH(QString, line);
    QFETCH(QString, message);
    const Outcome outcome = runTool(line.split(' '));
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: " + message), qPrintable(outcome.strErr));
    QCOMPARE(outcome.strErr.count('\n'), 1);
    QCOMPARE(outcome.nStatus, 2);
}

void tst_hostwords::anOptionWithoutItsValueIsRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message");
    const auto row = [](const QStringList& words, const char* pszMessage) {
        QTest::newRow(qPrintable(words.join(' '))) << words << QString(pszMessage);
    };
    row({ "report", "--out=", "--dry-run" }, "--out: a value is wanted");
    row({ "report", "--out=", "--config-dir", "u" }, "--out: a value is wanted");
    row({ "report", "--out=" }, "--out: a value is wanted");
    row({ "show", "--config-dir=" }, "--config-dir: a value is wanted");
    row({ "layout", "show", "--template=" }, "--template: a value is wanted");
    row({ "check", "-h=1" }, "-h takes no value");
    row({ "-v=1" }, "-v takes no value");
}

void tst_hostwords::anOptionWithoutItsValueIsRefused()
{
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    const QStringList before = files();
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.strErr, "indexuserctl: " + message + '\n');
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(files(), before);
}

void tst_hostwords::emptyNamesAreRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message");
    const auto row = [](const QStringList& words, const char* pszMessage) {
        QTest::newRow(qPrintable(words.join(' '))) << words << QString(pszMessage);
    };
    const char* const pszFile = "FILE: the name of a file is wanted";
    row({ "check", "" }, pszFile);
    row({ "check", "indexUserConfig.xml", "" }, pszFile);
    row({ "diff", "", "indexUserConfig.xml" }, pszFile);
    row({ "stock", "import", "" }, pszFile);
    row({ "stock", "export", "" }, pszFile);
    row({ "template", "import", "" }, pszFile);
    row({ "report", "--out", "" }, pszFile);
    row({ "template", "save", "" }, "the name '' is empty");
    row({ "template", "rename", "早盘", "" }, "the name '' is empty");
    row({ "setting", "set", "", "v" }, "the key is empty");
    row({ "export-sector", "801780", ".", "--filter", "801780= " },
        "filter: group 1: the name ' ' holds nothing but blanks");
}

void tst_hostwords::emptyNamesAreRefused()
{
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    const QByteArray before = readFile(livePath());
    const QStringList filesBefore = files();
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.strErr, "indexuserctl: " + message + '\n');
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), filesBefore);
}

void tst_hostwords::whatIsNoUtf8IsRefused_data()
{
    QTest::addColumn<QString>("words");
    for (const char* pszWords : { "option set $'oaUser=\\xff'", "template save $'a\\xc3'",
                                  "setting set k $'\\xed\\xa0\\x80'", "setting set $'\\xc0\\xaf' v",
                                  "stock add 7 SH 600000 $'\\xc6\\xd6'", "check $'\\xff'" }) {
        QTest::newRow(pszWords) << QString(pszWords);
    }
}

void tst_hostwords::whatIsNoUtf8IsRefused()
{
    QFETCH(QString, words);
    const QByteArray before = readFile(livePath());
    const QStringList filesBefore = files();
    const Outcome outcome
        = runProgram("bash", { "-c", "'" TOOL "' --config-dir . " + words }, {}, userDir());
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: the word '")
                 && outcome.strErr.endsWith("' is not UTF-8\n"),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), filesBefore);
}

void tst_hostwords::whatNoFileHoldsIsRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    const QString strText = QString("a") + QChar(0xfffe);
    const QString strOther = QString(QChar(0xffff)) + "a";
    const auto row = [](const QStringList& words, int nStatus) {
        QTest::newRow(words.join(' ').toUtf8().toPercentEncoding(" ")) << words << nStatus;
    };
    row({ "template", "save", strText }, 2);
    row({ "template", "rename", "早盘", strOther }, 2);
    row({ "stock", "add", "7", "SH", "600000", strText }, 2);
    row({ "option", "set", "oaUser=" + strText }, 2);
    row({ "setting", "set", strText, "v" }, 2);
    row({ "setting", "set", "k", strOther }, 2);
    row({ "export-sector", "801780", ".", "--filter", "801780=" + strText }, 2);
    row({ "export-sector", "801010", "." }, 4);
    row({ "template", "import", "new.xml" }, 4);
    row({ "stock", "import", "new.csv" }, 4);
}

void tst_hostwords::whatNoFileHoldsIsRefused()
{
    QFETCH(QStringList, words);
    QFETCH(int, status);
    writeFile(userDir() + "/new.xml", "<t><LayoutTemplate name=\"a&#xfffe;\"/></t>");
    writeFile(userDir() + "/new.csv", "list,market,code,name\n1,SH,1,\xef\xbf\xbf\n");
    writeFile(userDir() + "/sectors.json",
              "{\"sectors\": [{\"code\": \"801780\", \"name\": \"a\", \"constituents\": "
              "[{\"market\": \"SH\", \"code\": \"1\", \"name\": \"n\", \"absoluteWeight\": 1, "
              "\"previousClose\": 1}]}, {\"code\": \"801010\", \"name\": \"a\\uffff\", "
              "\"constituents\": [{\"market\": \"SH\", \"code\": \"1\", \"name\": \"n\", "
              "\"absoluteWeight\": 1, \"previousClose\": 1}]}]}");
    const QByteArray before = readFile(livePath());
    const QStringList filesBefore = files();
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.strErr.contains(" holds a character that no file can hold\n"),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, status);
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), filesBefore);
}

// Also what others put in the place of an unknown character.
void tst_hostwords::whatIsTypedIsStored()
{
    const QString strText = QStringLiteral("浦发 😀\ufffd");
    QCOMPARE(tool({ "option", "set", "oaUser=" + strText }).nStatus, 0);
    QCOMPARE(tool({ "option", "get", "oaUser" }).strOut, strText + '\n');
    QCOMPARE(tool({ "setting", "set", strText, strText }).nStatus, 0);
    QCOMPARE(tool({ "setting", "get", strText }).strOut, strText + '\n');
}

QTEST_GUILESS_MAIN(tst_hostwords)
#include "tst_hostwords.moc"
