#include "librarytest.h"
#include "recording.h"

#include <mend/recovery.h>

using mend::RecoveryResult;

// A recovery believes nobody: what it wrote it reads again.
class tst_brokenrecovery : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aCopyThatIsNotThereIsNoRecovery();
    void aCopyThatCameOutDifferentIsNoRecovery();
    void aRestoreThatCannotKeepTheFileChangesNothing();
};

namespace {

const char c_szUser[] = "<ICUserConfigFile/>";

} // namespace

void tst_brokenrecovery::aCopyThatIsNotThereIsNoRecovery()
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", c_szUser);
    // Behind what is begun and what is expected comes the file, of which nothing is written.
    int nWrites = 0;
    recording::answers().onWrite = [&nWrites](const QString&) {
        if (++nWrites == 3) {
            recording::answers().writes = { true };
        }
    };
    const mend::Recovery recovery = mend::recover(userDir(), mend::RunMode::Do);
    QCOMPARE(recovery.result, RecoveryResult::Failed);
    QVERIFY2(toText(recovery.error).startsWith(livePath() + ": cannot be written"),
             qPrintable(toText(recovery.error)));
    QCOMPARE(mend::recover(userDir(), mend::RunMode::Do).result, RecoveryResult::Recovered);
    QCOMPARE(readFile(livePath()), QByteArray(c_szUser));
}

void tst_brokenrecovery::aCopyThatCameOutDifferentIsNoRecovery()
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", c_szUser);
    writeLive("<half");
    recording::answers().writes = { true, true, true };
    const mend::Recovery recovery = mend::recover(userDir(), mend::RunMode::Do);
    QCOMPARE(recovery.result, RecoveryResult::Failed);
    QCOMPARE(readFile(recovery.strSetAside), QByteArray("<half"));
}

void tst_brokenrecovery::aRestoreThatCannotKeepTheFileChangesNothing()
{
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", c_szUser);
    writeLive("<ICUserConfigFile>of now</ICUserConfigFile>");
    recording::answers().writes = { false };
    mend::CTransaction transaction(userDir(), { "restore" });
    const mend::Recovery recovery = mend::restore(transaction, { c_szUser }, mend::RunMode::Do);
    QCOMPARE(recovery.result, RecoveryResult::Failed);
    QCOMPARE(recovery.write, mend::WriteFailure::NoHistory);
    QCOMPARE(readFile(livePath()), QByteArray("<ICUserConfigFile>of now</ICUserConfigFile>"));
}

QTEST_GUILESS_MAIN(tst_brokenrecovery)
#include "tst_brokenrecovery.moc"
