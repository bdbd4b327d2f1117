#include "librarytest.h"
#include "toolrun.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>

// What steers a terminal or turns the direction of writing goes to no terminal and into no file.
class tst_hostcontrols : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyCommandIsHarmless_data();
    void everyCommandIsHarmless();
    void unknownWordsAreHarmless();
    void hostileNamesAreRefused_data();
    void hostileNamesAreRefused();
    void jsonKeepsTheValueExact();
    void textShowsTheCharacters();
    void anExportedTemplateKeepsTheValueExact();
    void stocksWithControlCharactersAreNotExported();
    void namesThatCannotBeTypedAreNotCompleted();
    void noLogLineIsForged();

private:
    enum class Content { Sample, Hostile };

    void runAndScan(Content content, const QStringList& words);
    static void makeUser(const QString& directory);
    static void makeHostileUser(const QString& directory);

    int m_nRuns = 0;
};

namespace {

const QString& hostile()
{
    static const QString s_text
        = QStringLiteral("盘\u202e\u009b31m\x1b]0;x\x07\u2066\u061c\x7f\nERROR forged");
    return s_text;
}

// What an attribute of a file can hold.
const QString& hostileValue()
{
    static const QString s_text = QStringLiteral("盘\u202e\u009b31m\u200f\u2066\x7f\nERROR forged");
    return s_text;
}

// The first byte sequence that steers something, told apart from how the tool does it.
QByteArray danger(const QByteArray& bytes)
{
    for (int i = 0; i < bytes.size(); ++i) {
        const auto at
            = [&](int n) { return i + n < bytes.size() ? static_cast<uchar>(bytes[i + n]) : 0; };
        const int n0 = at(0);
        const int n1 = at(1);
        const int n2 = at(2);
        const bool bC0 = (n0 < 0x20 && n0 != '\n' && n0 != '\r') || n0 == 0x7f;
        const bool bC1 = n0 == 0xc2 && n1 >= 0x80 && n1 <= 0x9f;
        const bool bMark = n0 == 0xd8 && n1 == 0x9c;
        const bool bBidi = n0 == 0xe2
            && ((n1 == 0x80 && (n2 == 0x8e || n2 == 0x8f || (n2 >= 0xa8 && n2 <= 0xae)))
                || (n1 == 0x81 && n2 >= 0xa6 && n2 <= 0xa9));
        if (bC0 || bC1 || bMark || bBidi) {
            return bytes.mid(std::max(0, i - 60), 120).toPercentEncoding(" ");
        }
    }
    return {};
}

// Besides, a line that a text has made. Of a page or a picture lines are no part.
QByteArray dangerInLines(const QByteArray& bytes)
{
    const bool bForged = bytes.startsWith("ERROR forged") || bytes.contains("\nERROR forged");
    return bForged && !bytes.startsWith('<') ? QByteArray("a forged line") : danger(bytes);
}

QMap<QString, QByteArray> filesBelow(const QString& directory)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (file.open(QIODevice::ReadOnly)) {
            files[file.fileName()] = file.readAll();
        }
    }
    return files;
}

struct RawOutcome {
    int nStatus;
    QByteArray out;
    QByteArray err;
};

RawOutcome runRaw(const QStringList& arguments, const QString& directory)
{
    QProcess process;
    process.setWorkingDirectory(directory);
    process.start(TOOL, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        qFatal("the tool does not end");
    }
    return { process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError() };
}

// The words of a usage line: its own, its options without values, what stands for values.
struct Usage {
    QStringList command;
    QStringList tokens;
};

Usage usageOf(const QString& line)
{
    Usage usage;
    const auto tokens
        = QString(line).remove('[').remove(']').remove("...").split(' ', Qt::SkipEmptyParts);
    for (const QString& token : tokens) {
        const bool bOwn = usage.tokens.isEmpty() && token.at(0).isLower();
        (bOwn ? usage.command : usage.tokens).append(token);
    }
    return usage;
}

enum class Options { Needed, All };

