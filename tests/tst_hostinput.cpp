#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

#include <fcntl.h>
#include <sys/stat.h>

// What the host is given to read: without an end, without rights, and no file at all.
class tst_hostinput : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void inputWithoutEndIsRefused_data();
    void inputWithoutEndIsRefused();
    void wantOfMemoryIsAFailure();
    void aNamedPipeIsNotWaitedFor_data();
    void aNamedPipeIsNotWaitedFor();
    void aNamedPipeAsTheFileIsNotWaitedFor_data();
    void aNamedPipeAsTheFileIsNotWaitedFor();
    void aDescriptorIsAFile();
    void sectorsThatMayNotBeReadAreNoDamage();
    void settingsThatMayNotBeReadAreNotMissing();
    void aSettingThatCannotBeStoredNamesTheCause_data();
    void aSettingThatCannotBeStoredNamesTheCause();
    void recoverIsNotNamedWhereNothingMayBeWritten();
    void theFirstFileThatCannotBeReadIsNamed();
    void closedStandardOutputIsNamed_data();
    void closedStandardOutputIsNamed();

private:
    Outcome tool(const QStringList& arguments) const;
    Outcome shell(const QString& line) const;
    void makePipe(const QString& path) const;
};

namespace {

// A run with seteuid(): the build directory may be closed to whoever has no rights.
#define REQUIRE_THE_TOOL                                                                           \
    if (::faccessat(AT_FDCWD, TOOL, X_OK, AT_EACCESS) != 0) {                                      \
        QSKIP("the build directory is closed to the user without rights");                         \
    }

} // namespace

void tst_hostinput::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostinput::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

// A command line with $TOOL in it, which ends before anybody loses patience.
Outcome tst_hostinput::shell(const QString& line) const
{
    return runProgram("timeout", { "60", "bash", "-c", line }, { "TOOL=" TOOL, "LC_ALL=C.UTF-8" },
                      userDir());
}

void tst_hostinput::makePipe(const QString& path) const
{
    QCOMPARE(::mkfifo(QFile::encodeName(userDir() + '/' + path).constData(), 0600), 0);
}

void tst_hostinput::inputWithoutEndIsRefused_data()
{
    QTest::addColumn<QString>("words");
    for (const char* pszWords :
         { "check -", "stock import -", "template import -", "diff - indexUserConfig.xml" }) {
        QTest::newRow(pszWords) << QString(pszWords);
    }
}

void tst_hostinput::inputWithoutEndIsRefused()
{
    QFETCH(QString, words);
    const Outcome outcome = shell("\"$TOOL\" --config-dir . " + words + " </dev/zero");
    QCOMPARE(outcome.nStatus, 4);
    const QString strSaid = outcome.strOut + outcome.strErr;
    QVERIFY2(strSaid.contains("/dev/stdin: larger than 268435456 bytes\n"), qPrintable(strSaid));
}

void tst_hostinput::wantOfMemoryIsAFailure()
{
    const QString strWords = "ulimit -v 500000; \"$TOOL\" --config-dir . ";
    if (shell(strWords + "--version || exit 1").nStatus != 0) {
        QSKIP("a sanitizer wants more than that for itself");
    }
    const Outcome outcome = shell(strWords + "check - </dev/zero");
    QCOMPARE(outcome.strErr, QString("indexuserctl: out of memory\n"));
    QCOMPARE(outcome.nStatus, 3);
}

void tst_hostinput::aNamedPipeIsNotWaitedFor_data()
{
    QTest::addColumn<QString>("words");
    for (const char* pszWords : { "check pipe", "stock import pipe", "template import pipe",
                                  "diff indexUserConfig.xml pipe", "check /dev/zero" }) {
        QTest::newRow(pszWords) << QString(pszWords);
    }
}

void tst_hostinput::aNamedPipeIsNotWaitedFor()
{
    QFETCH(QString, words);
    makePipe("pipe");
    const Outcome outcome = shell("\"$TOOL\" --config-dir . " + words);
    QCOMPARE(outcome.nStatus, 3);
    const QString strSaid = outcome.strOut + outcome.strErr;
    QVERIFY2(strSaid.contains(words.section(' ', -1) + ": is no regular file\n"),
             qPrintable(strSaid));
}

void tst_hostinput::aNamedPipeAsTheFileIsNotWaitedFor_data()
{
    QTest::addColumn<QString>("pipe");
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    const auto row = [](const char* pszPipe, const char* pszWords, int nStatus) {
        QTest::newRow(pszWords) << pszPipe << pszWords << nStatus;
    };
    row("indexUserConfig.xml", "show", 3);
    row("indexUserConfig.xml", "option set tickRestoreDay=7", 3);
    row("indexUserConfig.xml", "recover", 3);
    row("Temp/indexUserConfig.xml_20240131", "snapshot list", 0);
    row("Temp/indexUserConfig.xml_20240131", "snapshot show 2024-01-31", 1);
    row("sectors.json", "sector list", 3);
    row("Settings/UiSettingConfig=k", "setting get k", 3);
}

