#include "librarytest.h"
#include "nobody.h"
#include "toolrun.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

// Where the host's outputs go: nowhere among what is the user's own, and elsewhere into the place
// of the whole file.
class tst_hostoutputs : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void nothingOfTheUserIsReplaced_data();
    void nothingOfTheUserIsReplaced();
    void noCommandReplacesTheFile_data();
    void noCommandReplacesTheFile();
    void nothingOfAnotherUserIsReplaced_data();
    void nothingOfAnotherUserIsReplaced();
    void whatLiesBesideNoUserIsAnybodys();
    void noInputIsReplaced_data();
    void noInputIsReplaced();
    void anotherMountLeadsToTheSameFile();
    void aMissingFileIsNotMadeByAnOutput();
    void aFileIsReplacedWholeAndKeepsItsMode();
    void theOwnerIsKeptWhereThatIsAllowed();
    void aLinkStaysALink_data();
    void aLinkStaysALink();

private:
    Outcome tool(const QStringList& arguments) const;
    QMap<QString, QByteArray> contents() const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
};

void tst_hostoutputs::init()
{
    CLibraryTest::init();
    for (const char* pszFolder : { "Temp", "Settings", "History/objects", "out" }) {
        QVERIFY(QDir(userDir()).mkpath(pszFolder));
    }
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", at("sectors.json")));
    for (const char* pszFile : { "Temp/indexUserConfig.xml_20240131", "Settings/=userconfig.xml",
                                 "History/objects/0a1b", "indexUserConfig.xml.damaged-1" }) {
        writeFile(at(pszFile), pszFile);
    }
    for (const char* pszFile : { "Temp/indexUserConfig.xml_20240131", "History/objects/0a1b" }) {
        const QString strHard = at("out/") + QFileInfo(pszFile).fileName() + "-hard";
        QCOMPARE(::link(QFile::encodeName(at(pszFile)), QFile::encodeName(strHard)), 0);
    }
    QCOMPARE(::link(QFile::encodeName(livePath()), QFile::encodeName(at("out/hard"))), 0);
    QVERIFY(QFile::link("../indexUserConfig.xml", at("out/soft")));
    QVERIFY(QFile::link("soft", at("out/softer")));
    QVERIFY(QFile::link("../Temp/indexUserConfig.xml_20990101", at("out/tonowhere")));
    QVERIFY(QFile::link("../Temp", at("out/folder")));
}

Outcome tst_hostoutputs::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

QMap<QString, QByteArray> tst_hostoutputs::contents() const
{
    QMap<QString, QByteArray> all;
    QDirIterator files(userDir(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString strPath = files.next();
        all.insert(strPath, readFile(strPath));
    }
    return all;
}

void tst_hostoutputs::nothingOfTheUserIsReplaced_data()
{
    QTest::addColumn<QString>("out");
    for (const char* pszOut : { "indexUserConfig.xml",
                                "./out/../indexUserConfig.xml",
                                "out/hard",
                                "out/soft",
                                "out/softer",
                                "out/tonowhere",
                                "out/folder/new.csv",
                                "sectors.json",
                                "Temp/indexUserConfig.xml_20240131",
                                "Temp/new.csv",
                                "Settings/=userconfig.xml",
                                "Settings/new",
                                "History/objects/0a1b",
                                "History/new",
                                "History/objects/new",
                                "out/indexUserConfig.xml_20240131-hard",
                                "out/0a1b-hard",
                                "indexUserConfig.xml.damaged-1",
                                "%1/indexUserConfig.xml",
                                "Temp" }) {
        QTest::newRow(pszOut) << pszOut;
    }
}

void tst_hostoutputs::nothingOfTheUserIsReplaced()
{
    QFETCH(QString, out);
    const auto before = contents();
    for (const char* pszDry : { "--dry-run", "" }) {
        QStringList words { "stock", "export", QString(out).replace("%1", userDir()), pszDry };
        words.removeAll(QString());
        const Outcome outcome = tool(words);
        QCOMPARE(outcome.nStatus, 2);
        QVERIFY2(outcome.strErr.contains(": that is the user's own "), qPrintable(outcome.strErr));
        QCOMPARE(outcome.strOut, QString());
        QCOMPARE(contents(), before);
    }
}

void tst_hostoutputs::noCommandReplacesTheFile_data()
{
    QTest::addColumn<QString>("command");
    for (const char* pszCommand :
         { "report --out indexUserConfig.xml", "layout draw --out indexUserConfig.xml",
           "stock export indexUserConfig.xml", "template export 早盘 indexUserConfig.xml",
           "export-sector 801780 Temp", "export-sector 801780 out/folder",
           "export-sector 801780 History/objects", "stock export /proc/self/fd/9",
           "report --out /dev/fd/9", "export-sector 801780 /proc/self/cwd/Settings" }) {
        QTest::newRow(pszCommand) << pszCommand;
    }
}

void tst_hostoutputs::noCommandReplacesTheFile()
{
    QFETCH(QString, command);
    const auto before = contents();
    const QString strLine = "'" TOOL "' --config-dir . " + command + " 9<>indexUserConfig.xml";
    const Outcome outcome = runProgram("bash", { "-c", strLine }, {}, userDir());
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains(": that is the user's own "), qPrintable(outcome.strErr));
    QCOMPARE(contents(), before);
}