bool takesValue(const QString& option)
{
    return QStringList { "--template", "--out", "--filter" }.contains(option);
}

// A command line of a usage, with or without what may be left out; what \a values does not know is
// hostile.
QStringList wordsOf(const Usage& usage, Options options, const QMap<QString, QString>& values)
{
    QStringList words = usage.command;
    for (int i = 0; i < usage.tokens.size(); ++i) {
        const QString& strToken = usage.tokens[i];
        if (!strToken.startsWith('-')) {
            words.append(values.value(strToken, hostile()));
        } else if (options == Options::All || strToken == "--out") {
            words.append(strToken);
        } else {
            i += takesValue(strToken) ? 1 : 0;
        }
    }
    return words + (options == Options::All ? QStringList("--log") : QStringList());
}

// From wholly hostile words to such that bring a command to its end.
QVector<QMap<QString, QString>> valuesToTry()
{
    const auto with = [](const QString& name, const QString& file) {
        return QMap<QString, QString> {
            { "FILE", file },         { "FILE2", "indexUserConfig.xml" },
            { "DATE", "2024-01-31" }, { "DATE2", "20240131" },
            { "CODE", "801780" },     { "DIR", "." },
            { "LIST", "0" },          { "NAME", name },
            { "KEY", "k" },           { "PART", "options" },
            { "NEW", "b" },           { "NAME=VALUE", "oaUser=a" },
        };
    };
    return { {}, with(hostileValue(), "-"), with("oaUser", "new.xml"), with("期权", "new.csv") };
}

// What a hostile file holds already is kept: nothing is lost.
bool isUsersOwn(const QString& path)
{
    return path.contains("indexUserConfig.xml") || path.endsWith("=userconfig.xml");
}

} // namespace

void tst_hostcontrols::makeUser(const QString& directory)
{
    QVERIFY(QDir().mkpath(directory + "/Temp"));
    for (const char* pszName : { "/indexUserConfig.xml", "/sectors.json" }) {
        QVERIFY(QFile::copy(QString(SAMPLE_USER) + pszName, directory + pszName));
    }
    QVERIFY(QFile::copy(SAMPLE_USER "/indexUserConfig.xml",
                        directory + "/Temp/indexUserConfig.xml_20240131"));
    writeFile(directory + "/new.xml",
              "<t><LayoutTemplate name=\"新\"><LayoutWindowTemplate width=\"9\" "
              "height=\"9\"/></LayoutTemplate></t>");
    writeFile(directory + "/new.csv", "list,market,code,name\r\n2,SZ,000002,a\r\n");
}

void tst_hostcontrols::makeHostileUser(const QString& directory)
{
    makeUser(directory);
    const QByteArray value = hostileValue().toHtmlEscaped().replace('\n', "&#10;").toUtf8();
    for (const QString& name : { QStringLiteral("/indexUserConfig.xml"),
                                 QStringLiteral("/Temp/indexUserConfig.xml_20240131"),
                                 QStringLiteral("/new.xml"), QStringLiteral("/sectors.json") }) {
        QByteArray content = readFile(directory + name);
        const bool bJson = name.endsWith("json");
        for (const char* pszText :
             { "早盘", "双账户", "贵州茅台", "行业板块", "量价齐升", "analyst", "新", "银行" }) {
            content.replace(pszText, bJson ? QByteArray(value).replace("&#10;", "\\n") : value);
        }
        writeFile(directory + name, content);
    }
    QVERIFY(QDir().mkpath(directory + "/Settings"));
    writeFile(directory + "/Settings/UiSettingConfig=k", hostile().toUtf8());
}

void tst_hostcontrols::everyCommandIsHarmless_data()
{
    QTest::addColumn<QString>("usage");
    for (const QString& line : runTool({ "--help" }).strOut.split('\n')) {
        if (line.startsWith("  ") && line.size() > 2 && line.at(2).isLower()) {
            QTest::newRow(qPrintable(line.trimmed())) << line;
        }
    }
}

