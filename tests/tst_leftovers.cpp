#include "librarytest.h"
#include "nobody.h"
#include "standalone/standalone.h"
#include "toolrun.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// What writes that were cut short have left: told by check, removed by the next write.
class tst_leftovers : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void oldOnesAreTold();
    void checkTellsOfThem();
    void theNextWriteRemovesThem_data();
    void theNextWriteRemovesThem();
    void onlyWhatAWriteLeavesIsRemoved_data();
    void onlyWhatAWriteLeavesIsRemoved();
    void thoseOfOthersStay();

private:
    Outcome tool(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    void leave(const QString& name, int seconds = 3700) const;
};

void tst_leftovers::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QDir(userDir()).mkdir("Temp") && QDir(userDir()).mkdir("Settings"));
}

Outcome tst_leftovers::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

void tst_leftovers::leave(const QString& name, int seconds) const
{
    writeFile(at(name), "oaPassword");
    QFile file(at(name));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds),
                             QFileDevice::FileModificationTime));
}

void tst_leftovers::oldOnesAreTold()
{
    leave("Temp/.new-Ab0xyZ");
    leave("Settings/.new-000000");
    leave(".new-zzzzzz");
    leave("Temp/.new-Young0", 3500);
    QCOMPARE(
        standalone::leftovers(userDir()),
        QStringList({ at(".new-zzzzzz"), at("Temp/.new-Ab0xyZ"), at("Settings/.new-000000") }));
}

void tst_leftovers::checkTellsOfThem()
{
    QCOMPARE(tool({ "check" }).nStatus, 0);
    leave("Temp/.new-Ab0xyZ");
    for (const QStringList& words :
         { QStringList("check"), QStringList { "check", "indexUserConfig.xml" } }) {
        const Outcome outcome = tool(words);
        QCOMPARE(outcome.nStatus, 1);
        QVERIFY2(outcome.strOut.contains("indexUserConfig.xml: kept: " + at("Temp/.new-Ab0xyZ")
                                         + " is left of a write that was cut short; the next one "
                                           "removes it [leftover]\n"),
                 qPrintable(outcome.strOut));
    }
    QCOMPARE(tool({ "check", SAMPLE_USER "/indexUserConfig.xml" }).nStatus, 0);
    QVERIFY(tool({ "check", "--json" }).strOut.contains("\"rule\": \"leftover\""));
}

void tst_leftovers::theNextWriteRemovesThem_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("edit") << QStringList { "option", "set", "tickRestoreDay=7" } << QStringList();
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" }
                             << QStringList();
    QTest::newRow("setting") << QStringList { "setting", "set", "a", "b" } << QStringList();
    QTest::newRow("answer") << QStringList("show") << QStringList { ".", "Temp", "Settings" };
    QTest::newRow("dry run") << QStringList { "option", "set", "tickRestoreDay=7", "--dry-run" }
                             << QStringList { ".", "Temp", "Settings" };
}

void tst_leftovers::theNextWriteRemovesThem()
{
    QFETCH(QStringList, words);
    QFETCH(QStringList, left);
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    for (const char* pszFolder : { ".", "Temp", "Settings" }) {
        leave(pszFolder + QStringLiteral("/.new-Ab0xyZ"));
    }
    QCOMPARE(tool(words).nStatus, 0);
    QStringList found;
    for (const char* pszFolder : { ".", "Temp", "Settings" }) {
        if (QFile::exists(at(pszFolder) + "/.new-Ab0xyZ")) {
            found.append(pszFolder);
        }
    }
    QCOMPARE(found, left);
}

void tst_leftovers::onlyWhatAWriteLeavesIsRemoved_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("stays");
    const auto row
        = [](const char* pszName, bool stays) { QTest::newRow(pszName) << pszName << stays; };
    row(".new-Ab0xyZ", false);
    row(".new-Ab0xy", true);
    row(".new-Ab0xyZ1", true);
    row(".new-Ab0xy.", true);
    row("new-Ab0xyZ", true);
    row(".New-Ab0xyZ", true);
    row("a.new-Ab0xyZ", true);
    row("young", true);
    row("link", true);
    row("pipe", true);
    row("folder", true);
}

void tst_leftovers::onlyWhatAWriteLeavesIsRemoved()
{
    QFETCH(QString, name);
    QFETCH(bool, stays);
    const QString strName = "Temp/" + (name.contains("ew-") ? name : ".new-Ab0xyZ");
    const QByteArray path = QFile::encodeName(at(strName));
    if (name == "link") {
        leave("Temp/old");
        QVERIFY(QFile::link("old", at(strName)));
    } else if (name == "pipe") {
        QCOMPARE(::mkfifo(path, 0600), 0);
    } else if (name == "folder") {
        QCOMPARE(::mkdir(path, 0700), 0);
    } else {
        leave(strName, name == "young" ? 3500 : 3700);
    }
    if (name == "link" || name == "pipe" || name == "folder") {
        const timespec times[2] = {};
        QCOMPARE(::utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW), 0);
    }
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(QFile::exists(livePath()));
    struct stat info { };
    QCOMPARE(::lstat(path, &info) == 0, stays);
}

void tst_leftovers::thoseOfOthersStay()
{
    if (::geteuid() != 0) {
        QSKIP("only root can give a file away");
    }
    leave("Temp/.new-Ab0xyZ");
    QCOMPARE(::chown(QFile::encodeName(at("Temp/.new-Ab0xyZ")), 65534, 65534), 0);
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(QFile::exists(at("Temp/.new-Ab0xyZ")));
}

QTEST_GUILESS_MAIN(tst_leftovers)
#include "tst_leftovers.moc"
