#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// How the host fails: which status, and a message that names the cause.
class tst_hostfailures : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aSaveThatFailsNamesTheCause_data();
    void aSaveThatFailsNamesTheCause();
    void aSaveOntoAFullDiskNamesTheCause();
    void aSaveIntoAReadOnlyDirectoryNamesTheCause_data();
    void aSaveIntoAReadOnlyDirectoryNamesTheCause();
    void recoverIsNamedOnlyWhereItHelps_data();
    void recoverIsNamedOnlyWhereItHelps();
    void noLineOfQtIsSeen_data();
    void noLineOfQtIsSeen();
    void csvErrorsAreNamedByFileAndLine_data();
    void csvErrorsAreNamedByFileAndLine();
    void wrongUsageIsTwo_data();
    void wrongUsageIsTwo();
    void aRenameToItselfIsNothingToDo();
    void whatWasDoneIsToldThoughOutputIsFull_data();
    void whatWasDoneIsToldThoughOutputIsFull();
    void whatWasNotDoneIsNotTold_data();
    void whatWasNotDoneIsNotTold();
    void aClosedPipeEndsAnAnswerQuietly();
    void devicesAreWrittenNotReplaced();

private:
    Outcome tool(const QStringList& arguments) const;
};

void tst_hostfailures::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostfailures::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments, {}, userDir());
}

void tst_hostfailures::aSaveThatFailsNamesTheCause_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a file") << ""
                            << "Not a directory: ";
    QTest::newRow("a link to nowhere") << "nowhere"
                                       << "No such file or directory: ";
}

void tst_hostfailures::aSaveThatFailsNamesTheCause()
{
    QFETCH(QString, target);
    QFETCH(QString, reason);
    const QString strTemp = userDir() + "/Temp";
    if (target.isEmpty()) {
        writeFile(strTemp, "no directory");
    } else {
        QVERIFY(QFile::link(target, strTemp));
    }
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.endsWith("\nindexuserctl: the save failed: " + reason + strTemp + '\n'),
             qPrintable(outcome.strErr));
    QVERIFY(!outcome.strErr.contains("Bad file descriptor"));
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostfailures::aSaveOntoAFullDiskNamesTheCause()
{
    Outcome outcome {};
    {
        const CFileSizeLimit limit(100); // inherited by the tool
        outcome = tool({ "option", "set", "tickRestoreDay=7" });
    }
    QVERIFY2(outcome.strErr.contains("\nindexuserctl: the save failed: File too large: " + userDir()
                                     + "/History/"),
             qPrintable(outcome.strErr));
}

void tst_hostfailures::aSaveIntoAReadOnlyDirectoryNamesTheCause_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("dated copies") << "/Temp";
    QTest::newRow("live file") << "";
}

void tst_hostfailures::aSaveIntoAReadOnlyDirectoryNamesTheCause()
{
    QFETCH(QString, folder);
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    QVERIFY(QDir().mkpath(userDir() + "/Settings"));
    Outcome outcome {};
    {
        const CReadOnlyDirectory readOnly(
            userDir() + folder,
            { userDir(), userDir() + "/Temp", userDir() + "/Settings", livePath() });
        if (::faccessat(AT_FDCWD, TOOL, X_OK, AT_EACCESS) != 0) {
            QSKIP("the build directory is closed to the user without rights");
        }
        outcome = tool({ "option", "set", "tickRestoreDay=7" });
    }
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.endsWith(
                 "indexuserctl: the save failed: Permission denied: " + userDir() + folder + '\n'),
             qPrintable(outcome.strErr));
    QVERIFY(!outcome.strErr.contains("Bad file descriptor"));
}

void tst_hostfailures::recoverIsNamedOnlyWhereItHelps_data()
{
    QTest::addColumn<QByteArray>("live");
    QTest::addColumn<QByteArray>("copy");
    QTest::addColumn<bool>("helps");
    const QByteArray whole("<ICUserConfigFile/>");
    QTest::newRow("damaged, whole copy") << QByteArray("<a") << whole << true;
    QTest::newRow("damaged, damaged copy") << QByteArray("<a") << QByteArray("<a") << false;
    QTest::newRow("damaged, no copy") << QByteArray("<a") << QByteArray() << false;
    QTest::newRow("missing, whole copy") << QByteArray() << whole << true;
    QTest::newRow("missing, no copy") << QByteArray() << QByteArray() << false;
    QTest::newRow("a directory") << QByteArray("/") << whole << false;
}

