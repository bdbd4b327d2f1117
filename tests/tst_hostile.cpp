#include "librarytest.h"
#include "logcapture.h"

#include <mend/recovery.h>
#include <standalone/standalone.h>

#include <sys/resource.h>
#include <sys/stat.h>

// Files that nobody wrote by mistake. What becomes of each is in docs/reliability.md.
class tst_hostile : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyFileIsReadOrRefused_data();
    void everyFileIsReadOrRefused();
    void aGigabyteIsRefusedUnread();
    void filesAndDirectoriesAreTheirOwnersOnly();
    void noSecretIsLogged();
};

namespace {

QByteArray utf16(const QString& text)
{
    return { reinterpret_cast<const char*>(text.utf16()), text.size() * 2 };
}

QByteArray manyAttributes()
{
    QByteArray xml = "<ICUserConfigFile><Option><Settings";
    for (int i = 0; i < 10000; ++i) {
        xml += " a" + QByteArray::number(i) + "='x'";
    }
    return xml + " tickRestoreDay='9'/></Option></ICUserConfigFile>";
}

QByteArray entityBomb()
{
    QByteArray xml = "<!DOCTYPE r [<!ENTITY e0 'haha'>";
    for (int i = 1; i < 30; ++i) {
        const QByteArray inner = "&e" + QByteArray::number(i - 1) + ';';
        xml += "<!ENTITY e" + QByteArray::number(i) + " '" + inner + inner + "'>";
    }
    return xml + "]><ICUserConfigFile>&e29;</ICUserConfigFile>";
}

QByteArray inFile(const QByteArray& attribute)
{
    return "<ICUserConfigFile><Option><Settings oaUser='" + attribute
        + "' tickRestoreDay='9'/></Option></ICUserConfigFile>";
}

long peakKilobytes()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

void tst_hostile::everyFileIsReadOrRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("outcome");
    const QString strRead = "read";
    const QString strRefused = "refused";
    const QString strXml = QString::fromUtf8(inFile("u"));
    QTest::newRow("nesting of a million levels")
        << QByteArray("<a>").repeated(1000000) + QByteArray("</a>").repeated(1000000) << strRefused;
    QTest::newRow("nesting of a million levels, not closed")
        << QByteArray("<a>").repeated(1000000) << strRefused;
    QTest::newRow("ten thousand attributes") << manyAttributes() << strRead;
    QTest::newRow("entity bomb") << entityBomb() << strRefused;
    QTest::newRow("external entity")
        << QByteArray("<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>"
                      "<ICUserConfigFile><Option><Settings tickRestoreDay='9'/></Option>&e;"
                      "</ICUserConfigFile>")
        << strRead;
    QTest::newRow("NUL byte in the text")
        << inFile("u").replace("<Option>", QByteArray("<Option>\0", 9)) << strRead;
    QTest::newRow("NUL byte in an attribute") << inFile(QByteArray("u\0v", 3)) << strRead;
    QTest::newRow("only NUL bytes") << QByteArray(5000, '\0') << strRefused;
    const QString strLoaded = "read by the service only";
    QTest::newRow("GBK instead of UTF-8") << inFile("\xd5\xc5\xc8\xfd") << strLoaded;
    QTest::newRow("overlong UTF-8") << inFile("\xc0\xaf") << strLoaded;
    QTest::newRow("UTF-8 with byte order mark") << "\xef\xbb\xbf" + inFile("u") << strRead;
    QTest::newRow("UTF-16 with byte order mark") << utf16(QChar(0xfeff) + strXml) << strRefused;
    QTest::newRow("UTF-16 without byte order mark") << utf16(strXml) << strRefused;
    QTest::newRow("another encoding declared")
        << "<?xml version='1.0' encoding='GBK'?>" + inFile("u") << strRead;
    QTest::newRow("empty file") << QByteArray() << strRefused;
    QTest::newRow("a picture") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) << strRefused;
}

void tst_hostile::everyFileIsReadOrRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, outcome);
    writeLive(content);
    const bool bRefused = outcome == QLatin1String("refused");
    if (bRefused) {
        logcapture::expectErrors(1);
    }
    service().loadSettings();
    QCOMPARE(service().getParamSettingForClient().tickRestoreDay, bRefused ? 1 : 9);
    const inspect::UserFile file = inspect::readUserFile(livePath());
    QCOMPARE(file.state,
             outcome == "read" ? inspect::FileState::Whole : inspect::FileState::Damaged);
    QVERIFY(!file.document.toString().contains("root:"));
    const QString strRow
        = QStringLiteral("| %1 | %2 |").arg(QString::fromUtf8(QTest::currentDataTag()), outcome);
    QVERIFY2(readFile(RELIABILITY).contains(strRow.toUtf8()), qPrintable(strRow));
}

void tst_hostile::aGigabyteIsRefusedUnread()
{
    QFile file(livePath());
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(1LL << 30));
    file.close();
    const long nBefore = peakKilobytes();
    logcapture::expectErrors(1);
    service().loadSettings();
    QCOMPARE(inspect::readUserFile(livePath()).state, inspect::FileState::Damaged);
    QVERIFY(peakKilobytes() - nBefore < 100L * 1024);
    QVERIFY(readFile(RELIABILITY).contains("| a gigabyte | refused |"));
}

void tst_hostile::filesAndDirectoriesAreTheirOwnersOnly()
{
    const mode_t nMask = ::umask(0);
    useUserDir(userDir() + "/new/user");
    service().loadSettings();
    logcapture::expectErrors(1);
    saveAndWait(service());
    QVERIFY(service().writeConfig("key", "value"));
    QVERIFY(standalone::logToFile(userDir() + "/new/user/indexuser.log"));
    ::umask(nMask);
    int nFound = 0;
    QDirIterator all(userDir() + "/new", QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        all.next();
        const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup
            | QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;
        QVERIFY2(!(all.fileInfo().permissions() & others), qPrintable(all.filePath()));
        ++nFound;
    }
    // user, its file, log, Temp and the copy in it, Settings and two values.
    QCOMPARE(nFound, 8);
}

void tst_hostile::noSecretIsLogged()
{
    writeLive("<ICUserConfigFile><Option><Settings oaPassword='s3cret'/></Option>"
              "</ICUserConfigFile>");
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(QDir(userDir() + "/Temp").removeRecursively());
    writeFile(userDir() + "/Temp", "no directory");
    saveAndWait(service());
    QVERIFY(logcapture::messages().size() > 4);
    for (const QString& message : logcapture::messages()) {
        QVERIFY2(!message.contains("s3cret"), qPrintable(message));
    }
}

QTEST_GUILESS_MAIN(tst_hostile)
#include "tst_hostile.moc"
