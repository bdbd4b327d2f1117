#include "librarytest.h"

#include "platform/commonutil.h"

namespace {

struct Row {
    const char* pszName;
    QByteArray content;
    int nValue;
};

const Row c_rows[] = {
    { "usual", QByteArray("[dbifEnable]\nshowDBIf=1\n"), 1 },
    { "blanks and line ends", QByteArray("[dbifEnable]\r\n showDBIf = 1 \r\n"), 1 },
    { "comment", QByteArray("; c\n[x]\na=b\n[dbifEnable]\nshowDBIf=2\n"), 2 },
    { "byte order mark", QByteArray("\xef\xbb\xbf[dbifEnable]\nshowDBIf=1\n"), 1 },
    { "other section", QByteArray("[other]\nshowDBIf=1\n"), 0 },
    { "no section", QByteArray("showDBIf=1\n"), 0 },
    { "word", QByteArray("[dbifEnable]\nshowDBIf=yes\n"), 0 },
    { "empty file", QByteArray(""), 0 },
    { "no value", QByteArray("[dbifEnable]\nshowDBIf=\n"), 0 },
    { "the first of two keys", QByteArray("[dbifEnable]\nshowDBIf=1\nshowDBIf=0\n"), 1 },
    { "the first of two keys, though it is no number",
      QByteArray("[dbifEnable]\nshowDBIf=no\nshowDBIf=1\n"), 0 },
    { "a double key elsewhere", QByteArray("[x]\na=b\na=c\n[dbifEnable]\nshowDBIf=1\n"), 1 },
    { "a double section", QByteArray("[dbifEnable]\na=b\n[x]\n[dbifEnable]\nshowDBIf=1\n"), 1 },
    { "stray lines", QByteArray("stray\n[dbifEnable]\nstray\n]\n=\n=5\n\nshowDBIf=1\nstray"), 1 },
    { "no line end", QByteArray("[dbifEnable]\nshowDBIf=1"), 1 },
    { "blanks everywhere", QByteArray(" \t[ dbifEnable ] \n\t showDBIf\t = \t1 \t\r\n"), 1 },
    { "names in another case", QByteArray("[DBIFENABLE]\nshowdbif=1\n"), 1 },
    { "commented out", QByteArray("[dbifEnable]\n;showDBIf=1\n# showDBIf=1\n ; showDBIf=1\n"), 0 },
    { "a section that is commented out", QByteArray("[x]\n;[dbifEnable]\nshowDBIf=1\n"), 0 },
    { "comments behind", QByteArray("[dbifEnable] ; section\nshowDBIf=1 ; on\n"), 1 },
    // Without its end it is a stray line: neither is a section begun nor one ended.
    { "no header begins a section", QByteArray("[dbifEnable\nshowDBIf=1\n"), 0 },
    { "no header ends a section", QByteArray("[dbifEnable]\n[ note\nshowDBIf=1\n"), 1 },
    { "no header names a section", QByteArray("[dbifEnable]\n[other\nshowDBIf=1\n"), 1 },
    { "the header after it ends it", QByteArray("[dbifEnable]\n[other]\nshowDBIf=1\n"), 0 },
    { "a name that goes on", QByteArray("[dbifEnable2]\nshowDBIf=1\n"), 0 },
    { "a key that goes on", QByteArray("[dbifEnable]\nshowDBIf2=1\n"), 0 },
    { "quotes", QByteArray("[dbifEnable]\nshowDBIf=\"1\"\n"), 1 },
    { "single quotes", QByteArray("[dbifEnable]\nshowDBIf='1'\n"), 1 },
    { "quotes of two kinds", QByteArray("[dbifEnable]\nshowDBIf='1\"\n"), 0 },
    { "half a pair of quotes", QByteArray("[dbifEnable]\nshowDBIf='\n"), 0 },
    { "leading digits", QByteArray("[dbifEnable]\nshowDBIf=1x\n"), 1 },
    { "leading zero", QByteArray("[dbifEnable]\nshowDBIf=01\n"), 1 },
    { "negative", QByteArray("[dbifEnable]\nshowDBIf=-1\n"), -1 },
    { "one, and 32 bits more", QByteArray("[dbifEnable]\nshowDBIf=4294967297\n"), 0 },
    { "beyond 64 bits", "[dbifEnable]\nshowDBIf=" + QByteArray("9").repeated(30) + "\n", 0 },
    { "escapes mean nothing", QByteArray("[dbifEnable]\na=\\\nshowDBIf=1\n"), 1 },
    { "NUL", QByteArray("[dbifEnable]\na=\0\nshowDBIf=1\n", 28), 1 },
    { "one byte", QByteArray("["), 0 },
    { "no ini", QByteArray("\x01\x02 nothing"), 0 },
};

int readSwitch(const QString& path)
{
    utils::Configuration ini(path.toStdString(), true);
    ini.load(std::string());
    return ini.readInt("dbifEnable", "showDBIf", 0);
}

} // namespace

class tst_configuration : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void anIniEntryIsRead_data();
    void anIniEntryIsRead();
    void anIniIsReadFromThePathOfTheLoad();
    void aMissingIniGivesTheDefault();
    void anIniIsReadAnewByEveryLoad();
};

void tst_configuration::anIniEntryIsRead_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("value");
    for (const Row& row : c_rows) {
        QTest::newRow(row.pszName) << row.content << row.nValue;
    }
}

void tst_configuration::anIniEntryIsRead()
{
    QFETCH(QByteArray, content);
    QFETCH(int, value);
    writeFile(userDir() + "/server.ini", content);
    QCOMPARE(readSwitch(userDir() + "/server.ini"), value);
}

void tst_configuration::anIniIsReadFromThePathOfTheLoad()
{
    writeFile(userDir() + "/own.ini", "[dbifEnable]\nshowDBIf=1\n");
    writeFile(userDir() + "/other.ini", "[dbifEnable]\nshowDBIf=2\n");
    utils::Configuration ini((userDir() + "/own.ini").toStdString(), true);
    QVERIFY(ini.load(std::string()));
    QCOMPARE(ini.readInt("dbifEnable", "showDBIf", 0), 1);
    QVERIFY(ini.load((userDir() + "/other.ini").toStdString()));
    QCOMPARE(ini.readInt("dbifEnable", "showDBIf", 0), 2);
}

void tst_configuration::aMissingIniGivesTheDefault()
{
    utils::Configuration ini((userDir() + "/missing.ini").toStdString(), true);
    QVERIFY(!ini.load(std::string()));
    QCOMPARE(ini.readInt("dbifEnable", "showDBIf", 7), 7);
    QVERIFY(!ini.load(userDir().toStdString()));
    QCOMPARE(ini.readInt("dbifEnable", "showDBIf", 7), 7);
}

void tst_configuration::anIniIsReadAnewByEveryLoad()
{
    const QString strPath = userDir() + "/server.ini";
    writeFile(strPath, "[dbifEnable]\nshowDBIf=1\n");
    QCOMPARE(readSwitch(strPath), 1);
    writeFile(strPath, "[dbifEnable]\nshowDBIf=0\n");
    QCOMPARE(readSwitch(strPath), 0);
}

QTEST_GUILESS_MAIN(tst_configuration)
#include "tst_configuration.moc"
