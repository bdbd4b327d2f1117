#include "filelimits.h"
#include "librarytest.h"

#include "inspect/recovery.h"

#include <QDir>

using inspect::FileState;
using inspect::Recovery;
using inspect::RecoveryResult;
using inspect::RunMode;

class tst_recovery : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void filesAreToldApart();
    void aDamagedFileIsNamedWithItsPlace();
    void datedCopiesAreListedNewestFirst();
    void withoutTempThereAreNoDatedCopies();
    void aWholeFileIsNeverTouched();
    void aMissingFileComesBackFromTheNewestCopy();
    void aDamagedFileIsSetAside();
    void aDamagedCopyIsPassedOver();
    void aYoungerDamagedFileIsALoss();
    void aFileThatCannotBeSetAsideStays();
    void withoutWholeCopyNothingIsTouched();
    void aSecondCallFindsNothingToDo();
    void aDryRunChangesNothing();
    void whatHasNoRoomIsToldAndRecoveredLater();
    void twoDamagedFilesAreBothKept();
    void whatASaveLostComesBack();

private:
    /// A dated copy of the day \a date, last written \a secondsAgo.
    void writeCopy(const QString& date, const QByteArray& content, int secondsAgo = 0);
    Recovery recovered(RunMode mode = RunMode::Do) const;
    QStringList setAside() const;
};

void tst_recovery::writeCopy(const QString& date, const QByteArray& content, int secondsAgo)
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    const QString strPath = userDir() + "/Temp/indexUserConfig.xml_" + date;
    writeFile(strPath, content);
    QFile file(strPath);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-secondsAgo),
                             QFileDevice::FileModificationTime));
}

Recovery tst_recovery::recovered(RunMode mode) const
{
    return inspect::recover(userDir(), mode);
}

QStringList tst_recovery::setAside() const
{
    return QDir(userDir()).entryList({ "indexUserConfig.xml.damaged-*" });
}

void tst_recovery::filesAreToldApart()
{
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Missing);
    writeLive("<a/>");
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Whole);
    writeLive("<a>");
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Damaged);
    QCOMPARE(inspect::readUserFile(userDir()).state, FileState::Unreadable);
}

void tst_recovery::aDamagedFileIsNamedWithItsPlace()
{
    writeLive("<a>\n <b>");
    QCOMPARE(inspect::readUserFile(livePath()).strError,
             livePath() + ":2:5: unexpected end of file");
}

void tst_recovery::datedCopiesAreListedNewestFirst()
{
    writeCopy("20240131", "<a/>");
    writeCopy("20240201", "<a");
    writeCopy("20231231", "<aa/>");
    writeCopy("20241301", "<no-date/>");
    writeCopy("copy", "<no-date/>");
    const QVector<inspect::Snapshot> found = inspect::snapshots(userDir());
    QCOMPARE(found.size(), 3);
    QCOMPARE(found[0].date, QDate(2024, 2, 1));
    QCOMPARE(found[0].state, FileState::Damaged);
    QCOMPARE(found[1].date, QDate(2024, 1, 31));
    QCOMPARE(found[1].state, FileState::Whole);
    QCOMPARE(found[2].date, QDate(2023, 12, 31));
    QCOMPARE(found[2].nBytes, qint64(5));
}

void tst_recovery::withoutTempThereAreNoDatedCopies()
{
    QVERIFY(inspect::snapshots(userDir()).isEmpty());
}

void tst_recovery::aWholeFileIsNeverTouched()
{
    writeLive("<live/>");
    writeCopy("20240131", "<copy/>");
    QCOMPARE(recovered().result, RecoveryResult::NothingToDo);
    QCOMPARE(readFile(livePath()), QByteArray("<live/>"));
}

