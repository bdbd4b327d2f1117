#include "librarytest.h"
#include "toolrun.h"

#include <mend/userlock.h>

#include <QElapsedTimer>

#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The host and whoever else may write the same user's file.
class tst_hostlock : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whoWritesWhileAnotherMayIsTold_data();
    void whoWritesWhileAnotherMayIsTold();
    void whoReadsNeedsNoLock_data();
    void whoReadsNeedsNoLock();
    void aWriterWaitsForItsTurn();
    void aWriterDoesNotWaitForEver();
    void aForcedEditWarns();
    void theLockOfTheDeadIsTakenOver();
    void whatIsNoFileIsNobodysLock();
    void aWaitThatIsNoneIsRefused_data();
    void aWaitThatIsNoneIsRefused();

private:
    Outcome tool(const QStringList& arguments) const;
};

Outcome tst_hostlock::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostlock::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    const QString strCopy = userDir() + "/Temp/indexUserConfig.xml_20240131";
    writeFile(strCopy, "<ICUserConfigFile/>");
    // A copy younger than the file would be a finding.
    QFile copy(strCopy);
    QVERIFY(copy.open(QIODevice::ReadWrite));
    QVERIFY(copy.setFileTime(QDateTime(QDate(2024, 1, 31), QTime(9, 0)),
                             QFileDevice::FileModificationTime));
}

void tst_hostlock::whoWritesWhileAnotherMayIsTold_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("option") << QStringList { "option", "set", "tickRestoreDay=7" };
    QTest::newRow("stock") << QStringList { "stock", "add", "7", "SH", "601012" };
    QTest::newRow("template") << QStringList { "template", "save", "new" };
    QTest::newRow("setting") << QStringList { "setting", "set", "a", "b" };
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" };
    QTest::newRow("recover") << QStringList { "recover", "--from", "2024-01-31" };
    QTest::newRow("prune") << QStringList { "history", "prune" };
}

void tst_hostlock::whoWritesWhileAnotherMayIsTold()
{
    QFETCH(QStringList, words);
    const QByteArray before = readFile(livePath());
    mend::CUserLock lock(userDir());
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    const Outcome outcome = tool(words + QStringList { "--wait", "0" });
    QCOMPARE(outcome.nStatus, 5);
    const QRegularExpression busy(
        QStringLiteral("^indexuserctl: busy: tst_hostlock, process %1, "
                       "since \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\n$")
            .arg(::getpid()));
    QVERIFY2(busy.match(outcome.strErr).hasMatch(), qPrintable(outcome.strErr));
    QCOMPARE(readFile(livePath()), before);
    QVERIFY(!QFile::exists(userDir() + "/Settings"));
}

void tst_hostlock::whoReadsNeedsNoLock_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("show") << QStringList { "show" };
    QTest::newRow("check") << QStringList { "check" };
    QTest::newRow("dry run") << QStringList { "option", "set", "tickRestoreDay=7", "--dry-run" };
    QTest::newRow("dry recovery") << QStringList { "recover", "--dry-run" };
}

void tst_hostlock::whoReadsNeedsNoLock()
{
    QFETCH(QStringList, words);
    mend::CUserLock lock(userDir());
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(tool(words).nStatus, 0);
    QVERIFY(!timer.hasExpired(5000));
}

void tst_hostlock::aWriterWaitsForItsTurn()
{
    auto pLock = std::make_unique<mend::CUserLock>(userDir());
    QCOMPARE(pLock->take(0), mend::LockState::Taken);
    std::thread release([&pLock] {
        QThread::msleep(300);
        pLock.reset();
    });
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    release.join();
    QCOMPARE(outcome.strErr, QString());
    QVERIFY(readFile(livePath()).contains("tickRestoreDay=\"7\""));
}

void tst_hostlock::aWriterDoesNotWaitForEver()
{
    mend::CUserLock lock(userDir());
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7", "--wait", "0.5" }).nStatus, 5);
    QVERIFY(timer.elapsed() >= 500);
}

void tst_hostlock::aForcedEditWarns()
{
    mend::CUserLock lock(userDir());
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7", "--wait", "0", "--force" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY2(outcome.strErr.contains("busy: tst_hostlock"), qPrintable(outcome.strErr));
    QVERIFY(outcome.strErr.contains("its next save may undo this edit"));
    QVERIFY(readFile(livePath()).contains("tickRestoreDay=\"7\""));
}

void tst_hostlock::theLockOfTheDeadIsTakenOver()
{
    const pid_t child = ::fork();
    if (child == 0) {
        mend::CUserLock lock(userDir());
        ::_exit(lock.take(0) == mend::LockState::Taken ? 0 : 1);
    }
    int nStatus = -1;
    QCOMPARE(::waitpid(child, &nStatus, 0), child);
    QCOMPARE(nStatus, 0);
    QVERIFY(QFile::exists(userDir() + "/indexUserConfig.lock"));
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7", "--wait", "0" }).nStatus, 0);
}

// A named pipe would hold up whoever opens it.
void tst_hostlock::whatIsNoFileIsNobodysLock()
{
    const QString strLock = userDir() + "/indexUserConfig.lock";
    QCOMPARE(::mkfifo(QFile::encodeName(strLock).constData(), 0600), 0);
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7" }).nStatus, 3);
    QVERIFY(QFile::remove(strLock));
    QVERIFY(QDir().mkdir(strLock));
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=7" }).nStatus, 3);
}

void tst_hostlock::aWaitThatIsNoneIsRefused_data()
{
    QTest::addColumn<QString>("wait");
    QTest::newRow("word") << "soon";
    QTest::newRow("negative") << "-1";
    QTest::newRow("no number") << "nan";
    QTest::newRow("for ever") << "1e9";
}

void tst_hostlock::aWaitThatIsNoneIsRefused()
{
    QFETCH(QString, wait);
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7", "--wait=" + wait });
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains("is no number of seconds"), qPrintable(outcome.strErr));
}

QTEST_GUILESS_MAIN(tst_hostlock)
#include "tst_hostlock.moc"
