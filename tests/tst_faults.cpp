#include "faults/scene.h"

#include <QtTest>

// What the runs with faults stand on: who looks at the documents that they leave behind; and a disk
// that says it has written what it has not.
class tst_faults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aGenerationIsKnownByAllThatItSays_data();
    void aGenerationIsKnownByAllThatItSays();
    void aMissingFileIsNoGeneration();
    void aWrongByteOnTheDiskIsNotSaved_data();
    void aWrongByteOnTheDiskIsNotSaved();
    void aSignalInACallIsNoFailure_data();
    void aSignalInACallIsNoFailure();
    void aMirrorThatCannotBeWrittenStaysAsItWas_data();
    void aMirrorThatCannotBeWrittenStaysAsItWas();
    void theMirrorIsNotSynced();
    void aFileThatIsNotSyncedOrClosedTakesNoPlace_data();
    void aFileThatIsNotSyncedOrClosedTakesNoPlace();
    void aDirectoryThatIsNotSyncedIsToldWithItsReason();
    void aFileThatCannotBeReadBackIsToldWithItsReason_data();
    void aFileThatCannotBeReadBackIsToldWithItsReason();
    void anEditThatLeavesNoLiveFileSaysSo();
    void anEditOfWhatCannotBeReadAgainChangesNothing();
    void whatCannotBeSyncedAtTheEndIsNotCalledSaved();

private:
    CScene m_scene;
};

void tst_faults::aGenerationIsKnownByAllThatItSays_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("replacement");
    QTest::addColumn<int>("generation");
    QTest::newRow("as it is") << "$^"
                              << "" << 1;
    QTest::newRow("blanks between elements") << ">\\s+<"
                                             << "><" << 1;
    QTest::newRow("attributes in another order") << "screen_id=(\\S+) is_main=(\\S+)"
                                                 << "is_main=\\2 screen_id=\\1" << 1;
    QTest::newRow("another generation") << "reportRefreshTime=\"1\""
                                        << "reportRefreshTime=\"7\"" << 7;
    QTest::newRow("an attribute is gone") << " navtree=\"首页/行情\""
                                          << "" << CScene::c_nNobodys;
    QTest::newRow("the option is gone") << " reportRefreshTime=\"1\""
                                        << "" << CScene::c_nNobodys;
    QTest::newRow("a letter is another") << "watchlist"
                                         << "watchmist" << CScene::c_nNobodys;
    QTest::newRow("a section is gone") << "<DefaultLayout>[\\s\\S]*</DefaultLayout>"
                                       << "" << CScene::c_nNobodys;
    QTest::newRow("something more") << "</ICUserConfigFile>"
                                    << "<more/></ICUserConfigFile>" << CScene::c_nNobodys;
    QTest::newRow("cut off") << "</ICUserConfigFile>"
                             << "" << 0;
}

void tst_faults::aGenerationIsKnownByAllThatItSays()
{
    QFETCH(QString, pattern);
    QFETCH(QString, replacement);
    QFETCH(int, generation);
    QString strText = QString::fromUtf8(CScene::generation(1));
    strText.replace(QRegularExpression(pattern), replacement);
    QVERIFY(pattern == "$^" || strText.toUtf8() != CScene::generation(1));
    m_scene.beforeSave();
    CScene::write(m_scene.livePath(), strText.toUtf8());
    QCOMPARE(CScene::generationOf(m_scene.livePath()), generation);
}

void tst_faults::aMissingFileIsNoGeneration()
{
    QCOMPARE(CScene::generationOf(m_scene.livePath() + ".missing"), 0);
}

void tst_faults::aWrongByteOnTheDiskIsNotSaved_data()
{
    QTest::addColumn<bool>("always");
    QTest::addColumn<QString>("told");
    // The retry writes the dated copy again and leaves the live file alone, well or badly.
    QTest::newRow("once") << false << "force write file success";
    QTest::newRow("always") << true << "force write file fail";
}