void tst_recovery::aMissingFileComesBackFromTheNewestCopy()
{
    writeCopy("20240130", "<older/>");
    writeCopy("20240131", "<newer/>");
    const Recovery recovery = recovered();
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QCOMPARE(recovery.source.date, QDate(2024, 1, 31));
    QCOMPARE(readFile(livePath()), QByteArray("<newer/>"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::aDamagedFileIsSetAside()
{
    writeLive("<damaged");
    writeCopy("20240131", "<copy/>");
    const Recovery recovery = recovered();
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), QByteArray("<copy/>"));
    QCOMPARE(readFile(recovery.strSetAside), QByteArray("<damaged"));
    QCOMPARE(setAside().size(), 1);
}

void tst_recovery::aDamagedCopyIsPassedOver()
{
    writeCopy("20240131", "<damaged");
    writeCopy("20240130", "<whole/>");
    const Recovery recovery = recovered();
    QCOMPARE(recovery.source.date, QDate(2024, 1, 30));
    QCOMPARE(recovery.result, RecoveryResult::RecoveredWithLoss);
    QCOMPARE(readFile(livePath()), QByteArray("<whole/>"));
}

void tst_recovery::aYoungerDamagedFileIsALoss()
{
    writeCopy("20240131", "<copy/>", 3600);
    writeLive("<damaged");
    QCOMPARE(recovered().result, RecoveryResult::RecoveredWithLoss);
}

void tst_recovery::aFileThatCannotBeSetAsideStays()
{
    writeLive("<damaged");
    writeCopy("20240131", "<copy/>");
    {
        const CReadOnlyDirectory readOnly(
            userDir(),
            { livePath(), userDir() + "/Temp", userDir() + "/Temp/indexUserConfig.xml_20240131" });
        const Recovery recovery = recovered();
        QCOMPARE(recovery.result, RecoveryResult::Failed);
        QVERIFY(recovery.strError.startsWith(livePath() + ": cannot be set aside: "));
    }
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::withoutWholeCopyNothingIsTouched()
{
    writeLive("<damaged");
    writeCopy("20240131", "<damaged too");
    QCOMPARE(recovered().result, RecoveryResult::NoSnapshot);
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::aSecondCallFindsNothingToDo()
{
    writeLive("<damaged");
    writeCopy("20240131", "<copy/>");
    recovered();
    const QStringList aside = setAside();
    QCOMPARE(recovered().result, RecoveryResult::NothingToDo);
    QCOMPARE(setAside(), aside);
}

void tst_recovery::aDryRunChangesNothing()
{
    writeLive("<damaged");
    writeCopy("20240131", "<copy/>");
    const Recovery recovery = recovered(RunMode::DryRun);
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QVERIFY(!recovery.strSetAside.isEmpty());
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::whatHasNoRoomIsToldAndRecoveredLater()
{
    const QByteArray copy = "<copy>" + QByteArray(2000, ' ') + "</copy>";
    writeLive("<damaged");
    writeCopy("20240131", copy);
    {
        const CFileSizeLimit limit(1000);
        const Recovery recovery = recovered();
        QCOMPARE(recovery.result, RecoveryResult::Failed);
        QCOMPARE(recovery.strError, livePath() + ": cannot be written");
        QCOMPARE(readFile(recovery.strSetAside), QByteArray("<damaged"));
    }
    QCOMPARE(recovered().result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), copy);
}

void tst_recovery::twoDamagedFilesAreBothKept()
{
    writeCopy("20240131", "<copy/>");
    for (const char* pszDamaged : { "<first", "<second" }) {
        writeLive(pszDamaged);
        QCOMPARE(readFile(recovered().strSetAside), QByteArray(pszDamaged));
    }
    QCOMPARE(setAside().size(), 2);
}

// The one hole of a save: the old file is gone and the new one did not find room.
void tst_recovery::whatASaveLostComesBack()
{
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    service().loadSettings();
    saveAndWait(service());
    const QByteArray saved = readFile(livePath());
    QVERIFY(QFile::remove(livePath()));
    QCOMPARE(recovered().result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), saved);
}

QTEST_GUILESS_MAIN(tst_recovery)
#include "tst_recovery.moc"
