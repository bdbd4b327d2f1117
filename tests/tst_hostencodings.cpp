#include "librarytest.h"
#include "toolrun.h"

#include <QTextCodec>

// What the host does with a file in another encoding: the likeliest damage on the client's
// platform.
class tst_hostencodings : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void noCommandTakesItForUtf8_data();
    void noCommandTakesItForUtf8();
    void checkTellsWhatALoadWouldLose();
    void aConversionGivesTheSameUser_data();
    void aConversionGivesTheSameUser();
    void aDryRunShowsWhatItWouldBecome();
    void aWrongEncodingIsRefused_data();
    void aWrongEncodingIsRefused();
    void recoverLeavesItToAConversion();
    void aTornFileIsStillRecovered();
    void aUtf8FileIsNotConverted();

private:
    Outcome tool(const QStringList& arguments) const;
    QStringList files() const;

    QString m_strSample;
};

namespace {

QByteArray encoded(const char* pszCodec, const QString& text)
{
    return QTextCodec::codecForName(pszCodec)->fromUnicode(text);
}

} // namespace

void tst_hostencodings::init()
{
    CLibraryTest::init();
    m_strSample = QString::fromUtf8(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeLive(encoded("GBK", m_strSample));
}

Outcome tst_hostencodings::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

QStringList tst_hostencodings::files() const
{
    return QDir(userDir()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void tst_hostencodings::noCommandTakesItForUtf8_data()
{
    QTest::addColumn<QStringList>("words");
    const auto row
        = [](const QString& words) { QTest::newRow(qPrintable(words)) << words.split(' '); };
    row("option set tickRestoreDay=7");
    row("stock add 7 SH 601012 x");
    row("template save x");
    row("template import indexUserConfig.xml");
    row("snapshot restore 2024-01-31");
    row("show");
    row("diff indexUserConfig.xml indexUserConfig.xml");
    row("report --out out.html");
    row("recover");
}

void tst_hostencodings::noCommandTakesItForUtf8()
{
    QFETCH(QStringList, words);
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", m_strSample.toUtf8());
    const QByteArray before = readFile(livePath());
    const QStringList strBefore = files();
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY2(outcome.strErr.contains("indexUserConfig.xml:4:116: is not UTF-8, but probably gbk; "
                                     "'recover --encoding gbk' converts a user's file\n"),
             qPrintable(outcome.strErr));
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), strBefore);
}

void tst_hostencodings::checkTellsWhatALoadWouldLose()
{
    const Outcome outcome = tool({ "check" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strOut.contains(":4:116: changed: the file is not UTF-8 throughout"),
             qPrintable(outcome.strOut));
    writeLive(encoded("UTF-16LE", m_strSample));
    const Outcome wide = tool({ "check" });
    QCOMPARE(wide.nStatus, 4);
    QVERIFY2(wide.strOut.contains(":1:1: is not UTF-8, but probably utf-16le"),
             qPrintable(wide.strOut));
}

void tst_hostencodings::aConversionGivesTheSameUser_data()
{
    QTest::addColumn<QByteArray>("codec");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("more"); // characters that the others do not have
    QTest::newRow("GBK") << QByteArray("GBK") << "gbk"
                         << "";
    QTest::newRow("GB18030") << QByteArray("GB18030") << "GB18030"
                             << "\U0001F4A9";
    QTest::newRow("UTF-16") << QByteArray("UTF-16") << "utf-16le"
                            << "\U0001F4A9";
    QTest::newRow("little") << QByteArray("UTF-16LE") << "utf-16le"
                            << "";
    QTest::newRow("big") << QByteArray("UTF-16BE") << "utf-16be"
                         << "";
}

void tst_hostencodings::aConversionGivesTheSameUser()
{
    QFETCH(QByteArray, codec);
    QFETCH(QString, name);
    QFETCH(QString, more);
    const QString strUser = QString(m_strSample).replace("贵州茅台", "贵州茅台" + more);
    QVERIFY(strUser.contains("encoding=\"utf-8\""));
    const QByteArray before
        = encoded(codec, QString(strUser).replace("encoding=\"utf-8\"", "encoding=\"GBK\""));
    writeLive(before);
    const Outcome outcome = tool({ "recover", "--encoding", name });
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(
        outcome.strOut.contains("Differences between the file read as utf-8 (left) and read as "));
    QCOMPARE(readFile(livePath()), strUser.toUtf8());
    const QStringList kept
        = QDir(userDir()).entryList({ "indexUserConfig.xml." + name.toLower() + "-*" });
    QCOMPARE(kept.size(), 1);
    QCOMPARE(readFile(userDir() + '/' + kept.first()), before);
    QVERIFY(outcome.strOut.contains("kept as " + userDir() + '/' + kept.first()));
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7" }).nStatus, 0);
}

void tst_hostencodings::aDryRunShowsWhatItWouldBecome()
{
    const QByteArray before = readFile(livePath());
    const Outcome dry = tool({ "recover", "--encoding", "gbk", "--dry-run" });
    QCOMPARE(dry.nStatus, 0);
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), QStringList("indexUserConfig.xml"));
    QVERIFY(dry.strOut.contains("贵州茅台") && dry.strOut.contains("would be kept as "));
    const Outcome done = tool({ "recover", "--encoding", "gbk" });
    QCOMPARE(done.strOut.section("\n\n", 0, 0), dry.strOut.section("\n\n", 0, 0));
}