void tst_hostoutputs::nothingOfAnotherUserIsReplaced_data()
{
    QTest::addColumn<QString>("command");
    for (const char* pszCommand :
         { "stock export b/indexUserConfig.xml", "layout draw --out b/INDEXUSERCONFIG.XML",
           "template export 早盘 new/indexUserConfig.xml", "stock export b/sectors.json",
           "stock export b/indexUserConfig.xml.damaged-1", "stock export b/Temp/new.csv",
           "report --out b/Settings/new", "stock export b/History/objects/new",
           "stock export tob/indexUserConfig.xml", "stock export soft", "stock export b/hard",
           "export-sector 801780 b/Temp",
           "diff indexUserConfig.xml b/indexUserConfig.xml --patch b/indexUserConfig.xml" }) {
        QTest::newRow(pszCommand) << pszCommand;
    }
}

void tst_hostoutputs::nothingOfAnotherUserIsReplaced()
{
    QFETCH(QString, command);
    for (const char* pszFolder : { "b/Temp", "b/Settings", "b/History/objects", "new" }) {
        QVERIFY(QDir(userDir()).mkpath(pszFolder));
    }
    writeFile(at("b/indexUserConfig.xml"), "<ICUserConfigFile/>");
    QVERIFY(QFile::link("b", at("tob")));
    QVERIFY(QFile::link("b/indexUserConfig.xml", at("soft")));
    writeFile(at("b/Temp/copy"), "copy");
    QCOMPARE(::link(QFile::encodeName(at("b/Temp/copy")), QFile::encodeName(at("b/hard"))), 0);
    const auto before = contents();
    const Outcome outcome = tool(command.split(' '));
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains(": that is the user's own "), qPrintable(outcome.strErr));
    QCOMPARE(contents(), before);
}

void tst_hostoutputs::whatLiesBesideNoUserIsAnybodys()
{
    QVERIFY(QDir(userDir()).mkpath("n/Temp"));
    QCOMPARE(tool({ "stock", "export", "n/Temp/stocks.csv" }).nStatus, 0);
    QCOMPARE(tool({ "stock", "export", "n/sectors.json" }).nStatus, 0);
    writeFile(at("n/indexUserConfig.xml"), "<ICUserConfigFile/>");
    QCOMPARE(tool({ "stock", "export", "n/stocks.csv" }).nStatus, 0);
}

void tst_hostoutputs::noInputIsReplaced_data()
{
    QTest::addColumn<QString>("command");
    for (const char* pszCommand :
         { "report --against x.xml --out x.xml", "layout draw --against x.xml --out to-x",
           "diff x.xml indexUserConfig.xml --patch x.xml",
           "diff indexUserConfig.xml x.xml --patch x-hard", "diff - y.xml --patch x.xml < x.xml",
           "report --against x.xml --out x.xml --dry-run" }) {
        QTest::newRow(pszCommand) << pszCommand;
    }
}

void tst_hostoutputs::noInputIsReplaced()
{
    QFETCH(QString, command);
    writeFile(at("x.xml"), "<ICUserConfigFile/>");
    writeFile(at("y.xml"), readFile(livePath()));
    QVERIFY(QFile::link("x.xml", at("to-x")));
    QCOMPARE(::link(QFile::encodeName(at("x.xml")), QFile::encodeName(at("x-hard"))), 0);
    const auto before = contents();
    const QString strLine = "'" TOOL "' --config-dir . " + command;
    const Outcome outcome = runProgram("bash", { "-c", strLine }, {}, userDir());
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains(": that is an input, which no output replaces\n"),
             qPrintable(outcome.strErr));
    QCOMPARE(contents(), before);
}

