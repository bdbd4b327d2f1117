#include "faults/scene.h"

#include <QtTest>

// The order of the calls of a save, from its trace.
class tst_saveorder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDatedCopyIsOnTheDiskBeforeTheLiveFileGoes();
    void theNameOfANewDirectoryIsOnTheDiskBeforeTheLiveFileGoes();
    void theLiveFileIsACopyOfTheDatedOne();

private:
    static QStringList saved(CScene& scene, bool first = false);
    static int indexOf(const QStringList& calls, const QString& pattern, int from = 0);
};

QStringList tst_saveorder::saved(CScene& scene, bool first)
{
    scene.beforeSave();
    if (first && !QFileInfo(scene.datedPath()).dir().removeRecursively()) {
        qFatal("the directory of the copies stays");
    }
    const Run run = scene.save({});
    if (run.bKilled || CScene::generationOf(scene.livePath()) != 2) {
        qFatal("the save failed: %s", qPrintable(run.strErr));
    }
    return scene.calls();
}

int tst_saveorder::indexOf(const QStringList& calls, const QString& pattern, int from)
{
    return calls.indexOf(QRegularExpression(QRegularExpression::anchoredPattern(pattern)), from);
}

void tst_saveorder::theDatedCopyIsOnTheDiskBeforeTheLiveFileGoes()
{
    CScene scene;
    const QStringList calls = saved(scene);
    const QString strTemp = QFileInfo(scene.datedPath()).path();
    const int nWritten = indexOf(calls, "write " + strTemp + "/\\.new-.*");
    const int nSynced = indexOf(calls, "fsync " + strTemp + "/\\.new-.*", nWritten);
    const int nRenamed = indexOf(calls, "rename " + scene.datedPath(), nSynced);
    const int nEntrySynced = indexOf(calls, "fsync " + strTemp, nRenamed);
    const int nRemoved = indexOf(calls, "unlink " + scene.livePath());
    QVERIFY2(0 < nWritten && nWritten < nSynced && nSynced < nRenamed && nRenamed < nEntrySynced
                 && nEntrySynced < nRemoved,
             qPrintable(calls.join('\n')));
}

void tst_saveorder::theNameOfANewDirectoryIsOnTheDiskBeforeTheLiveFileGoes()
{
    CScene scene;
    const QStringList calls = saved(scene, true);
    const QString strUser = QFileInfo(scene.livePath()).path();
    const int nMade = indexOf(calls, "mkdir " + strUser + "/Temp");
    const int nSynced = indexOf(calls, "fsync " + strUser, nMade);
    const int nRemoved = indexOf(calls, "unlink " + scene.livePath());
    QVERIFY2(0 < nMade && nMade < nSynced && nSynced < nRemoved, qPrintable(calls.join('\n')));
}

void tst_saveorder::theLiveFileIsACopyOfTheDatedOne()
{
    CScene scene;
    const QStringList calls = saved(scene);
    const int nRemoved = indexOf(calls, "unlink " + scene.livePath());
    QVERIFY(indexOf(calls, "open64 " + scene.datedPath(), nRemoved) > nRemoved);
}

QTEST_GUILESS_MAIN(tst_saveorder)
#include "tst_saveorder.moc"