void tst_hostfailures::recoverIsNamedOnlyWhereItHelps()
{
    QFETCH(QByteArray, live);
    QFETCH(QByteArray, copy);
    QFETCH(bool, helps);
    QVERIFY(QFile::remove(livePath()));
    if (live == "/") {
        QVERIFY(QDir().mkpath(livePath()));
    } else if (!live.isEmpty()) {
        writeLive(live);
    }
    if (!copy.isEmpty()) {
        QVERIFY(QDir().mkpath(userDir() + "/Temp"));
        writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", copy);
    }
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, live == "<a" ? 4 : 3);
    QVERIFY2(outcome.strErr.contains("'recover'") == helps, qPrintable(outcome.strErr));
    QCOMPARE(tool({ "recover" }).nStatus == 0, helps);
}

void tst_hostfailures::noLineOfQtIsSeen_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("import") << QStringList { "stock", "import", "" };
    QTest::newRow("export") << QStringList { "stock", "export", "" };
    QTest::newRow("import of a directory") << QStringList { "stock", "import", "." };
    QTest::newRow("export to a directory") << QStringList { "stock", "export", "." };
    QTest::newRow("diff") << QStringList { "diff", "", "" };
    QTest::newRow("report") << QStringList { "report", "--out", "" };
    QTest::newRow("drawing") << QStringList { "layout", "draw", "--out", "" };
    QTest::newRow("template") << QStringList { "template", "import", "" };
    QTest::newRow("sector") << QStringList { "export-sector", "801780", "" };
}

void tst_hostfailures::noLineOfQtIsSeen()
{
    QFETCH(QStringList, words);
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.nStatus == 2 || outcome.nStatus == 3, qPrintable(outcome.strErr));
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: ") && outcome.strErr.count('\n') == 1,
             qPrintable(outcome.strErr));
}

void tst_hostfailures::csvErrorsAreNamedByFileAndLine_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<QString>("message");
    const QByteArray head("list,market,code,name\r\n");
    QTest::newRow("heading") << QByteArray("list;market\n") << ":1: the heading is not ";
    QTest::newRow("fields") << head + "1,SH,1,a\n1,SH\n"
                            << ":3: 2 fields instead of ";
    QTest::newRow("encoding") << head + "1,SH,1,a\n1,SH,2,\xc6\xd6\n"
                              << ":3: the text is not UTF-8";
    QTest::newRow("control") << head + "1,SH,1,\xe2\x80\xae\n"
                             << ":2: a field holds a control character";
}

void tst_hostfailures::csvErrorsAreNamedByFileAndLine()
{
    QFETCH(QByteArray, csv);
    QFETCH(QString, message);
    writeFile(userDir() + "/a.csv", csv);
    const Outcome outcome = tool({ "stock", "import", "a.csv" });
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: a.csv" + message),
             qPrintable(outcome.strErr));
}

void tst_hostfailures::wrongUsageIsTwo_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message");
    const auto row = [](const QStringList& words, const char* pszMessage) {
        QTest::newRow(qPrintable(words.join(' '))) << words << pszMessage;
    };
    row({ "snapshot", "show", "tomorrow" }, "'tomorrow' is no date like 2024-01-31");
    row({ "snapshot", "show", "2024-02-30" }, "'2024-02-30' is no date");
    row({ "snapshot", "diff", "2024-1-31" }, "'2024-1-31' is no date");
    row({ "snapshot", "diff", "202-40131" }, "'202-40131' is no date");
    row({ "snapshot", "restore", "" }, "'' is no date");
    row({ "show", "--json=1" }, "--json takes no value");
    row({ "show", "--json=true" }, "--json takes no value");
    row({ "show", "--json=" }, "--json takes no value");
    row({ "option", "set", "a=1", "--dry-run=false" }, "--dry-run takes no value");
    row({ "--log=0", "show" }, "--log takes no value");
    row({ "--help=show" }, "--help takes no value");
    row({ "option", "set" }, "NAME=VALUE is required");
}

