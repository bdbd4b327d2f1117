#include "filelimits.h"
#include "librarytest.h"

#include "mend/recovery.h"

#include <QDir>

using inspect::FileState;
using mend::Recovery;
using mend::RecoveryResult;
using mend::RunMode;

Q_DECLARE_METATYPE(mend::RecoveryResult)

class tst_recovery : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void filesAreToldApart();
    void damageIsNamedWithItsPlace_data();
    void damageIsNamedWithItsPlace();
    void aFileOfAnyRootIsReadAsSuch();
    void whatHidesAFileIsNamed();
    void aFileThatCannotBeReadIsNotReplaced();
    void anotherRootIsDamage();
    void aWholeFileIsNeverTouched();
    void aMissingFileComesBackFromTheNewestCopy();
    void aDamagedFileIsSetAside();
    void aDamagedCopyIsPassedOver();
    void aYoungerDamagedFileIsALoss_data();
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

namespace {

QByteArray user(const QByteArray& name)
{
    return "<ICUserConfigFile><" + name + "/></ICUserConfigFile>";
}

void setTime(const QString& path, const QDateTime& time)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
}

} // namespace

void tst_recovery::writeCopy(const QString& date, const QByteArray& content, int secondsAgo)
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    const QString strPath = userDir() + "/Temp/indexUserConfig.xml_" + date;
    writeFile(strPath, content);
    setTime(strPath, QDateTime::currentDateTime().addSecs(-secondsAgo));
}

Recovery tst_recovery::recovered(RunMode mode) const
{
    return mend::recover(userDir(), mode);
}

QStringList tst_recovery::setAside() const
{
    return QDir(userDir()).entryList({ "indexUserConfig.xml.damaged-*" });
}

void tst_recovery::filesAreToldApart()
{
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Missing);
    writeLive(user("a"));
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Whole);
    writeLive("<a>");
    QCOMPARE(inspect::readUserFile(livePath()).state, FileState::Damaged);
    QCOMPARE(inspect::readUserFile(userDir()).state, FileState::Unreadable);
}

void tst_recovery::damageIsNamedWithItsPlace_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* pszContent, const char* pszError) {
        QTest::addRow("%s", pszContent) << QByteArray(pszContent) << pszError;
    };
    const char* const pszEnd = ":2:5: unexpected end of file";
    row("<a>\n <b>", pszEnd);
    row("<a/>", ":1:1: the root is 'a' instead of 'ICUserConfigFile'");
    row("<?xml version='1.0'?>\n<!-- <a> --> <html>\n<ICUserConfigFile/></html>",
        ":2:14: the root is 'html' instead of 'ICUserConfigFile'");
    row("<!DOCTYPE r [<!ENTITY e '<r/>'>]>\n <r/>",
        ":2:2: the root is 'r' instead of 'ICUserConfigFile'");
    row("<icuserconfigfile/>",
        ":1:1: the root is 'icuserconfigfile' instead of 'ICUserConfigFile'");
    row("<x:ICUserConfigFile/>",
        ":1:1: the root is 'x:ICUserConfigFile' instead of 'ICUserConfigFile'");
}

void tst_recovery::damageIsNamedWithItsPlace()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    writeLive(content);
    const inspect::UserFile file = inspect::readUserFile(livePath());
    QCOMPARE(file.state, FileState::Damaged);
    QCOMPARE(toText(file.error), livePath() + error);
    QVERIFY(file.document.isNull() && file.strText.isEmpty());
}

void tst_recovery::aFileOfAnyRootIsReadAsSuch()
{
    writeLive("<LayoutTemplates/>");
    const inspect::UserFile file = inspect::readDocument(livePath());
    QCOMPARE(file.state, FileState::Whole);
    QCOMPARE(file.document.documentElement().tagName(), QString("LayoutTemplates"));
    writeLive("<LayoutTemplates>");
    QCOMPARE(inspect::readDocument(livePath()).state, FileState::Damaged);
}

