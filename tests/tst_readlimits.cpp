#include "librarytest.h"

#include "logcapture.h"
#include "platform/indexutil.h"
#include "standalone/durablefile_p.h"
#include "standalone/standalone.h"

#include <inspect/userfile.h>

#include <sys/stat.h>
#include <unistd.h>

using inspect::FileState;
using standalone::ReadCause;

// How much of a file is read, and of which.
class tst_readlimits : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theLimitItselfIsRead_data();
    void theLimitItselfIsRead();
    void aUserFileBeyondTheLimitIsDamaged();
    void noReaderTakesMoreThanTheLimit();
    void onlyRegularFilesAreRead_data();
    void onlyRegularFilesAreRead();
    void aMissingFileIsNoUnreadableOne_data();
    void aMissingFileIsNoUnreadableOne();

private:
    QString sparseFile(qint64 bytes) const;
};

QString tst_readlimits::sparseFile(qint64 bytes) const
{
    const QString strPath = userDir() + "/sparse";
    writeFile(strPath, "");
    if (::truncate(QFile::encodeName(strPath).constData(), bytes) != 0) {
        qFatal("truncate");
    }
    return strPath;
}

void tst_readlimits::theLimitItselfIsRead_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("read");
    QTest::newRow("nothing") << 0 << 0 << true;
    QTest::newRow("one of none") << 1 << 0 << false;
    QTest::newRow("less") << 2 << 3 << true;
    QTest::newRow("equal") << 3 << 3 << true;
    QTest::newRow("one more") << 4 << 3 << false;
    const int nBlocks = 3 << 20;
    QTest::newRow("blocks") << nBlocks << nBlocks << true;
    QTest::newRow("blocks and one more") << nBlocks + 1 << nBlocks << false;
    QTest::newRow("many more") << 2 * nBlocks << nBlocks << false;
}

void tst_readlimits::theLimitItselfIsRead()
{
    QFETCH(int, bytes);
    QFETCH(int, limit);
    QFETCH(bool, read);
    const QByteArray content = QByteArray(bytes / 2, 'x') + QByteArray(bytes - bytes / 2, 'y');
    const QString strPath = userDir() + "/file";
    writeFile(strPath, content);
    const inspect::FileBytes file = inspect::readBytes(strPath, limit);
    QCOMPARE(file.state, read ? FileState::Whole : FileState::Damaged);
    QVERIFY(file.bytes == (read ? content : QByteArray()));
    const QString strReason = read ? QString() : QString("larger than %1 bytes").arg(limit);
    QCOMPARE(toText(file.error), read ? QString() : strPath + ": " + strReason);
    std::string strContent = "as it was";
    const standalone::ReadFailure failure = standalone::readFile(strPath, strContent, limit);
    QCOMPARE(failure.cause, read ? ReadCause::None : ReadCause::Unreadable);
    QCOMPARE(failure.strReason, strReason);
    QVERIFY(strContent == (read ? content.toStdString() : std::string("as it was")));
}

void tst_readlimits::aUserFileBeyondTheLimitIsDamaged()
{
    const QString strPath = sparseFile(KW::c_nMaxFileBytes + 1);
    const inspect::UserFile file = inspect::readUserFile(strPath);
    QCOMPARE(file.state, FileState::Damaged);
    QCOMPARE(toText(file.error), strPath + ": larger than 268435456 bytes");
}

void tst_readlimits::noReaderTakesMoreThanTheLimit()
{
    const QString strPath = sparseFile(KW::c_nMaxFileBytes + 1);
    std::string strContent = "before";
    QVERIFY(!KW::stdReadFile(strPath.toStdString(), strContent));
    QCOMPARE(strContent, std::string());
    const standalone::SectorCatalogue catalogue = standalone::readSectors(strPath);
    QCOMPARE(catalogue.error, standalone::SectorsError::Unread);
    QCOMPARE(catalogue.strError, strPath + ": larger than 33554432 bytes");
}

void tst_readlimits::onlyRegularFilesAreRead_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("named pipe") << "pipe";
    QTest::newRow("link to one") << "link";
    QTest::newRow("device") << "/dev/null";
    QTest::newRow("endless device") << "/dev/zero";
}

void tst_readlimits::onlyRegularFilesAreRead()
{
    QFETCH(QString, kind);
    const QString strPipe = userDir() + "/pipe";
    QCOMPARE(::mkfifo(QFile::encodeName(strPipe).constData(), 0600), 0);
    QVERIFY(QFile::link(strPipe, userDir() + "/link"));
    const QString strPath = kind.startsWith('/') ? kind : userDir() + '/' + kind;
    const inspect::UserFile file = inspect::readUserFile(strPath);
    QCOMPARE(file.state, FileState::Unreadable);
    QCOMPARE(toText(file.error), strPath + ": is no regular file");
    std::string strContent;
    const standalone::ReadFailure failure = standalone::readFile(strPath, strContent);
    QCOMPARE(failure.cause, ReadCause::Unreadable);
    QCOMPARE(failure.strReason, QString("is no regular file"));
}

void tst_readlimits::aMissingFileIsNoUnreadableOne_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("missing");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << "/missing" << true << "No such file or directory";
    QTest::newRow("below a file") << "/file/below" << true << "Not a directory";
    QTest::newRow("a directory") << "" << false << "Is a directory";
    QTest::newRow("too long") << '/' + QString(256, 'x') << false << "File name too long";
}

void tst_readlimits::aMissingFileIsNoUnreadableOne()
{
    QFETCH(QString, path);
    QFETCH(bool, missing);
    QFETCH(QString, reason);
    writeFile(userDir() + "/file", "content");
    std::string strContent;
    const standalone::ReadFailure failure = standalone::readFile(userDir() + path, strContent);
    QCOMPARE(failure.cause, missing ? ReadCause::Missing : ReadCause::Unreadable);
    QCOMPARE(failure.strReason, reason);
    QCOMPARE(inspect::readBytes(userDir() + path).state,
             missing ? FileState::Missing : FileState::Unreadable);
}

QTEST_GUILESS_MAIN(tst_readlimits)
#include "tst_readlimits.moc"
