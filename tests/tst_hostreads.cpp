#include "librarytest.h"
#include "logcapture.h"
#include "toolrun.h"

#include "inspect/userfile.h"

#include <QElapsedTimer>

#include <thread>

#include <sys/stat.h>
#include <unistd.h>

// What the host reads: regular files, not too much of them, and a file that is just being saved.
class tst_hostreads : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void onlyRegularFilesAreRead_data();
    void onlyRegularFilesAreRead();
    void otherFilesBesideItHoldNobodyUp_data();
    void otherFilesBesideItHoldNobodyUp();
    void theServiceReadsOnlyRegularFiles_data();
    void theServiceReadsOnlyRegularFiles();
    void tooManySectorsAreRefusedUnread();
    void aFileThatIsBeingSavedIsWaitedFor();
    void onlyASaveIsWaitedFor_data();
    void onlyASaveIsWaitedFor();
    void readersNeverSeeTheMiddleOfASave();

private:
    Outcome tool(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    void makeOther(const QString& path, const QString& kind) const;
};

void tst_hostreads::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QDir(userDir()).mkdir("Temp"));
}

Outcome tst_hostreads::tool(const QStringList& arguments) const
{
    return runProgram("timeout",
                      QStringList { "-v", "20", TOOL, "--config-dir", userDir() } + arguments, {},
                      userDir());
}

// A named pipe that nobody writes to, or a link to a device.
void tst_hostreads::makeOther(const QString& path, const QString& kind) const
{
    QFile::remove(path);
    if (kind == "pipe") {
        QCOMPARE(::mkfifo(QFile::encodeName(path), 0600), 0);
    } else {
        QVERIFY(QFile::link(kind, path));
    }
}

void tst_hostreads::onlyRegularFilesAreRead_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("words");
    for (const char* pszKind : { "pipe", "/dev/zero", "/dev/null" }) {
        for (const char* pszWords :
             { "show", "check", "diff indexUserConfig.xml indexUserConfig.xml", "report --out a",
               "recover", "recover --encoding gbk", "option list", "option get tickRestoreDay",
               "option set tickRestoreDay=7", "stock list", "stock export a", "template list",
               "template export 早盘 a", "template import indexUserConfig.xml",
               "stock import indexUserConfig.xml", "layout show", "layout draw --out a",
               "snapshot diff 2024-01-31", "snapshot restore 2024-01-31" }) {
            QTest::addRow("%s: %s", pszKind, pszWords) << pszKind << pszWords;
        }
    }
}

void tst_hostreads::onlyRegularFilesAreRead()
{
    QFETCH(QString, kind);
    QFETCH(QString, words);
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    makeOther(livePath(), kind);
    const Outcome outcome = tool(words.split(' '));
    QCOMPARE(outcome.nStatus, 3);
    // What is to be written is refused for where it is before it is read.
    const QString strSaid = outcome.strErr + outcome.strOut;
    QVERIFY2(strSaid.contains("indexUserConfig.xml: is no regular file")
                 || strSaid.contains(kind + " cannot be replaced: its directory is closed"),
             qPrintable(strSaid));
    QVERIFY(!QFileInfo(livePath()).isFile());
    QVERIFY(!QFile::exists(at("a")));
}

void tst_hostreads::otherFilesBesideItHoldNobodyUp_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("copy listed") << "Temp/indexUserConfig.xml_20240131"
                                 << "snapshot list" << 0;
    QTest::newRow("copy reported") << "Temp/indexUserConfig.xml_20240131"
                                   << "report --out a" << 0;
    QTest::newRow("sectors") << "sectors.json"
                             << "sector list" << 3;
    QTest::newRow("export") << "sectors.json"
                            << "export-sector 801780 ." << 3;
    QTest::newRow("setting") << "Settings/UiSettingConfig=a"
                             << "setting get a" << 3;
    QTest::newRow("templates") << "other"
                               << "template import other" << 3;
    QTest::newRow("stocks") << "other"
                            << "stock import other" << 3;
    QTest::newRow("check") << "other"
                           << "check other" << 3;
    QTest::newRow("diff") << "other"
                          << "diff indexUserConfig.xml other" << 3;
}