void tst_hostinput::aNamedPipeAsTheFileIsNotWaitedFor()
{
    QFETCH(QString, pipe);
    QFETCH(QString, words);
    QFETCH(int, status);
    QFile::remove(userDir() + '/' + pipe);
    QVERIFY(QDir(userDir()).mkpath("Temp") && QDir(userDir()).mkpath("Settings"));
    makePipe(pipe);
    const Outcome outcome = shell("\"$TOOL\" --config-dir . " + words);
    QCOMPARE(outcome.nStatus, status);
    QCOMPARE(outcome.strErr.contains(pipe + ": is no regular file"), status == 3);
}

// As shells name the output of a command.
void tst_hostinput::aDescriptorIsAFile()
{
    const Outcome outcome
        = shell("\"$TOOL\" diff <(cat indexUserConfig.xml) <(cat indexUserConfig.xml)");
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
}

void tst_hostinput::sectorsThatMayNotBeReadAreNoDamage()
{
    const QString strFile = userDir() + "/sectors.json";
    writeFile(strFile, "{}");
    QVERIFY(QFile::setPermissions(strFile, QFileDevice::Permissions()));
    const CNobody nobody({ userDir() });
    REQUIRE_THE_TOOL
    const Outcome outcome = tool({ "sector", "list" });
    QCOMPARE(outcome.strErr, "indexuserctl: " + strFile + ": Permission denied\n");
    QCOMPARE(outcome.nStatus, 3);
}

void tst_hostinput::settingsThatMayNotBeReadAreNotMissing()
{
    const QString strFile = userDir() + "/Settings/UiSettingConfig=a";
    QVERIFY(QDir(userDir()).mkpath("Settings"));
    writeFile(strFile, "value");
    QVERIFY(QFile::setPermissions(userDir() + "/Settings", QFileDevice::Permissions()));
    Outcome outcome {};
    {
        const CNobody nobody({ userDir() });
        REQUIRE_THE_TOOL
        outcome = tool({ "setting", "get", "a" });
    }
    QVERIFY(QFile::setPermissions(userDir() + "/Settings",
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                      | QFileDevice::ExeOwner));
    QCOMPARE(outcome.strErr, "indexuserctl: " + strFile + ": Permission denied\n");
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(tool({ "setting", "get", "b" }).nStatus, 1);
}

void tst_hostinput::aSettingThatCannotBeStoredNamesTheCause_data()
{
    QTest::addColumn<bool>("there");
    QTest::addColumn<QString>("words");
    QTest::newRow("read-only store") << true << "the setting 'a' was not stored";
    QTest::newRow("directory that takes no lock") << false << "the save failed";
}

void tst_hostinput::aSettingThatCannotBeStoredNamesTheCause()
{
    QFETCH(bool, there);
    QFETCH(QString, words);
    QVERIFY(!there || QDir(userDir()).mkpath("Settings"));
    const CReadOnlyDirectory readOnly(userDir() + (there ? "/Settings" : ""), { userDir() });
    REQUIRE_THE_TOOL
    const Outcome outcome = tool({ "setting", "set", "a", "v" });
    QVERIFY2(outcome.strErr.endsWith("indexuserctl: " + words + ": Permission denied: " + userDir()
                                     + (there ? "/Settings\n" : "\n")),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 3);
}

void tst_hostinput::recoverIsNotNamedWhereNothingMayBeWritten()
{
    writeLive("<a");
    QVERIFY(QDir(userDir()).mkpath("Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<ICUserConfigFile/>");
    QVERIFY(tool({ "option", "set", "tickRestoreDay=7" }).strErr.contains("'recover'"));
    const CReadOnlyDirectory readOnly(userDir());
    REQUIRE_THE_TOOL
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY2(!outcome.strErr.contains("'recover'"), qPrintable(outcome.strErr));
    QCOMPARE(tool({ "recover" }).nStatus, 3);
}

void tst_hostinput::theFirstFileThatCannotBeReadIsNamed()
{
    QCOMPARE(tool({ "diff", "missing1", "missing2" }).strErr,
             QString("indexuserctl: missing1: No such file or directory\n"));
}

void tst_hostinput::closedStandardOutputIsNamed_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("answer") << "show >&-";
    QTest::newRow("file") << "stock export - >&-";
}

void tst_hostinput::closedStandardOutputIsNamed()
{
    QFETCH(QString, line);
    const Outcome outcome = shell("\"$TOOL\" --config-dir . " + line);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: cannot write to standard output: Bad file "
                     "descriptor\n"));
    QCOMPARE(outcome.nStatus, 3);
}

QTEST_GUILESS_MAIN(tst_hostinput)
#include "tst_hostinput.moc"
