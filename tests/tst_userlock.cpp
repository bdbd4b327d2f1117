#include "mend/userlock.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/file.h>

using mend::CUserLock;
using mend::LockState;

Q_DECLARE_METATYPE(mend::LockState)

// Who may write a user's directory, and what a process that was cut off leaves of its lock.
class tst_userlock : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneAtATime();
    void whatNamesNobodyIsTakenOver_data();
    void whatNamesNobodyIsTakenOver();
    void whatIsLockedIsNotTakenOverWhateverItSays();

private:
    QString path() const { return m_directory.filePath(QStringLiteral("indexUserConfig.lock")); }
    /// A lock file as somebody left it.
    QFile& leave(QFile& file, const QByteArray& content, int secondsAgo) const;

    QTemporaryDir m_directory;
};

QFile& tst_userlock::leave(QFile& file, const QByteArray& content, int secondsAgo) const
{
    const QDateTime time = QDateTime::currentDateTime().addSecs(-secondsAgo);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()
        || !file.setFileTime(time, QFileDevice::FileModificationTime)) {
        qFatal("%s", qPrintable(file.errorString()));
    }
    return file;
}

void tst_userlock::oneAtATime()
{
    CUserLock second(m_directory.path());
    {
        CUserLock first(m_directory.path());
        QCOMPARE(first.take(0), LockState::Taken);
        QCOMPARE(second.take(0), LockState::Busy);
        QCOMPARE(second.holder().nProcess, QCoreApplication::applicationPid());
    }
    QCOMPARE(second.take(0), LockState::Taken);
}

void tst_userlock::whatNamesNobodyIsTakenOver_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("secondsAgo");
    QTest::addColumn<LockState>("state");
    QTest::newRow("empty") << QByteArray() << 5 << LockState::Taken;
    QTest::newRow("zeros, as of a power cut") << QByteArray(40, '\0') << 5 << LockState::Taken;
    QTest::newRow("half a host") << QByteArray("1\nprogram\nsomeh") << 5 << LockState::Taken;
    QTest::newRow("another host") << QByteArray("1\nprogram\nsomehost\nm\nb\n") << 5
                                  << LockState::Busy;
    QTest::newRow("just made") << QByteArray() << 0 << LockState::Busy;
}

void tst_userlock::whatNamesNobodyIsTakenOver()
{
    QFETCH(QByteArray, content);
    QFETCH(int, secondsAgo);
    QFETCH(LockState, state);
    QFile file(path());
    leave(file, content, secondsAgo).close();
    QCOMPARE(CUserLock(m_directory.path()).take(0), state);
    const QStringList left = QDir(m_directory.path()).entryList(QDir::Files);
    QCOMPARE(left.isEmpty(), state == LockState::Taken);
    QVERIFY(left.isEmpty() || file.remove());
}

void tst_userlock::whatIsLockedIsNotTakenOverWhateverItSays()
{
    QFile file(path());
    leave(file, {}, 5);
    QCOMPARE(::flock(file.handle(), LOCK_EX | LOCK_NB), 0);
    CUserLock lock(m_directory.path());
    QCOMPARE(lock.take(0), LockState::Busy);
    QVERIFY(file.exists() && file.remove());
}

QTEST_GUILESS_MAIN(tst_userlock)
#include "tst_userlock.moc"