void tst_hostencodings::aWrongEncodingIsRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    const QByteArray gbk = encoded("GBK", QStringLiteral("<ICUserConfigFile a='张三'/>"));
    QTest::newRow("bytes") << gbk + "\xff\xff"
                           << "gbk" << 4 << "not valid in gbk";
    QTest::newRow("no XML") << gbk << "utf-16le" << 4 << "read in utf-16le";
    QTest::newRow("root") << encoded("GBK", QStringLiteral("<other a='张三'/>")) << "gbk" << 4
                          << "the root is 'other' instead of 'ICUserConfigFile'; read in gbk";
    QTest::newRow("name") << gbk << "latin1" << 2 << "there is no encoding 'latin1'";
    QTest::newRow("missing") << QByteArray() << "gbk" << 3 << "No such file";
}

void tst_hostencodings::aWrongEncodingIsRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, name);
    QFETCH(int, status);
    QFETCH(QString, message);
    writeLive(content);
    QVERIFY(!content.isEmpty() || QFile::remove(livePath()));
    const QStringList strBefore = files();
    const Outcome outcome = tool({ "recover", "--encoding", name });
    QCOMPARE(outcome.nStatus, status);
    QVERIFY2(outcome.strErr.contains(message), qPrintable(outcome.strErr));
    QCOMPARE(readFile(livePath()), content.isEmpty() ? QByteArray("(no file)") : content);
    QCOMPARE(files(), strBefore);
}

void tst_hostencodings::recoverLeavesItToAConversion()
{
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<ICUserConfigFile/>");
    QCOMPARE(tool({ "recover" }).nStatus, 4);
    QCOMPARE(readFile(livePath()), encoded("GBK", m_strSample));
    QCOMPARE(tool({ "recover", "--encoding", "gbk" }).nStatus, 0);
    QCOMPARE(tool({ "recover" }).nStatus, 0);
    QCOMPARE(readFile(livePath()), m_strSample.toUtf8());
}

void tst_hostencodings::aTornFileIsStillRecovered()
{
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", m_strSample.toUtf8());
    writeLive(m_strSample.toUtf8().replace("SH600519", "SH\xff\xff\xff\xff\xff\xff"));
    const Outcome edit = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(edit.nStatus, 4);
    QVERIFY2(edit.strErr.contains("holds bytes that are no UTF-8; 'recover' brings"),
             qPrintable(edit.strErr));
    QVERIFY(tool({ "recover" }).strOut.contains("brought back"));
    QCOMPARE(readFile(livePath()), m_strSample.toUtf8());
}

void tst_hostencodings::aUtf8FileIsNotConverted()
{
    for (const QByteArray& mark : { QByteArray(), QByteArray("\xef\xbb\xbf") }) {
        writeLive(mark + m_strSample.toUtf8());
        const Outcome outcome = tool({ "recover", "--encoding", "gbk" });
        QCOMPARE(outcome.nStatus, 0);
        QVERIFY(outcome.strOut.contains("UTF-8, nothing to convert"));
        QCOMPARE(readFile(livePath()), mark + m_strSample.toUtf8());
        QCOMPARE(tool({ "show" }).nStatus, 0);
    }
}

QTEST_GUILESS_MAIN(tst_hostencodings)
#include "tst_hostencodings.moc"
