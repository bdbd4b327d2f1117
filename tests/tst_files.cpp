#include "librarytest.h"

#include "filelimits.h"
#include "logcapture.h"
#include "platform/indexutil.h"
#include "standalone/standalone.h"

#include <QDir>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

namespace {

std::string gbk(const QString& path)
{
    std::string strPath = path.toStdString();
    if (utils::safeUtf82Gbk(strPath) != 0) {
        qFatal("not UTF-8");
    }
    return strPath;
}

bool writeGbk(const QString& path, std::string content)
{
    return KW::stdWriteFile(gbk(path), content, "wb");
}

QStringList entries(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                     QDir::Name);
}

} // namespace

class tst_files : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void utf8BecomesGbk();
    void whatGbkLacksGetsAPlaceToo();
    void invalidUtf8IsLeftAlone();
    void aFileIsWrittenWhole_data();
    void aFileIsWrittenWhole();
    void paths_data();
    void paths();
    void aFileIsReplacedAndForItsOwnerOnly();
    void aWriteIntoAMissingDirectoryFails();
    void aWriteOntoADirectoryFailsAndLeavesNothing();
    void aWriteThatDoesNotFitLeavesTheOldFile();
    void aReadOnlyDirectoryKeepsItsFile();
    void withoutStandardInputAFileIsWrittenToo();
    void aFailureTellsItsCause_data();
    void aFailureTellsItsCause();
    void appendingIsRefused();
    void aReadReturnsEveryByte();
    void whatCannotBeReadIsEmpty_data();
    void whatCannotBeReadIsEmpty();
    void textIsWrittenAsUtf8();
    void textThatDoesNotFitIsToldAndLeavesTheOldFile();
};

void tst_files::utf8BecomesGbk()
{
    std::string strText = "行情/a";
    QCOMPARE(utils::safeUtf82Gbk(strText), 0);
    QCOMPARE(strText, std::string("\xd0\xd0\xc7\xe9/a"));
}

void tst_files::whatGbkLacksGetsAPlaceToo()
{
    std::string strText = "\xf0\xa0\x80\x80"; // U+20000
    QCOMPARE(utils::safeUtf82Gbk(strText), 0);
    QCOMPARE(strText, std::string("\x95\x32\x82\x36"));
}

void tst_files::invalidUtf8IsLeftAlone()
{
    for (const char* pszText : { "\xff", "\xe8\xa1", "a\xc0\xaf" }) {
        std::string strText = pszText;
        QVERIFY(utils::safeUtf82Gbk(strText) != 0);
        QCOMPARE(strText, std::string(pszText));
    }
}

void tst_files::aFileIsWrittenWhole_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nothing") << QByteArray("");
    QTest::newRow("lines of both kinds") << QByteArray("a\r\nb\nc");
    QTest::newRow("NUL") << QByteArray("a\0b", 3);
    QTest::newRow("megabytes") << QByteArray(5000001, 'x');
}

void tst_files::aFileIsWrittenWhole()
{
    QFETCH(QByteArray, content);
    const QString strPath = userDir() + "/file";
    QVERIFY(writeGbk(strPath, content.toStdString()));
    QCOMPARE(readFile(strPath), content);
    QCOMPARE(entries(userDir()), QStringList("file"));
}

void tst_files::paths_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << "file";
    QTest::newRow("blank and quotes") << "a \"file\" 'x'";
    QTest::newRow("Chinese") << QStringLiteral("行情");
    QTest::newRow("beyond GBK") << QStringLiteral("ñ𠀀😀");
}

void tst_files::paths()
{
    QFETCH(QString, name);
    const QString strDir = userDir() + '/' + name;
    QVERIFY(QDir().mkpath(strDir));
    QVERIFY(writeGbk(strDir + '/' + name, "content"));
    QCOMPARE(entries(strDir), QStringList(name));
    std::string strContent;
    QVERIFY(KW::stdReadFile((strDir + '/' + name).toLocal8Bit().toStdString(), strContent));
    QCOMPARE(strContent, std::string("content"));
}

void tst_files::aFileIsReplacedAndForItsOwnerOnly()
{
    const QString strPath = userDir() + "/file";
    writeFile(strPath, "a longer old content");
    QVERIFY(writeGbk(strPath, "new"));
    QCOMPARE(readFile(strPath), QByteArray("new"));
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther
        | QFile::ExeOwner;
    QVERIFY(!(QFile::permissions(strPath) & others));
}

void tst_files::aWriteIntoAMissingDirectoryFails()
{
    QVERIFY(!writeGbk(userDir() + "/missing/file", "content"));
    QCOMPARE(entries(userDir()), QStringList());
}

void tst_files::aWriteOntoADirectoryFailsAndLeavesNothing()
{
    QVERIFY(QDir().mkpath(userDir() + "/file"));
    QVERIFY(!writeGbk(userDir() + "/file", "content"));
    QCOMPARE(entries(userDir()), QStringList("file"));
}

