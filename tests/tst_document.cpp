#include "librarytest.h"
#include "logcapture.h"
#include "recording.h"

#include <QDir>

#include <atomic>
#include <future>

namespace {

const char c_szMinimal[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?><ICUserConfigFile/>";
const char c_szLoadError[]
    = "[CUserConfigManager] loadSettings error: QDomDocument setContent error";

QStringList childTags(const QDomElement& element)
{
    QStringList tags;
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        tags.append(child.tagName());
    }
    return tags;
}

} // namespace

class tst_document : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aLoadHandsTheRootToEverybodyInOrder();
    void aLoadReadsTheLiveFileByItsLocalName();
    void aFileThatCannotBeReadTouchesNothingButTheCatalogue_data();
    void aFileThatCannotBeReadTouchesNothingButTheCatalogue();
    void aFailedLoadCountsAsLoaded();
    void anyVersionLoadsAlike();
    void aByteOrderMarkIsNoObstacle();
    void aNulByteDoesNotCutTheText();
    void aSecondLoadHandsEverythingOutAgain();
    void aSaveAsksEverybodyInOrder();
    void theFileHasItsSectionsInOrder();
    void theFileBeginsWithItsInstruction();
    void eachOwnerFillsItsOwnElement();
    void namesWithoutOwnerNeverReachTheFile();
    void algorithmsAreLeftOutWhenTheirOwnerSaysSo();
    void userParamsComeLastAndHoldTheTree();
    void userParamsAreReadAsANumber_data();
    void userParamsAreReadAsANumber();
    void aFileWithoutUserParamsChangesNothing();
    void saveUserParamAppendsTheSection();
    void aSaveBeforeTheFirstLoadLeavesTheDiskAlone();
    void saveSuccessIsFalseUntilTheSaveEnds();
    void releaseDuringASaveEndsTheManagerHereAndTheSaveWhole();
    void overlappingSavesLeaveOneOfTheirDocuments();
    void forwardingSaversReachTheirManagers();
    void theSectorSaverIgnoresItsArguments();
    void theIndexSaverDoesNothing();
};

void tst_document::aLoadHandsTheRootToEverybodyInOrder()
{
    writeLive("<ICUserConfigFile><Option><Settings m_multiDaylines=\"7\"/></Option>"
              "<Customs><Custom type=\"1\"><Stock market=\"SH\" code=\"1\"/></Custom></Customs>"
              "<DefaultLayout><LayoutWindow><tree/></LayoutWindow></DefaultLayout>"
              "</ICUserConfigFile>");
    service().sigStockListChanged.connect([] { recording::record("sigStockListChanged"); });
    service().loadSettings();
    QCOMPARE(recording::calls(),
             QStringList({
                 QString("stdReadFile(%1)").arg(livePath()),
                 "CSectorManager::loadSettings(ICUserConfigFile)",
                 "CFormulaOperateManager::loadSettings(ICUserConfigFile)",
                 "CFormulaOperateManager::loadGroupIndexSettings(ICUserConfigFile)",
                 "CExtendDataManager::loadSettings(ICUserConfigFile)",
                 "CExternalDataManager::loadSettings(ICUserConfigFile)",
                 "CWindDataManager::loadSettings(ICUserConfigFile)",
                 "CFormulaManager::setOptionSettings(md 7, mh 3, mm 3, mt 0)",
                 "sigStockListChanged",
                 "CSectorManager::addStockListToSector(1)",
                 "CStockManager::insertCustomDetail(SH1,)",
                 "ILayoutElement::fromXml(tree)",
                 "CStrategyTradeManager::loadSettings(ICUserConfigFile)",
                 "CStrategyTradeManager::loadAlgoSettings(ICUserConfigFile)",
                 "CDrawGraphManager::loadSettings(ICUserConfigFile)",
                 "COrderService::loadSettings(ICUserConfigFile)",
                 "CSpecialStrategyManager::loadSettings(ICUserConfigFile)",
                 "Configuration(../config/FormulaServer/formulaserver.ini,true)",
                 "Configuration::load()",
                 "Configuration::readInt(dbifEnable,showDBIf,0)",
                 "CFormulaHistoryDataManager::loadTradeStrategyHistoryData()",
             }));
}

void tst_document::aLoadReadsTheLiveFileByItsLocalName()
{
    const QString strDir = userDir() + QStringLiteral("/行情");
    QVERIFY(QDir().mkpath(strDir));
    useUserDir(strDir);
    writeFile(strDir + "/indexUserConfig.xml", c_szMinimal);
    service().loadSettings();
    QCOMPARE(recording::callsOf("stdReadFile"),
             QStringList(QString("stdReadFile(%1/indexUserConfig.xml)").arg(strDir)));
    QCOMPARE(recording::callsOf("safeUtf82Gbk"), QStringList());
    QCOMPARE(recording::callsOf("CSectorManager::loadSettings").size(), 1);
}