void tst_hostreads::otherFilesBesideItHoldNobodyUp()
{
    QFETCH(QString, name);
    QFETCH(QString, words);
    QFETCH(int, status);
    QVERIFY(QDir(userDir()).mkdir("Settings"));
    for (const char* pszKind : { "pipe", "/dev/zero" }) {
        makeOther(at(name), pszKind);
        const Outcome outcome = tool(words.split(' '));
        QVERIFY2(outcome.nStatus == status, qPrintable(outcome.strErr));
        QVERIFY2(status == 0 || (outcome.strErr + outcome.strOut).contains("is no regular file"),
                 qPrintable(outcome.strErr));
    }
}

void tst_hostreads::theServiceReadsOnlyRegularFiles_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("pipe") << "pipe";
    QTest::newRow("endless") << "/dev/zero";
}

void tst_hostreads::theServiceReadsOnlyRegularFiles()
{
    QFETCH(QString, kind);
    makeOther(livePath(), kind);
    logcapture::expectErrors(1);
    service().loadSettings();
    QCOMPARE(service().getParamSettingForClient().tickRestoreDay, 1);
}

void tst_hostreads::tooManySectorsAreRefusedUnread()
{
    writeFile(at("sectors.json"), "");
    QCOMPARE(::truncate(QFile::encodeName(at("sectors.json")), 126L * 1024 * 1024), 0);
    // With less memory than the file would take.
    const QString strWords = QStringLiteral("ulimit -v 400000; '" TOOL "' --config-dir . ");
    QProcess probe;
    probe.start("bash", { "-c", strWords + "--version" });
    QVERIFY(probe.waitForFinished());
    if (probe.exitStatus() != QProcess::NormalExit || probe.exitCode() != 0) {
        QSKIP("a sanitizer wants more than that for itself");
    }
    const Outcome outcome = runProgram("bash", { "-c", strWords + "sector list" }, {}, userDir());
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.endsWith("sectors.json: larger than 33554432 bytes\n"),
             qPrintable(outcome.strErr));
}

void tst_hostreads::aFileThatIsBeingSavedIsWaitedFor()
{
    const QByteArray content = readFile(livePath());
    writeFile(datedPath(), content);
    QVERIFY(QFile::rename(livePath(), at("coming")));
    std::thread saving([this] {
        QThread::msleep(40);
        QFile::rename(at("coming"), livePath());
    });
    const inspect::UserFile file = inspect::readUserFile(livePath());
    saving.join();
    QCOMPARE(toText(file.error), QString());
    QCOMPARE(file.strText, QString::fromUtf8(content));
}

void tst_hostreads::onlyASaveIsWaitedFor_data()
{
    QTest::addColumn<int>("age"); // of the dated copy in seconds; none below 0
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("waits");
    QTest::newRow("just saved") << 0 << "indexUserConfig.xml" << true;
    QTest::newRow("saved an hour ago") << 3600 << "indexUserConfig.xml" << false;
    QTest::newRow("never saved") << -1 << "indexUserConfig.xml" << false;
    QTest::newRow("another file") << 0 << "other.xml" << false;
}

void tst_hostreads::onlyASaveIsWaitedFor()
{
    QFETCH(int, age);
    QFETCH(QString, name);
    QFETCH(bool, waits);
    QVERIFY(QFile::remove(livePath()));
    if (age >= 0) {
        writeFile(datedPath(), "<ICUserConfigFile/>");
        QFile copy(datedPath());
        QVERIFY(copy.open(QIODevice::ReadWrite));
        QVERIFY(copy.setFileTime(QDateTime::currentDateTime().addSecs(-age),
                                 QFileDevice::FileModificationTime));
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(inspect::readUserFile(at(name)).state, inspect::FileState::Missing);
    QCOMPARE(timer.hasExpired(195), waits);
}

// An edit between its two reads is a difference.
void tst_hostreads::readersNeverSeeTheMiddleOfASave()
{
    const QString strLine = QStringLiteral(
        "(for i in $(seq 20); do '%1' --config-dir . option set tickRestoreDay=$((i % 9 + 1)) "
        ">/dev/null || echo edit; done; touch done) & "
        "while [ ! -e done ]; do for c in show 'diff indexUserConfig.xml indexUserConfig.xml' "
        "'option get tickRestoreDay'; do '%1' --config-dir . $c >/dev/null || [ $? -eq 1 ] || echo "
        "$c; done; done; "
        "wait");
    const Outcome outcome = runProgram("bash", { "-c", strLine.arg(TOOL) }, {}, userDir());
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.strOut, QString());
}

QTEST_GUILESS_MAIN(tst_hostreads)
#include "tst_hostreads.moc"