void tst_faults::aWrongByteOnTheDiskIsNotSaved()
{
    QFETCH(bool, always);
    QFETCH(QString, told);
    m_scene.beforeSave();
    m_scene.save({});
    const QString strTemp = QFileInfo(m_scene.datedPath()).path();
    const int nWrite = 1
        + m_scene.calls().indexOf(
            QRegularExpression("^write " + QRegularExpression::escape(strTemp) + "/.*"));
    QVERIFY(nWrite > 0);
    m_scene.beforeSave();
    const Run run = m_scene.save({ nWrite, "lie", 0, always });
    QVERIFY2(!run.strErr.contains("save success") && run.strErr.contains("reads back differently")
                 && run.strErr.contains(told),
             qPrintable(run.strErr));
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 1);
    QCOMPARE(CScene::generationOf(m_scene.datedPath()), always ? 1 : 2);
}

void tst_faults::aSignalInACallIsNoFailure_data()
{
    QTest::addColumn<QString>("call");
    for (const char* pszCall :
         { "mkostemp", "write", "fsync", "open", "read", "close", "rename" }) {
        QTest::newRow(pszCall) << pszCall;
    }
}

void tst_faults::aSignalInACallIsNoFailure()
{
    QFETCH(QString, call);
    m_scene.beforeSave();
    m_scene.save({});
    const QStringList calls = m_scene.calls();
    QVERIFY(!calls.filter(call + ' ').isEmpty());
    for (int i = 0; i < calls.size(); ++i) {
        if (calls[i].startsWith(call + ' ')) {
            m_scene.beforeSave();
            const Run run = m_scene.save({ i + 1, "fail", EINTR, false });
            QVERIFY2(!run.strErr.contains("fail"), qPrintable(calls[i] + '\n' + run.strErr));
            QCOMPARE(CScene::generationOf(m_scene.livePath()), 2);
        }
    }
}

void tst_faults::aMirrorThatCannotBeWrittenStaysAsItWas_data()
{
    QTest::addColumn<QString>("call");
    for (const char* pszCall : { "mkostemp", "write", "close", "rename" }) {
        QTest::newRow(pszCall) << pszCall;
    }
}

void tst_faults::aMirrorThatCannotBeWrittenStaysAsItWas()
{
    QFETCH(QString, call);
    const QString strMirror = QFileInfo(m_scene.livePath()).path() + "/Settings/=userconfig.xml";
    const auto prepare = [&] {
        m_scene.beforeSave();
        CScene::write(strMirror, CScene::generation(1));
    };
    prepare();
    m_scene.save({});
    QCOMPARE(CScene::generationOf(strMirror), 2);
    const int nCall = 1 + m_scene.calls().indexOf(QRegularExpression(call + " .*/Settings/.*"));
    QVERIFY(nCall > 0);
    prepare();
    const Run run = m_scene.save({ nCall, "fail", EIO, false });
    QVERIFY2(run.strErr.contains("cannot write file:" + strMirror), qPrintable(run.strErr));
    QCOMPARE(CScene::generationOf(strMirror), 1);
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 2);
}

// The dated copy beside it is the durable one, and a sync costs more than all else.
void tst_faults::theMirrorIsNotSynced()
{
    m_scene.beforeSave();
    m_scene.save({});
    QVERIFY(!m_scene.calls().filter(QRegularExpression("^rename .*/Settings/")).isEmpty());
    QCOMPARE(m_scene.calls().filter(QRegularExpression("^fsync .*/Settings")), QStringList());
}

void tst_faults::aFileThatIsNotSyncedOrClosedTakesNoPlace_data()
{
    QTest::addColumn<QString>("call");
    QTest::newRow("fsync") << "fsync";
    QTest::newRow("close") << "close";
}

void tst_faults::aFileThatIsNotSyncedOrClosedTakesNoPlace()
{
    QFETCH(QString, call);
    const QString strNew = QFileInfo(m_scene.datedPath()).path() + "/\\.new-.*";
    m_scene.beforeSave();
    m_scene.save({});
    const int nCall = 1 + m_scene.calls().indexOf(QRegularExpression(call + ' ' + strNew));
    QVERIFY(nCall > 0);
    m_scene.beforeSave();
    const Run run = m_scene.save({ nCall, "fail", EIO, false });
    QVERIFY2(run.strErr.contains("cannot write file:" + m_scene.datedPath())
                 && !run.strErr.contains("save success"),
             qPrintable(run.strErr));
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 1);
}