void tst_hostfailures::wrongUsageIsTwo()
{
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.strErr.contains(message), qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(outcome.strOut, QString());
    // A date without a copy is a question with an answer.
    QCOMPARE(tool({ "snapshot", "show", "2024-01-31" }).nStatus, 1);
    QCOMPARE(tool({ "snapshot", "show", "20240131" }).nStatus, 1);
}

void tst_hostfailures::aRenameToItselfIsNothingToDo()
{
    const QByteArray before = readFile(livePath());
    const Outcome outcome = tool({ "template", "rename", "早盘", "早盘" });
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("No differences"));
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(tool({ "template", "rename", "午盘", "午盘" }).nStatus, 1);
}

void tst_hostfailures::whatWasDoneIsToldThoughOutputIsFull_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("done");
    QTest::newRow("edit") << QStringList { "option", "set", "tickRestoreDay=7" }
                          << "saved %1/indexUserConfig.xml";
    QTest::newRow("file") << QStringList { "stock", "export", "a.csv" } << "a.csv (";
    QTest::newRow("sector") << QStringList { "export-sector", "801780", "%1" } << "%1/银行";
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" }
                             << "brought back %1/Temp/indexUserConfig.xml_20240131";
}

void tst_hostfailures::whatWasDoneIsToldThoughOutputIsFull()
{
    QFETCH(QStringList, words);
    QFETCH(QString, done);
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<ICUserConfigFile/>");
    words.replaceInStrings("%1", userDir()).replaceInStrings("a.csv", userDir() + "/a.csv");
    const Outcome outcome = runOntoFullDisk(QStringList { "--config-dir", userDir() } + words);
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: cannot write to standard output: No space "
                                       "left on device; but it was done: ")
                 && outcome.strErr.contains(done.replace("%1", userDir())),
             qPrintable(outcome.strErr));
}

void tst_hostfailures::whatWasNotDoneIsNotTold_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("dry run") << QStringList { "option", "set", "tickRestoreDay=7", "--dry-run" };
    QTest::newRow("answer") << QStringList { "show" };
    QTest::newRow("stream") << QStringList { "stock", "export", "-" };
}

void tst_hostfailures::whatWasNotDoneIsNotTold()
{
    QFETCH(QStringList, words);
    const QByteArray before = readFile(livePath());
    const Outcome outcome = runOntoFullDisk(QStringList { "--config-dir", userDir() } + words);
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: cannot write to standard output: No space left on device\n"));
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostfailures::aClosedPipeEndsAnAnswerQuietly()
{
    const auto piped = [&](const QString& words) {
        return runProgram("bash",
                          { "-c",
                            "set -o pipefail; '" TOOL "' --config-dir '" + userDir() + "' " + words
                                + " | (exec <&-; sleep 0.3)" });
    };
    QCOMPARE(piped("show").strErr, QString());
    const Outcome outcome = piped("option set tickRestoreDay=7");
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("Broken pipe; but it was done: saved "),
             qPrintable(outcome.strErr));
}

void tst_hostfailures::devicesAreWrittenNotReplaced()
{
    const QString strPipe = userDir() + "/pipe";
    QCOMPARE(::mkfifo(QFile::encodeName(strPipe).constData(), 0600), 0);
    QCOMPARE(::chmod(QFile::encodeName(strPipe).constData(), 0640), 0);
    const Outcome outcome = runProgram(
        "bash", { "-c", "cat pipe >got & '" TOOL "' --config-dir . stock export pipe && wait" }, {},
        userDir());
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(!QFileInfo(strPipe).isFile());
    QVERIFY(QFile::permissions(strPipe) & QFileDevice::ReadGroup); // not ours to change
    QVERIFY(readFile(userDir() + "/got").startsWith("list,market,code,name\r\n"));
}

QTEST_GUILESS_MAIN(tst_hostfailures)
#include "tst_hostfailures.moc"