// Of a file in a directory that hides its entries nobody knows whether it is there.
void tst_recovery::whatHidesAFileIsNamed()
{
    writeLive(user("a"));
    QVERIFY(QFile::setPermissions(livePath(), {}));
    {
        const CNobody nobody({ userDir() });
        const inspect::UserFile file = inspect::readUserFile(livePath());
        QCOMPARE(file.state, FileState::Unreadable);
        QCOMPARE(toText(file.error), livePath() + ": Permission denied");
        const inspect::UserFile missing = inspect::readUserFile(livePath() + "x");
        QCOMPARE(missing.state, FileState::Missing);
        QCOMPARE(toText(missing.error), livePath() + "x: No such file or directory");
    }
    QVERIFY(QFile::setPermissions(userDir(), {}));
    {
        const CNobody nobody({});
        for (const char* pszSuffix : { "", "x" }) {
            const inspect::UserFile hidden = inspect::readUserFile(livePath() + pszSuffix);
            QCOMPARE(hidden.state, FileState::Unreadable);
            QCOMPARE(toText(hidden.error), livePath() + pszSuffix + ": Permission denied");
        }
    }
    QVERIFY(QFile::setPermissions(
        userDir(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    QCOMPARE(inspect::readUserFile(livePath() + "/below").state, FileState::Missing);
}

void tst_recovery::aFileThatCannotBeReadIsNotReplaced()
{
    writeLive(user("mine"));
    writeCopy("20240131", user("copy"));
    QVERIFY(QFile::setPermissions(livePath(), {}));
    {
        const CNobody nobody({ userDir() });
        const Recovery recovery = recovered();
        QCOMPARE(recovery.result, RecoveryResult::Failed);
        QCOMPARE(recovery.before, FileState::Unreadable);
        QCOMPARE(toText(recovery.error), livePath() + ": Permission denied");
    }
    QVERIFY(QFile::setPermissions(livePath(), QFileDevice::ReadOwner));
    QCOMPARE(readFile(livePath()), user("mine"));
}

void tst_recovery::anotherRootIsDamage()
{
    writeLive("<html>\n</html>");
    writeCopy("20240202", "<html/>");
    writeCopy("20240131", user("copy"));
    const Recovery recovery = recovered();
    QCOMPARE(recovery.result, RecoveryResult::RecoveredWithLoss);
    QCOMPARE(recovery.before, FileState::Damaged);
    QCOMPARE(readFile(recovery.strSetAside), QByteArray("<html>\n</html>"));
    QCOMPARE(readFile(livePath()), user("copy"));
}

void tst_recovery::aWholeFileIsNeverTouched()
{
    writeLive(user("live"));
    writeCopy("20240131", user("copy"));
    QCOMPARE(recovered().result, RecoveryResult::NothingToDo);
    QCOMPARE(readFile(livePath()), user("live"));
}

void tst_recovery::aMissingFileComesBackFromTheNewestCopy()
{
    writeCopy("20240130", user("older"));
    writeCopy("20240131", user("newer"));
    const Recovery recovery = recovered();
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QCOMPARE(recovery.source.strName, QString("2024-01-31"));
    QCOMPARE(readFile(livePath()), user("newer"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::aDamagedFileIsSetAside()
{
    writeLive("<damaged");
    writeCopy("20240131", user("copy"));
    const Recovery recovery = recovered();
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), user("copy"));
    QCOMPARE(readFile(recovery.strSetAside), QByteArray("<damaged"));
    QCOMPARE(setAside().size(), 1);
}

void tst_recovery::aDamagedCopyIsPassedOver()
{
    writeCopy("20240131", "<damaged");
    writeCopy("20240130", user("whole"));
    const Recovery recovery = recovered();
    QCOMPARE(recovery.source.strName, QString("2024-01-30"));
    QCOMPARE(recovery.result, RecoveryResult::RecoveredWithLoss);
    QCOMPARE(readFile(livePath()), user("whole"));
}

void tst_recovery::aYoungerDamagedFileIsALoss_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<RecoveryResult>("result");
    QTest::newRow("older") << -3600 << RecoveryResult::Recovered;
    QTest::newRow("of the same save") << 10 << RecoveryResult::Recovered;
    QTest::newRow("of a later one") << 11 << RecoveryResult::RecoveredWithLoss;
    QTest::newRow("of another day") << 86400 << RecoveryResult::RecoveredWithLoss;
}

void tst_recovery::aYoungerDamagedFileIsALoss()
{
    QFETCH(int, seconds);
    QFETCH(RecoveryResult, result);
    writeCopy("20240131", user("copy"));
    writeLive("<damaged");
    const QDateTime saved(QDate(2024, 1, 31), QTime(9, 0));
    setTime(userDir() + "/Temp/indexUserConfig.xml_20240131", saved);
    setTime(livePath(), saved.addSecs(seconds));
    QCOMPARE(recovered().result, result);
}

void tst_recovery::aFileThatCannotBeSetAsideStays()
{
    writeLive("<damaged");
    writeCopy("20240131", user("copy"));
    {
        const CReadOnlyDirectory readOnly(
            userDir(),
            { livePath(), userDir() + "/Temp", userDir() + "/Temp/indexUserConfig.xml_20240131" });
        const Recovery recovery = recovered();
        QCOMPARE(recovery.result, RecoveryResult::Failed);
        QCOMPARE(recovery.write, mend::WriteFailure::NoLock);
    }
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::withoutWholeCopyNothingIsTouched()
{
    writeLive("<damaged");
    writeCopy("20240131", "<damaged too");
    QCOMPARE(recovered().result, RecoveryResult::NoSnapshot);
    QCOMPARE(recovered().before, FileState::Damaged);
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
    QVERIFY(QFile::remove(livePath()));
    QCOMPARE(recovered().result, RecoveryResult::NoSnapshot);
    QCOMPARE(recovered().before, FileState::Missing);
}

void tst_recovery::aSecondCallFindsNothingToDo()
{
    writeLive("<damaged");
    writeCopy("20240131", user("copy"));
    recovered();
    const QStringList aside = setAside();
    QCOMPARE(recovered().result, RecoveryResult::NothingToDo);
    QCOMPARE(setAside(), aside);
}

void tst_recovery::aDryRunChangesNothing()
{
    writeLive("<damaged");
    writeCopy("20240131", user("copy"));
    const Recovery recovery = recovered(RunMode::DryRun);
    QCOMPARE(recovery.result, RecoveryResult::Recovered);
    QVERIFY(!recovery.strSetAside.isEmpty());
    QCOMPARE(readFile(livePath()), QByteArray("<damaged"));
    QCOMPARE(setAside(), QStringList());
}

void tst_recovery::whatHasNoRoomIsToldAndRecoveredLater()
{
    const QByteArray copy = user(QByteArray(2000, 'a'));
    writeLive("<damaged");
    writeCopy("20240131", copy);
    {
        const CFileSizeLimit limit(1000);
        const Recovery recovery = recovered();
        QCOMPARE(recovery.result, RecoveryResult::Failed);
        QCOMPARE(toText(recovery.error), livePath() + ": cannot be written");
        QCOMPARE(readFile(recovery.strSetAside), QByteArray("<damaged"));
    }
    QCOMPARE(recovered().result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), copy);
}

void tst_recovery::twoDamagedFilesAreBothKept()
{
    writeCopy("20240131", user("copy"));
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