void tst_hostoutputs::anotherMountLeadsToTheSameFile()
{
    QVERIFY(QDir(userDir()).mkpath("out/mount"));
    const QString strLine = QStringLiteral(
        "mount --bind . out/mount || exit 77; for f in indexUserConfig.xml Temp/new; do '" TOOL
        "' --config-dir . stock export out/mount/$f; [ $? = 2 ] || exit 1; done");
    const QByteArray before = readFile(livePath());
    const Outcome outcome = runProgram("unshare", { "-rm", "bash", "-c", strLine }, {}, userDir());
    if (outcome.nStatus == 77 || outcome.strErr.startsWith("unshare")) {
        QSKIP("no mounts of one's own on this machine");
    }
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strOut + outcome.strErr));
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostoutputs::aMissingFileIsNotMadeByAnOutput()
{
    QVERIFY(QFile::remove(at("sectors.json")));
    QCOMPARE(tool({ "stock", "export", "sectors.json" }).nStatus, 2);
    QVERIFY(!QFile::exists(at("sectors.json")));
    QVERIFY(QDir(at("History")).removeRecursively());
    QCOMPARE(tool({ "stock", "export", "History" }).nStatus, 2);
    QVERIFY(!QFile::exists(at("History")));
    QCOMPARE(tool({ "stock", "export", "stocks.csv" }).nStatus, 0);
}

void tst_hostoutputs::aFileIsReplacedWholeAndKeepsItsMode()
{
    const auto mode = [&](const QString& path) {
        struct stat info { };
        return ::stat(QFile::encodeName(path), &info) == 0 ? info.st_mode & 07777 : 0U;
    };
    writeFile(at("out/a.csv"), QByteArray(100000, 'x'));
    QCOMPARE(::chmod(QFile::encodeName(at("out/a.csv")), 0664), 0);
    QCOMPARE(tool({ "stock", "export", "out/a.csv" }).nStatus, 0);
    QCOMPARE(mode(at("out/a.csv")), 0664U);
    QVERIFY(readFile(at("out/a.csv")).startsWith("list,market,code,name\r\n"));
    QVERIFY(!readFile(at("out/a.csv")).contains("xx"));
    QCOMPARE(tool({ "stock", "export", "out/new.csv" }).nStatus, 0);
    QCOMPARE(mode(at("out/new.csv")), 0600U);
    QCOMPARE(readFile(at("out/new.csv")), readFile(at("out/a.csv")));
}

void tst_hostoutputs::theOwnerIsKeptWhereThatIsAllowed()
{
    writeFile(at("out/a.csv"), "old");
    const uid_t nOwner = ::geteuid() == 0 ? 65534 : ::geteuid();
    QCOMPARE(::chown(QFile::encodeName(at("out/a.csv")), nOwner, static_cast<gid_t>(-1)), 0);
    QCOMPARE(tool({ "stock", "export", "out/a.csv" }).nStatus, 0);
    QCOMPARE(QFileInfo(at("out/a.csv")).ownerId(), nOwner);
    QVERIFY(readFile(at("out/a.csv")).startsWith("list,"));
}

void tst_hostoutputs::aLinkStaysALink_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("target");
    QTest::newRow("to a file") << "file"
                               << "out/old.csv";
    QTest::newRow("to nowhere") << "out/nowhere.csv"
                                << "out/nowhere.csv";
    QTest::newRow("of two") << "second"
                            << "out/old.csv";
}

void tst_hostoutputs::aLinkStaysALink()
{
    QFETCH(QString, target);
    writeFile(at("out/old.csv"), "old");
    QVERIFY(QFile::link(target, at("first")));
    QVERIFY(QFile::link("../first", at("out/second")));
    QCOMPARE(tool({ "stock", "export", "out/second" }).nStatus, 0);
    QVERIFY(QFileInfo(at("first")).isSymLink() && QFileInfo(at("out/second")).isSymLink());
    QVERIFY(readFile(at(target)).startsWith("list,"));
}

QTEST_GUILESS_MAIN(tst_hostoutputs)
#include "tst_hostoutputs.moc"