void tst_files::aWriteThatDoesNotFitLeavesTheOldFile()
{
    const QString strPath = userDir() + "/file";
    writeFile(strPath, "old");
    {
        const CFileSizeLimit limit(1000);
        QVERIFY(!writeGbk(strPath, std::string(1001, 'x')));
        QVERIFY(writeGbk(strPath + '2', std::string(1000, 'x')));
    }
    QCOMPARE(readFile(strPath), QByteArray("old"));
    QCOMPARE(entries(userDir()), QStringList({ "file", "file2" }));
}

void tst_files::aReadOnlyDirectoryKeepsItsFile()
{
    writeFile(userDir() + "/file", "old");
    const CReadOnlyDirectory readOnly(userDir());
    QVERIFY(!writeGbk(userDir() + "/file", "new"));
    QCOMPARE(readFile(userDir() + "/file"), QByteArray("old"));
}

// The file then gets its number, which is as good as any.
void tst_files::withoutStandardInputAFileIsWrittenToo()
{
    const int nInput = ::dup(STDIN_FILENO);
    QVERIFY(nInput >= 0 && ::close(STDIN_FILENO) == 0);
    const bool bWritten = writeGbk(userDir() + "/file", "content");
    const bool bClosed = ::fcntl(STDIN_FILENO, F_GETFD) < 0;
    QCOMPARE(::dup2(nInput, STDIN_FILENO), STDIN_FILENO);
    QCOMPARE(::close(nInput), 0);
    QVERIFY(bWritten);
    QVERIFY(bClosed);
    QCOMPARE(readFile(userDir() + "/file"), QByteArray("content"));
}

void tst_files::aFailureTellsItsCause_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("refused");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no directory") << "/missing/file"
                                  << "/missing"
                                  << "No such file or directory";
    QTest::newRow("below a file") << "/old/file"
                                  << "/old"
                                  << "Not a directory";
    QTest::newRow("onto a directory") << "/folder"
                                      << "/folder"
                                      << "Is a directory";
    QTest::newRow("too large") << "/file"
                               << "/file"
                               << "File too large";
}

void tst_files::aFailureTellsItsCause()
{
    QFETCH(QString, file);
    QFETCH(QString, refused);
    QFETCH(QString, reason);
    writeFile(userDir() + "/old", "old");
    QVERIFY(QDir().mkpath(userDir() + "/folder"));
    {
        const CFileSizeLimit limit(1000);
        const std::size_t nBytes = file == "/file" ? 1001 : 1;
        QVERIFY(!writeGbk(userDir() + file, std::string(nBytes, 'x')));
    }
    QCOMPARE(standalone::lastWriteFailure().strPath, userDir() + refused);
    QCOMPARE(standalone::lastWriteFailure().strReason, reason);
    QVERIFY(logcapture::messages().last().endsWith(", reason:" + reason));
    QVERIFY(writeGbk(userDir() + "/old", "new"));
    QCOMPARE(standalone::lastWriteFailure().strReason, QString());
    QCOMPARE(standalone::lastWriteFailure().strPath, QString());
}

void tst_files::appendingIsRefused()
{
    std::string strContent = "more";
    writeFile(userDir() + "/file", "old");
    QVERIFY(!KW::stdWriteFile(gbk(userDir() + "/file"), strContent, "ab"));
    QCOMPARE(readFile(userDir() + "/file"), QByteArray("old"));
}

void tst_files::aReadReturnsEveryByte()
{
    const QByteArray content("a\0b\r\n\xff\xfe", 7);
    writeFile(userDir() + "/file", content);
    std::string strContent = "before";
    QVERIFY(KW::stdReadFile((userDir() + "/file").toStdString(), strContent));
    QCOMPARE(QByteArray::fromStdString(strContent), content);
}

void tst_files::whatCannotBeReadIsEmpty_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing";
    QTest::newRow("a directory") << "directory";
    QTest::newRow("below a file") << "file/below";
}

void tst_files::whatCannotBeReadIsEmpty()
{
    QFETCH(QString, name);
    QVERIFY(QDir().mkpath(userDir() + "/directory"));
    writeFile(userDir() + "/file", "content");
    std::string strContent = "before";
    QVERIFY(!KW::stdReadFile((userDir() + '/' + name).toStdString(), strContent));
    QCOMPARE(strContent, std::string());
}

void tst_files::textIsWrittenAsUtf8()
{
    QString strPath = userDir() + QStringLiteral("/银行.csv");
    QString strText = QStringLiteral("浦发,𠀀\n");
    QVERIFY(KW::QWriteFile(strPath, strText));
    QCOMPARE(readFile(strPath), QByteArray("浦发,𠀀\n"));
}

void tst_files::textThatDoesNotFitIsToldAndLeavesTheOldFile()
{
    QString strPath = userDir() + "/file";
    QString strText(2000, 'x');
    writeFile(strPath, "old");
    {
        const CFileSizeLimit limit(1000);
        QVERIFY(!KW::QWriteFile(strPath, strText));
    }
    QCOMPARE(readFile(strPath), QByteArray("old"));
}

QTEST_GUILESS_MAIN(tst_files)
#include "tst_files.moc"