void tst_faults::aDirectoryThatIsNotSyncedIsToldWithItsReason()
{
    const QString strTemp = QFileInfo(m_scene.datedPath()).path();
    m_scene.beforeSave();
    m_scene.save({});
    const int nSync = 1 + m_scene.calls().indexOf(QRegularExpression("^fsync " + strTemp + "/?$"));
    QVERIFY(nSync > 0);
    m_scene.beforeSave();
    const Run run = m_scene.save({ nSync, "fail", EIO, false });
    QVERIFY2(run.strErr.contains("cannot write file:" + m_scene.datedPath()
                                 + ", reason:Input/output error"),
             qPrintable(run.strErr));
}

void tst_faults::aFileThatCannotBeReadBackIsToldWithItsReason_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("reason");
    QTest::newRow("opened") << "open" << EACCES << "Permission denied";
    // All that was written has been read by then.
    QTest::newRow("read to its end") << "read" << EIO << "Input/output error";
}

void tst_faults::aFileThatCannotBeReadBackIsToldWithItsReason()
{
    QFETCH(QString, call);
    QFETCH(int, error);
    QFETCH(QString, reason);
    m_scene.beforeSave();
    m_scene.save({});
    const int nCall
        = 1 + m_scene.calls().lastIndexOf(QRegularExpression('^' + call + " .*/\\.new-.*"));
    QVERIFY(nCall > 0);
    m_scene.beforeSave();
    const Run run = m_scene.save({ nCall, "fail", error, false });
    QVERIFY2(run.strErr.contains("cannot write file:" + m_scene.datedPath() + ", reason:" + reason),
             qPrintable(run.strErr));
}

// The copy to the live name fails after the old file was removed.
void tst_faults::anEditThatLeavesNoLiveFileSaysSo()
{
    m_scene.beforeSave();
    m_scene.edit({});
    const int nLink = 1 + m_scene.calls().indexOf("linkat " + m_scene.livePath());
    QVERIFY(nLink > 0);
    m_scene.beforeSave();
    const Run run = m_scene.edit({ nLink, "fail", EIO, false });
    QCOMPARE(run.nStatus, 3);
    QVERIFY2(run.strErr.contains("the save failed: ") && run.strErr.contains("'recover'")
                 && !run.strErr.contains("does not hold the change"),
             qPrintable(run.strErr));
    QVERIFY2(!run.strOut.contains("saved"), qPrintable(run.strOut));
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 0);
    QCOMPARE(CScene::generationOf(m_scene.datedPath()), 2);
}

// The host reads the file, and looks again before the save.
void tst_faults::anEditOfWhatCannotBeReadAgainChangesNothing()
{
    m_scene.beforeSave();
    m_scene.edit({});
    // Each opens it in its own way.
    const QRegularExpression open("^open(64)? " + QRegularExpression::escape(m_scene.livePath())
                                  + '$');
    const int nSecond = 1 + m_scene.calls().indexOf(open, 1 + m_scene.calls().indexOf(open));
    QVERIFY(nSecond > 1);
    m_scene.beforeSave();
    const Run run = m_scene.edit({ nSecond, "fail", EIO, false });
    QCOMPARE(run.nStatus, 3);
    QVERIFY2(run.strErr.contains("nothing is written"), qPrintable(run.strErr));
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 1);
    QCOMPARE(CScene::generationOf(m_scene.datedPath()), 1);
}

// All is written, and the last of the syncs fails.
void tst_faults::whatCannotBeSyncedAtTheEndIsNotCalledSaved()
{
    m_scene.beforeSave();
    QCOMPARE(m_scene.edit({}).nStatus, 0);
    const QStringList calls = m_scene.calls();
    const int nLast = calls.lastIndexOf(QRegularExpression("^fsync .*"));
    QVERIFY(nLast > calls.lastIndexOf("unlink " + m_scene.livePath()));
    m_scene.beforeSave();
    const Run run = m_scene.edit({ nLast + 1, "fail", EIO, false });
    QCOMPARE(run.nStatus, 3);
    QVERIFY2(run.strErr.contains("could not be synced: a power cut may take it back"),
             qPrintable(run.strErr));
    QVERIFY(run.strOut.contains("NOT known to outlast a power cut"));
    QCOMPARE(CScene::generationOf(m_scene.livePath()), 2);
}

QTEST_GUILESS_MAIN(tst_faults)
#include "tst_faults.moc"