void tst_hostcontrols::everyCommandIsHarmless()
{
    QFETCH(QString, usage);
    for (const Options options : { Options::Needed, Options::All }) {
        runAndScan(Content::Sample, wordsOf(usageOf(usage), options, {}));
        for (const auto& values : valuesToTry()) {
            runAndScan(Content::Hostile, wordsOf(usageOf(usage), options, values));
        }
    }
}

// Packed, which nobody's eyes see.
bool isArchive(const QByteArray& bytes)
{
    return bytes.startsWith("\x1f\x8b");
}

void tst_hostcontrols::runAndScan(Content content, const QStringList& words)
{
    const QString strDir = QStringLiteral("%1/%2-%3").arg(userDir()).arg(++m_nRuns).arg(hostile());
    content == Content::Hostile ? makeHostileUser(strDir) : makeUser(strDir);
    const auto before = filesBelow(strDir);
    const RawOutcome outcome = runRaw(QStringList { "--config-dir", strDir } + words, strDir);
    const QByteArray what = words.join(' ').toUtf8().toPercentEncoding(" ") + ": ";
    QVERIFY2(isArchive(outcome.out) || dangerInLines(outcome.out).isEmpty(),
             what + dangerInLines(outcome.out));
    QVERIFY2(dangerInLines(outcome.err).isEmpty(), what + dangerInLines(outcome.err));
    const auto after = filesBelow(strDir);
    for (auto it = after.begin(); it != after.end(); ++it) {
        const bool bKept = isArchive(*it) || (content == Content::Hostile && isUsersOwn(it.key()));
        QVERIFY2(bKept || before.value(it.key()) == *it || danger(*it).isEmpty(),
                 what + it.key().toUtf8().toPercentEncoding("/ ") + ": " + danger(*it));
    }
}

void tst_hostcontrols::unknownWordsAreHarmless()
{
    const QString strOption = "--" + hostile();
    for (const QStringList& words : { QStringList { hostile() },
                                      { "template", hostile() },
                                      { "show", strOption },
                                      { strOption },
                                      { "show", "--json=" + hostile() },
                                      { "tour", hostile() } }) {
        const RawOutcome outcome = runRaw(words, userDir());
        QCOMPARE(outcome.nStatus, 2);
        QCOMPARE(outcome.out, QByteArray());
        QVERIFY2(dangerInLines(outcome.err).isEmpty(), dangerInLines(outcome.err));
        QCOMPARE(outcome.err.count('\n'), 1);
    }
}

void tst_hostcontrols::hostileNamesAreRefused_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    const QStringList texts { "a\x1b[2Jb",
                              "a\nb",
                              "a\x7f",
                              QStringLiteral("a\u009bb"),
                              QStringLiteral("a\u202eb"),
                              QStringLiteral("a\u2066"),
                              QStringLiteral("\u200fa"),
                              QStringLiteral("a\u061c") };
    const auto row = [](const QStringList& words) {
        QTest::newRow(words.join(' ').toUtf8().toPercentEncoding(" ")) << words << 2;
    };
    for (const QString& text : texts) {
        row({ "template", "save", text });
        row({ "template", "save", "--trade", text });
        row({ "template", "rename", "早盘", text });
        row({ "setting", "set", text, "v" });
        row({ "setting", "set", "k", text });
        row({ "setting", "set", "k", text, "--dry-run" });
        row({ "option", "set", "oaUser=" + text });
        row({ "stock", "add", "7", "SH", "600000", text });
        row({ "stock", "add", "7", text, "600000" });
    }
    QTest::newRow("templates") << QStringList { "template", "import", "hostile.xml" } << 4;
    QTest::newRow("stocks") << QStringList { "stock", "import", "hostile.csv" } << 4;
}

