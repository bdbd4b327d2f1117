#include "comparedtrees.h"
#include "librarytest.h"
#include "logcapture.h"

namespace {

const char c_szSample[] = SAMPLE_USER "/indexUserConfig.xml";

KW::ElementTree treeOf(const QByteArray& bytes)
{
    return KW::elementTree(parsed(QString::fromUtf8(bytes)).documentElement());
}

void compareTrees(const QByteArray& found, const QByteArray& expected)
{
    QStringList different;
    for (const inspect::Difference& each : inspect::differences(treeOf(expected), treeOf(found))) {
        different.append(inspect::toText(each));
    }
    QVERIFY2(treeOf(expected) == treeOf(found), qPrintable(different.join('\n')));
}

} // namespace

class tst_roundtrip : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theSampleComesBackAsItWas();
    void everyFileIsSavedAsItsGoldenFile_data();
    void everyFileIsSavedAsItsGoldenFile();
    void aSavedFileIsSavedAlikeForEver();
    void chineseDirectoriesWork_data();
    void chineseDirectoriesWork();
    void aFileCutAnywhereIsNeverHalfLoaded();
    void theMirrorHoldsTheDocument();

private:
    void loadSaveAnew();
};

void tst_roundtrip::loadSaveAnew()
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    resetSiblings();
    service().loadSettings();
    saveAndWait(service());
}

void tst_roundtrip::theSampleComesBackAsItWas()
{
    const QByteArray sample = readFile(c_szSample);
    writeLive(sample);
    loadSaveAnew();
    compareTrees(readFile(livePath()), sample);
    loadSaveAnew();
    compareTrees(readFile(livePath()), sample);
}

void tst_roundtrip::everyFileIsSavedAsItsGoldenFile_data()
{
    QTest::addColumn<QString>("file");
    for (const QFileInfo& info : QDir(TEST_DATA "/load").entryInfoList({ "*.xml" })) {
        QTest::newRow(qPrintable(info.baseName())) << info.filePath();
    }
}

void tst_roundtrip::everyFileIsSavedAsItsGoldenFile()
{
    QFETCH(QString, file);
    writeLive(readFile(file));
    loadSaveAnew();
    const QString strGolden = QString(file).replace("/load/", "/golden/");
    // To be looked through before it is committed.
    if (qEnvironmentVariableIsSet("INDEXUSER_UPDATE_GOLDEN")) {
        writeFile(strGolden, readFile(livePath()));
    }
    compareTrees(readFile(livePath()), readFile(strGolden));
}

void tst_roundtrip::aSavedFileIsSavedAlikeForEver()
{
    writeLive(readFile(c_szSample));
    loadSaveAnew();
    const QByteArray first = readFile(livePath());
    for (int i = 0; i < 3; ++i) {
        loadSaveAnew();
    }
    compareTrees(readFile(livePath()), first);
    QCOMPARE(readFile(livePath()).size(), first.size());
}

void tst_roundtrip::chineseDirectoriesWork_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("GBK") << QStringLiteral("行情 用户");
    QTest::newRow("beyond GBK") << QStringLiteral("ñ𠀀😀");
    QTest::newRow("braces") << "{0} {1} %1";
}

void tst_roundtrip::chineseDirectoriesWork()
{
    QFETCH(QString, name);
    const QString strDir = userDir() + '/' + name;
    QVERIFY(QDir().mkpath(strDir));
    useUserDir(strDir);
    const QByteArray sample = readFile(c_szSample);
    writeFile(strDir + "/indexUserConfig.xml", sample);
    loadSaveAnew();
    compareTrees(readFile(strDir + "/indexUserConfig.xml"), sample);
    QCOMPARE(QDir(strDir + "/Temp").entryList(QDir::Files).size(), 1);
}

void tst_roundtrip::aFileCutAnywhereIsNeverHalfLoaded()
{
    const QByteArray whole = readFile(TEST_DATA "/load/small.xml").trimmed();
    logcapture::expectErrors(whole.size());
    for (int nSize = 0; nSize < whole.size(); ++nSize) {
        utils::CSingletonT<KW::CUserConfigManager>::release();
        resetSiblings();
        writeLive(whole.left(nSize));
        service().loadSettings();
        KW::CustomStockMap stocks;
        service().getCustomStockMap(stocks);
        QVERIFY(stocks.isEmpty());
        QCOMPARE(service().getParamSettingForClient().reportRefreshTime, 500);
        QVERIFY(service().getLayoutConfig()->getQuoteGroupSetting().m_windows.isEmpty());
        QVERIFY(!service().getFormulaFunctionTreeExpand());
    }
    QCOMPARE(logcapture::lines().size(), whole.size());
}

void tst_roundtrip::theMirrorHoldsTheDocument()
{
    writeLive(readFile(c_szSample));
    loadSaveAnew();
    QCOMPARE(readFile(userDir() + "/Settings/=userconfig.xml"), readFile(livePath()));
}

QTEST_GUILESS_MAIN(tst_roundtrip)
#include "tst_roundtrip.moc"