void tst_document::aFileThatCannotBeReadTouchesNothingButTheCatalogue_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("zero bytes") << QByteArray("");
    QTest::newRow("blank") << QByteArray("  \n");
    QTest::newRow("text") << QByteArray("no xml at all");
    QTest::newRow("cut off") << QByteArray("<ICUserConfigFile><Option><Settings/></Option>");
    QTest::newRow("two roots") << QByteArray("<ICUserConfigFile/><ICUserConfigFile/>");
}

void tst_document::aFileThatCannotBeReadTouchesNothingButTheCatalogue()
{
    QFETCH(QByteArray, content);
    if (!content.isNull()) {
        writeLive(content);
    }
    logcapture::expectErrors(1);
    service().loadSettings();

    const QVector<LoggedLine> lines = logcapture::lines();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().strMessage, QString(c_szLoadError));
    QCOMPARE(lines.first().nLevel, 40000);
    QCOMPARE(lines.first().nLine, 148);
    QCOMPARE(lines.first().strFunction,
             QString("void __cdecl KW::CUserConfigManager::loadSettings(void)"));
    QCOMPARE(lines.first().strFile, QString("src/indexmodel/indexuser/cuserconfigmanager"));
    QCOMPARE(recording::calls().mid(1),
             QStringList({ "CFormulaOperateManager::loadSettings(null)",
                           "Configuration(../config/FormulaServer/formulaserver.ini,true)",
                           "Configuration::load()", "Configuration::readInt(dbifEnable,showDBIf,0)",
                           "CFormulaHistoryDataManager::loadTradeStrategyHistoryData()" }));
}

void tst_document::aFailedLoadCountsAsLoaded()
{
    writeLive("damaged");
    logcapture::expectErrors(1);
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(readFile(livePath()).contains("<ICUserConfigFile>"));
}

void tst_document::anyVersionLoadsAlike()
{
    writeLive("<ICUserConfigFile><ConfigVersion version_id=\"99\"/>"
              "<UserParams m_bFormulaFunctionTreeExpand=\"1\"/></ICUserConfigFile>");
    service().loadSettings();
    QVERIFY(service().getFormulaFunctionTreeExpand());
    QCOMPARE(logcapture::messages(), QStringList());
}

void tst_document::aByteOrderMarkIsNoObstacle()
{
    writeLive(QByteArray("\xef\xbb\xbf") + c_szMinimal);
    service().loadSettings();
    QCOMPARE(recording::callsOf("CSectorManager::loadSettings").size(), 1);
}

void tst_document::aNulByteDoesNotCutTheText()
{
    writeLive(
        QByteArray("<r><a b=\"x\0y\"/><UserParams m_bFormulaFunctionTreeExpand=\"1\"/></r>", 65));
    service().loadSettings();
    QVERIFY(service().getFormulaFunctionTreeExpand());
}

void tst_document::aSecondLoadHandsEverythingOutAgain()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    const QStringList first = recording::calls();
    service().loadSettings();
    QCOMPARE(recording::calls(), first + first);
}

void tst_document::aSaveAsksEverybodyInOrder()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    recording::reset();
    useUserDir(userDir());
    saveAndWait(service());
    QCOMPARE(recording::calls().mid(0, 13),
             QStringList({ "CSectorManager::saveSettings()",
                           "CFormulaOperateManager::saveSettings(FormulaCatalog)",
                           "CFormulaOperateManager::saveGroupIndexSettings(GroupIndex)",
                           "CExtendDataManager::saveSettings(ExtendDataCatalog)",
                           "CExternalDataManager::saveSettings(externalDataCatalog)",
                           "CWindDataManager::saveSettings(WindDataCatalog)",
                           "CDrawGraphManager::saveSettings(drawGraph)",
                           "CStrategyTradeManager::saveSettings(strategyTrade)",
                           "CStrategyTradeManager::saveAlgoSettings(strategyAlgoTrade)",
                           "COrderService::saveSettings(interfaceTrade)",
                           "CSpecialStrategyManager::saveSettings(specialstrategydata)",
                           recording::callsOf("writeConfig").value(0),
                           recording::callsOf("safeUtf82Gbk").value(0) }));
}