void tst_hostcontrols::hostileNamesAreRefused()
{
    QFETCH(QStringList, words);
    QFETCH(int, status);
    makeUser(userDir() + "/u");
    writeFile(userDir() + "/u/hostile.xml",
              "<t><LayoutTemplate name=\"x\"/><LayoutTemplate name=\"a\xe2\x80\xae\"/></t>");
    writeFile(userDir() + "/u/hostile.csv", "list,market,code,name\n1,SH,1,\xe2\x80\xae\n");
    const auto before = filesBelow(userDir());
    const Outcome outcome
        = runProgram(TOOL, QStringList { "--config-dir", "." } + words, {}, userDir() + "/u");
    QVERIFY2(outcome.strErr.contains("holds a control character"), qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, status);
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(filesBelow(userDir()), before);
}

void tst_hostcontrols::jsonKeepsTheValueExact()
{
    makeHostileUser(userDir() + "/u");
    const auto answer = [&](const QStringList& words) {
        return QJsonDocument::fromJson(runTool(QStringList { "--config-dir", userDir() + "/u" }
                                               + words + QStringList("--json"))
                                           .strOut.toUtf8())
            .object();
    };
    QCOMPARE(answer({ "option", "get", "oaUser" })["options"].toArray()[0].toObject()["value"],
             QJsonValue(hostileValue()));
    QCOMPARE(answer({ "template", "list" })["templates"].toArray()[0].toObject()["name"],
             QJsonValue(hostileValue()));
    QCOMPARE(answer({ "setting", "get", "k" })["settings"].toArray()[0].toObject()["value"],
             QJsonValue(hostile()));
}

void tst_hostcontrols::textShowsTheCharacters()
{
    makeHostileUser(userDir() + "/u");
    const auto answer = [&](const QStringList& words) {
        return runTool(QStringList { "--config-dir", userDir() + "/u" } + words).strOut;
    };
    const QString strShown
        = QStringLiteral("盘\\u202e\\u009b31m\\u200f\\u2066\\u007f\\u000aERROR forged");
    QCOMPARE(answer({ "option", "get", "oaUser" }), strShown + '\n');
    QVERIFY(answer({ "template", "list" }).contains("  " + strShown + "  "));
    QVERIFY(answer({ "setting", "get", "k" }).startsWith("盘\\u202e\\u009b31m\\u001b]0;x\\u0007"));
}

void tst_hostcontrols::anExportedTemplateKeepsTheValueExact()
{
    makeHostileUser(userDir() + "/u");
    const Outcome outcome
        = runTool({ "--config-dir", userDir() + "/u", "template", "export", hostileValue(), "-" });
    QCOMPARE(outcome.nStatus, 0);
    QDomDocument doc;
    QVERIFY(doc.setContent(outcome.strOut));
    QCOMPARE(doc.documentElement().firstChildElement().attribute("name"), hostileValue());
}

void tst_hostcontrols::stocksWithControlCharactersAreNotExported()
{
    makeHostileUser(userDir() + "/u");
    const Outcome outcome
        = runTool({ "--config-dir", userDir() + "/u", "stock", "export", userDir() + "/a.csv" });
    QCOMPARE(outcome.nStatus, 4);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: list 0: stock SH600000 holds a control character\n"));
    QVERIFY(!QFile::exists(userDir() + "/a.csv"));
}

void tst_hostcontrols::namesThatCannotBeTypedAreNotCompleted()
{
    makeHostileUser(userDir() + "/u");
    const Outcome outcome
        = runTool({ "complete", "--config-dir", userDir() + "/u", "template", "apply", "" });
    QCOMPARE(outcome.strOut, QStringLiteral("期权\n单屏 \"夜\"\n"));
}

void tst_hostcontrols::noLogLineIsForged()
{
    const QString strDir = userDir() + "/a\n2024-01-31 00:00:00.000 ERROR forged";
    makeUser(strDir);
    const Outcome outcome
        = runTool({ "--config-dir", strDir, "--log", "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strErr.contains("a\\u000a2024-01-31 00:00:00.000 ERROR forged/"));
    QVERIFY(!outcome.strErr.contains("\n2024-01-31"));
    QVERIFY(!runTool({ "--config-dir", strDir, "tour" }).strOut.contains("\n2024-01-31"));
}

QTEST_GUILESS_MAIN(tst_hostcontrols)
#include "tst_hostcontrols.moc"
