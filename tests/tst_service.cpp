#include "librarytest.h"
#include "logcapture.h"
#include "recording.h"

#include <QSignalSpy>

#include <thread>

using KW::UserConfigInterface;

class tst_service : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyCallReturnsTheSameService();
    void theServiceIsTheManager();
    void concurrentFirstCallsGetOneService();
    void aFreshServiceHoldsItsDefaults();
    void aFreshServiceReadsNothing();
    void releaseMakesTheNextServiceNew();
    void releaseWithoutAnInstanceDoesNothing();
    void releaseLeavesTheLayoutsAlive();
    void concurrentCallsAndReleasesAreSafe();
    void settersChangeWhatGettersReturn();
    void setPanelGroupLayoutLeavesTheLayoutsAlone();
    void conditionsChangeEmitsItsSignalOnce();
    void optionSettingChangeEmitsItsSignalOnce();
    void smartKeyConfigChangeFiresTheStockListSignalOnly();
    void updateAccerPeriodPassesThePeriodOn();
    void anExceptionOfASlotReachesTheCaller();
    void signalsForOtherModulesCanBeConnectedAndFired();
};

void tst_service::everyCallReturnsTheSameService()
{
    UserConfigInterface* const pFirst = KW::UserConfigFactory::getIndexUserConfig();
    QVERIFY(pFirst);
    QCOMPARE(KW::UserConfigFactory::getIndexUserConfig(), pFirst);
}

void tst_service::theServiceIsTheManager()
{
    QCOMPARE(dynamic_cast<KW::CUserConfigManager*>(&service()), &manager());
    QCOMPARE(KW::CUserConfigManager::instance(), &manager());
}

void tst_service::concurrentFirstCallsGetOneService()
{
    std::vector<UserConfigInterface*> found(8);
    std::vector<std::thread> threads;
    threads.reserve(found.size());
    for (UserConfigInterface*& pFound : found) {
        threads.emplace_back([&] { pFound = KW::UserConfigFactory::getIndexUserConfig(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (UserConfigInterface* pFound : found) {
        QCOMPARE(pFound, &service());
    }
}

void tst_service::aFreshServiceHoldsItsDefaults()
{
    QVERIFY(service().getCatalogChange());
    QVERIFY(!service().getSaveSuccess());
    QVERIFY(!service().getLinkageQuote());
    QVERIFY(!service().getFormulaFunctionTreeExpand());
    QVERIFY(!manager().m_bDbifEnable);
    QCOMPARE(service().getCurrentUser(), QString());
    QVERIFY(service().getLayoutConfig());
    QVERIFY(service().getLayoutConfig()->getQuoteGroupSetting().m_windows.isEmpty());
    KW::CustomStockMap stocks { { 1, {} } };
    service().getCustomStockMap(stocks);
    QVERIFY(stocks.isEmpty());
}

void tst_service::aFreshServiceReadsNothing()
{
    service();
    QCOMPARE(recording::calls(), QStringList());
}

void tst_service::releaseMakesTheNextServiceNew()
{
    service().loadSettings();
    logcapture::expectErrors(1); // there is no file
    service().setCatalogChange(false);
    service().setSaveSuccess(true);
    service().setCurrentUser("somebody");
    utils::CSingletonT<KW::CUserConfigManager>::release();

    QVERIFY(service().getCatalogChange());
    QVERIFY(!service().getSaveSuccess());
    QCOMPARE(service().getCurrentUser(), QString());
    logcapture::clear();
    saveAndWait(service());
    QCOMPARE(logcapture::messages(), QStringList("[CUserConfigManager] is not loaded!"));
}

void tst_service::releaseWithoutAnInstanceDoesNothing()
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    utils::CSingletonT<KW::CUserConfigManager>::release();
    QVERIFY(KW::UserConfigFactory::getIndexUserConfig());
}

void tst_service::releaseLeavesTheLayoutsAlive()
{
    KW::CPanelGroupLayoutConfig* const pLayouts = service().getLayoutConfig();
    pLayouts->saveLayoutToTemplate("kept");
    utils::CSingletonT<KW::CUserConfigManager>::release();
    QCOMPARE(pLayouts->getQuoteLayoutTemplate(), QList<QString>({ "kept" }));
    QVERIFY(service().getLayoutConfig() != pLayouts);
}

void tst_service::concurrentCallsAndReleasesAreSafe()
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 500; ++n) {
                utils::CSingletonT<KW::CUserConfigManager>::instance();
            }
        });
    }
    for (int n = 0; n < 200; ++n) {
        utils::CSingletonT<KW::CUserConfigManager>::release();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QVERIFY(KW::UserConfigFactory::getIndexUserConfig());
}