void tst_document::theFileHasItsSectionsInOrder()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    saveAndWait(service());
    const QDomDocument doc = parsed(readFile(livePath()));
    QCOMPARE(doc.documentElement().tagName(), QString("ICUserConfigFile"));
    QCOMPARE(childTags(doc.documentElement()),
             QStringList({ "DefaultLayout",     "IndexLayout",     "IndexPositionLayout",
                           "LayoutTemplates",   "tradePanelGroup", "tradeLayoutTemplates",
                           "ConfigVersion",     "CustomIndex",     "CustomSector",
                           "FormulaCatalog",    "Option",          "GroupIndex",
                           "ExtendDataCatalog", "CustomStock",     "externalDataCatalog",
                           "drawGraph",         "strategyTrade",   "strategyAlgoTrade",
                           "WindDataCatalog",   "interfaceTrade",  "specialstrategydata",
                           "UserParams" }));
    const QByteArray bytes = readFile(livePath());
    QVERIFY(bytes.contains("<ConfigVersion version_id=\"11\"/>"));
    QVERIFY(bytes.contains("<CustomIndex/>"));
    QVERIFY(bytes.contains("<CustomSector/>"));
}

void tst_document::theFileBeginsWithItsInstruction()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(readFile(livePath()).startsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"));
}

void tst_document::eachOwnerFillsItsOwnElement()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    saveAndWait(service());
    const QDomElement root = parsed(readFile(livePath())).documentElement();
    const QMap<QString, QString> owners {
        { "FormulaCatalog", "CFormulaOperateManager::saveSettings" },
        { "GroupIndex", "CFormulaOperateManager::saveGroupIndexSettings" },
        { "ExtendDataCatalog", "CExtendDataManager::saveSettings" },
        { "externalDataCatalog", "CExternalDataManager::saveSettings" },
        { "drawGraph", "CDrawGraphManager::saveSettings" },
        { "strategyTrade", "CStrategyTradeManager::saveSettings" },
        { "strategyAlgoTrade", "CStrategyTradeManager::saveAlgoSettings" },
        { "WindDataCatalog", "CWindDataManager::saveSettings" },
        { "interfaceTrade", "COrderService::saveSettings" },
        { "specialstrategydata", "CSpecialStrategyManager::saveSettings" },
    };
    for (auto it = owners.begin(); it != owners.end(); ++it) {
        QCOMPARE(root.firstChildElement(it.key()).firstChildElement("by").attribute("who"),
                 it.value());
    }
}

void tst_document::namesWithoutOwnerNeverReachTheFile()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    saveAndWait(service());
    const QDomDocument doc = parsed(readFile(livePath()));
    for (const char* pszName :
         { "investFee", "SectorFilter", "InvestCatalog", "BasketHedges", "tradeBaskets",
           "tradeBlacks", "OrderStrategys", "SmartKeyConfig", "QsSmartKeyConfig",
           "OrderAccountKeys", "fileImport", "userNames", "portNum" }) {
        QVERIFY2(doc.elementsByTagName(pszName).isEmpty(), pszName);
    }
}

void tst_document::algorithmsAreLeftOutWhenTheirOwnerSaysSo()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    recording::answers().algoOmitted = true;
    saveAndWait(service());
    const QStringList tags = childTags(parsed(readFile(livePath())).documentElement());
    QVERIFY(!tags.contains("strategyAlgoTrade"));
    QCOMPARE(tags.value(tags.indexOf("strategyTrade") + 1), QString("WindDataCatalog"));
}

void tst_document::userParamsComeLastAndHoldTheTree()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    service().setFormulaFunctionTreeExpand(true);
    saveAndWait(service());
    const QDomElement last = parsed(readFile(livePath())).documentElement().lastChildElement();
    QCOMPARE(last.tagName(), QString("UserParams"));
    QCOMPARE(last.attribute("m_bFormulaFunctionTreeExpand"), QString("1"));
}

void tst_document::userParamsAreReadAsANumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expanded");
    QTest::newRow("1") << "1" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("-3") << "-3" << true;
    QTest::newRow("yes") << "yes" << false;
    QTest::newRow("empty") << "" << false;
}

void tst_document::userParamsAreReadAsANumber()
{
    QFETCH(QString, text);
    QFETCH(bool, expanded);
    COpenManager manager;
    manager.setFormulaFunctionTreeExpand(!expanded);
    QDomElement root
        = parsed(QString("<r><UserParams m_bFormulaFunctionTreeExpand=\"%1\"/></r>").arg(text))
              .documentElement();
    manager.loadUserParam(root);
    QCOMPARE(manager.getFormulaFunctionTreeExpand(), expanded);
}

