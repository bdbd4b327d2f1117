#include "librarytest.h"

#include "commands/archive.h"
#include "failure.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>

// The packer of archives, which is another program and may be any.
class tst_archive : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatIsPackedComesOut();
    void aPackerThatSaysNothingIsNotWaitedFor();
    void aPackerThatIsSlowIs();
    void aPackerThatFailsIsToldInItsWords();

private:
    void putTar(const char* pszScript) const;
};

// A tar of the test's own, which the next archive is packed by.
void tst_archive::putTar(const char* pszScript) const
{
    QVERIFY(QDir(userDir()).mkpath("bin"));
    writeFile(userDir() + "/bin/tar", QByteArray("#!/bin/sh\n") + pszScript + '\n');
    QVERIFY(QFile::setPermissions(userDir() + "/bin/tar", QFile::ReadOwner | QFile::ExeOwner));
    qputenv("PATH", (userDir() + "/bin:/usr/bin:/bin").toUtf8());
}

void tst_archive::whatIsPackedComesOut()
{
    CArchive archive("root");
    QByteArray large(3000000, 'x');
    for (int i = 0; i < large.size(); ++i) {
        large[i] = static_cast<char>(i * 2654435761U >> 13);
    }
    archive.add("a/b.txt", large, QDateTime::currentDateTime());
    writeFile(userDir() + "/packed.tar.gz", archive.packed());
    QCOMPARE(QProcess::execute("tar", { "-C", userDir(), "-xzf", userDir() + "/packed.tar.gz" }),
             0);
    QCOMPARE(readFile(userDir() + "/root/a/b.txt"), large);
}

void tst_archive::aPackerThatSaysNothingIsNotWaitedFor()
{
    putTar("exec sleep 100");
    QElapsedTimer timer;
    timer.start();
    try {
        CArchive("root", 500).packed();
        QFAIL("packed by nobody");
    } catch (const CFailure& failure) {
        QCOMPARE(failure.status(), ExitStatus::InputOutput);
        QCOMPARE(failure.message(), QString("tar: nothing has come of it for 0.5 s"));
    }
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
}

// What counts is that something comes, not how long all of it takes.
void tst_archive::aPackerThatIsSlowIs()
{
    putTar("for i in 1 2 3 4 5 6; do sleep 0.5; echo $i; done");
    QCOMPARE(CArchive("root", 2000).packed(), QByteArray("1\n2\n3\n4\n5\n6\n"));
}

void tst_archive::aPackerThatFailsIsToldInItsWords()
{
    putTar("echo no room >&2; exit 2");
    try {
        CArchive("root").packed();
        QFAIL("packed by nobody");
    } catch (const CFailure& failure) {
        QCOMPARE(failure.message(), QString("tar: no room"));
    }
}

QTEST_GUILESS_MAIN(tst_archive)
#include "tst_archive.moc"
