#include "librarytest.h"
#include "openedfiles.h"
#include "toolrun.h"

#include <inspect/report.h>
#include <inspect/snapshots.h>
#include <mend/recovery.h>

// Dated copies are found by their names; who asks for what is in them opens them, each once.
class tst_snapshots : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void datedCopiesAreListedNewestFirst();
    void withoutTempThereAreNoDatedCopies();
    void listingOpensNone();
    void completingADateOpensNone();
    void theListOfTheToolOpensEachOnce();
    void aReportOpensEachOnce();
    void oneCopyIsAskedForByItsDate();
    void recoveryStopsAtTheFirstWholeOne();
    void aWholeFileNeedsNoCopy();

private:
    static constexpr int c_nCopies = 20;

    Outcome tool(const QStringList& arguments);
    void writeCopy(const QString& date, const QByteArray& content);
    /// Whole copies of the first days of 2024.
    void writeCopies();
    QString tempDir() const { return userDir() + "/Temp"; }
};

namespace {

QString nameOf(const QString& date)
{
    return "indexUserConfig.xml_" + date;
}

QString dayOf(int number)
{
    return QDate(2024, 1, 1).addDays(number).toString("yyyyMMdd");
}

} // namespace

Outcome tst_snapshots::tool(const QStringList& arguments)
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_snapshots::writeCopy(const QString& date, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(tempDir()));
    writeFile(tempDir() + '/' + nameOf(date), content);
}

void tst_snapshots::writeCopies()
{
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    for (int i = 0; i < c_nCopies; ++i) {
        writeCopy(dayOf(i), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    }
}

void tst_snapshots::datedCopiesAreListedNewestFirst()
{
    writeCopy("20240131", "<a/>");
    writeCopy("20240201", "<a");
    writeCopy("20231231", "<aa/>");
    writeCopy("20241301", "<no-date/>");
    writeCopy("copy", "<no-date/>");
    const QVector<inspect::Snapshot> found = inspect::snapshots(userDir());
    QStringList shown;
    for (const inspect::Snapshot& each : found) {
        shown.append(each.date.toString(Qt::ISODate) + ' ' + QString::number(each.nBytes) + ' '
                     + QFileInfo(each.strPath).fileName());
    }
    QCOMPARE(
        shown,
        (QStringList { "2024-02-01 2 " + nameOf("20240201"), "2024-01-31 4 " + nameOf("20240131"),
                       "2023-12-31 5 " + nameOf("20231231") }));
}

void tst_snapshots::withoutTempThereAreNoDatedCopies()
{
    QVERIFY(inspect::snapshots(userDir()).isEmpty());
}

void tst_snapshots::listingOpensNone()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    QCOMPARE(inspect::snapshots(userDir()).size(), c_nCopies);
    QCOMPARE(opened.counts(), (QMap<QString, int>()));
    readFile(tempDir() + '/' + nameOf(dayOf(3)));
    readFile(tempDir() + '/' + nameOf(dayOf(3)));
    QCOMPARE(opened.counts(), (QMap<QString, int> { { nameOf(dayOf(3)), 2 } }));
}

void tst_snapshots::completingADateOpensNone()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    const Outcome outcome
        = runTool({ "complete", "--config-dir", userDir(), "snapshot", "show", "2024-01-0" });
    QCOMPARE(outcome.strOut.count('\n'), 9);
    QCOMPARE(opened.counts(), (QMap<QString, int>()));
}

void tst_snapshots::theListOfTheToolOpensEachOnce()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    QCOMPARE(tool({ "snapshot", "list" }).strOut.count("whole"), c_nCopies);
    const QMap<QString, int> counts = opened.counts();
    QCOMPARE(counts.size(), c_nCopies);
    QCOMPARE(counts.values(), QVector<int>(c_nCopies, 1).toList());
}

void tst_snapshots::aReportOpensEachOnce()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    QVERIFY(inspect::report(userDir(), { QDateTime::currentDateTime() }).contains("2024-01-20"));
    const QMap<QString, int> counts = opened.counts();
    QCOMPARE(counts.size(), c_nCopies);
    QCOMPARE(counts.values(), QVector<int>(c_nCopies, 1).toList());
}

void tst_snapshots::oneCopyIsAskedForByItsDate()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    QCOMPARE(tool({ "snapshot", "show", "2024-01-05", "stocks" }).nStatus, 0);
    QCOMPARE(opened.counts(), (QMap<QString, int> { { nameOf("20240105"), 1 } }));
    QCOMPARE(tool({ "snapshot", "show", "2023-01-05" }).nStatus, 1);
    QCOMPARE(opened.counts(), (QMap<QString, int>()));
}

void tst_snapshots::recoveryStopsAtTheFirstWholeOne()
{
    writeCopies();
    QVERIFY(QFile::remove(livePath()));
    writeCopy(dayOf(c_nCopies), "<damaged");
    COpenedFiles opened(tempDir());
    const mend::Recovery recovery = mend::recover(userDir(), mend::RunMode::Do);
    QCOMPARE(recovery.result, mend::RecoveryResult::RecoveredWithLoss);
    QCOMPARE(recovery.source.strName,
             QDate(2024, 1, 1).addDays(c_nCopies - 1).toString(Qt::ISODate));
    // Once to look at it, once to copy it.
    QCOMPARE(opened.counts(),
             (QMap<QString, int> { { nameOf(dayOf(c_nCopies)), 1 },
                                   { nameOf(dayOf(c_nCopies - 1)), 2 } }));
}

void tst_snapshots::aWholeFileNeedsNoCopy()
{
    writeCopies();
    COpenedFiles opened(tempDir());
    QCOMPARE(mend::recover(userDir(), mend::RunMode::Do).result, mend::RecoveryResult::NothingToDo);
    QCOMPARE(opened.counts(), (QMap<QString, int>()));
}

QTEST_GUILESS_MAIN(tst_snapshots)
#include "tst_snapshots.moc"