void tst_document::aFileWithoutUserParamsChangesNothing()
{
    for (const char* pszXml : { "<r/>", "<r><UserParams/></r>" }) {
        COpenManager manager;
        manager.setFormulaFunctionTreeExpand(true);
        const QDomDocument doc = parsed(pszXml);
        QDomElement root = doc.documentElement();
        manager.loadUserParam(root);
        QVERIFY(manager.getFormulaFunctionTreeExpand());
    }
}

void tst_document::saveUserParamAppendsTheSection()
{
    COpenManager manager;
    QDomDocument doc = parsed("<r/>");
    QDomElement root = doc.documentElement();
    manager.saveUserParam(root, doc);
    QCOMPARE(doc.toString(-1), QString("<r><UserParams m_bFormulaFunctionTreeExpand=\"0\"/></r>"));
}

void tst_document::aSaveBeforeTheFirstLoadLeavesTheDiskAlone()
{
    saveAndWait(service());
    QVERIFY(service().getSaveSuccess());
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QCOMPARE(logcapture::messages(), QStringList("[CUserConfigManager] is not loaded!"));
}

void tst_document::saveSuccessIsFalseUntilTheSaveEnds()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    service().setSaveSuccess(true);
    saveAndWait(service());
    const QStringList messages = logcapture::messages();
    QVERIFY(messages.last().contains("save success"));
}

// On this thread and before release() returns, with what the slots of the interface hold, too.
void tst_document::releaseDuringASaveEndsTheManagerHereAndTheSaveWhole()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    service().setFormulaFunctionTreeExpand(true);
    std::promise<void> released;
    std::atomic<bool> bSaved { false };
    logcapture::onMessage([&](const QString& message) {
        if (message.contains("create temp file success")) {
            released.get_future().wait();
        }
        bSaved = message.contains("save success");
    });
    QThread* pDestroyedOn = nullptr;
    QObject::connect(
        &manager(), &QObject::destroyed, &manager(),
        [&] { pDestroyedOn = QThread::currentThread(); }, Qt::DirectConnection);
    auto pCaptured = std::make_shared<int>();
    service().sigStockListChanged.connect([pKept = pCaptured] {});
    service().saveSettings();
    utils::CSingletonT<KW::CUserConfigManager>::release();
    QCOMPARE(pDestroyedOn, QThread::currentThread());
    QCOMPARE(pCaptured.use_count(), 1L);
    QVERIFY(!bSaved);
    released.set_value();

    QTRY_VERIFY(bSaved);
    logcapture::onMessage(nullptr);
    QVERIFY(readFile(livePath()).contains("m_bFormulaFunctionTreeExpand=\"1\""));
}

void tst_document::overlappingSavesLeaveOneOfTheirDocuments()
{
    writeLive(c_szMinimal);
    service().loadSettings();
    const int nSaves = 8;
    for (int i = 0; i < nSaves; ++i) {
        service().saveSettings();
    }
    // Each save ends with one of these two lines.
    QTRY_COMPARE_WITH_TIMEOUT(logcapture::messages().filter("save success").size()
                                  + logcapture::messages().filter("force write file").size(),
                              nSaves, 60000);
    QTRY_VERIFY(service().getSaveSuccess());
    QCOMPARE(parsed(readFile(datedPath())).documentElement().tagName(),
             QString("ICUserConfigFile"));
}

void tst_document::forwardingSaversReachTheirManagers()
{
    COpenManager manager;
    QDomDocument doc;
    QDomElement element = doc.createElement("e");
    manager.saveFormulaCatalog(element, doc);
    manager.saveGroupSettings(element, doc);
    manager.saveExtendData(element, doc);
    manager.saveExternalData(element, doc);
    manager.saveWindData(element, doc);
    QCOMPARE(recording::calls(),
             QStringList({ "CFormulaOperateManager::saveSettings(e)",
                           "CFormulaOperateManager::saveGroupIndexSettings(e)",
                           "CExtendDataManager::saveSettings(e)",
                           "CExternalDataManager::saveSettings(e)",
                           "CWindDataManager::saveSettings(e)" }));
}

void tst_document::theSectorSaverIgnoresItsArguments()
{
    COpenManager manager;
    QDomDocument doc;
    QDomElement element = doc.createElement("e");
    manager.saveSector(element, doc);
    QCOMPARE(recording::calls(), QStringList("CSectorManager::saveSettings()"));
    QVERIFY(!element.hasChildNodes());
}

void tst_document::theIndexSaverDoesNothing()
{
    COpenManager manager;
    QDomDocument doc;
    QDomElement element = doc.createElement("e");
    manager.saveIndex(element, doc);
    QCOMPARE(recording::calls(), QStringList());
    QVERIFY(!element.hasChildNodes() && !element.hasAttributes());
}

QTEST_GUILESS_MAIN(tst_document)
#include "tst_document.moc"