void tst_service::settersChangeWhatGettersReturn()
{
    service().setFormulaFunctionTreeExpand(true);
    service().setCatalogChange(false);
    service().setSaveSuccess(true);
    service().setLinkageQuote(true);
    service().setCurrentUser(QStringLiteral("张三"));
    QVERIFY(service().getFormulaFunctionTreeExpand());
    QVERIFY(!service().getCatalogChange());
    QVERIFY(service().getSaveSuccess());
    QVERIFY(service().getLinkageQuote());
    QCOMPARE(service().getCurrentUser(), QStringLiteral("张三"));
    QCOMPARE(recording::calls(), QStringList());
}

void tst_service::setPanelGroupLayoutLeavesTheLayoutsAlone()
{
    KW::CPanelGroupLayoutSetting setting;
    setting.m_strKey = "key";
    setting.m_windows.append(KW::CLayoutWindow());
    service().setPanelGroupLayout(1, setting);
    KW::CPanelGroupLayoutConfig& layouts = *service().getLayoutConfig();
    QVERIFY(layouts.getQuoteGroupSetting().m_windows.isEmpty());
    QVERIFY(layouts.getTradeGroupSetting().m_windows.isEmpty());
    QVERIFY(!layouts.getFormulaPanelGroupSetting("key", setting));
    QVERIFY(!layouts.getValuePanelSetting("key", setting));
}

void tst_service::conditionsChangeEmitsItsSignalOnce()
{
    const QSignalSpy conditions(&manager(), &KW::CUserConfigManager::sigConditionsChange);
    const QSignalSpy options(&manager(), &KW::CUserConfigManager::sigOptionSettingChange);
    service().conditionsChange();
    QCOMPARE(conditions.count(), 1);
    QCOMPARE(options.count(), 0);
}

void tst_service::optionSettingChangeEmitsItsSignalOnce()
{
    const QSignalSpy options(&manager(), &KW::CUserConfigManager::sigOptionSettingChange);
    const QSignalSpy conditions(&manager(), &KW::CUserConfigManager::sigConditionsChange);
    service().optionSettingChange();
    QCOMPARE(options.count(), 1);
    QCOMPARE(conditions.count(), 0);
}

void tst_service::smartKeyConfigChangeFiresTheStockListSignalOnly()
{
    int nFired = 0;
    service().sigStockListChanged.connect([&] { ++nFired; });
    const QSignalSpy smartKey(&manager(), &KW::CUserConfigManager::sigSmartKeyConfig);
    service().smartKeyConfigChange();
    QCOMPARE(nFired, 1);
    QCOMPARE(smartKey.count(), 0);
}

void tst_service::updateAccerPeriodPassesThePeriodOn()
{
    QList<int> first;
    QList<int> second;
    service().sigAccerPeriodChanged.connect([&](int nPeriod) { first.append(nPeriod); });
    service().sigAccerPeriodChanged.connect([&](int nPeriod) { second.append(nPeriod); });
    service().updateAccerPeriod(10);
    QCOMPARE(first, QList<int>({ 10 }));
    QCOMPARE(second, QList<int>({ 10 }));
}

void tst_service::anExceptionOfASlotReachesTheCaller()
{
    service().sigStockListChanged.connect([] { throw std::runtime_error("slot"); });
    QVERIFY_EXCEPTION_THROWN(service().smartKeyConfigChange(), std::runtime_error);
}

void tst_service::signalsForOtherModulesCanBeConnectedAndFired()
{
    QStringList heard;
    service().sigInterfaceAux.connect([&] { heard.append("aux"); });
    service().sigInterfaceText.connect([&](const QString& text) { heard.append(text); });
    service().sigInterfaceAux();
    service().sigInterfaceText("text");
    QCOMPARE(heard, QStringList({ "aux", "text" }));
}

QTEST_GUILESS_MAIN(tst_service)
#include "tst_service.moc"
