#include "librarytest.h"
#include "recording.h"

using KW::paramSettingForClient;

namespace {

const char c_szCategories[]
    = "4096,2097152,8192,1,8,64,16,2,256,128,512,16777216,8388608,4194304,4,32,2048,32768,"
      "268435456,536870912";

void compareBaseFields(const se::RPCOptionSettings& left, const se::RPCOptionSettings& right)
{
    QCOMPARE(left.reportRefreshTime, right.reportRefreshTime);
    QCOMPARE(left.indexSortUpdate, right.indexSortUpdate);
    QCOMPARE(left.riseCompareTime, right.riseCompareTime);
    QCOMPARE(left.delayRefreshTime, right.delayRefreshTime);
    QCOMPARE(left.oMinDataRestorePeroid, right.oMinDataRestorePeroid);
    QCOMPARE(left.fMinDataRestorePeroid, right.fMinDataRestorePeroid);
    QCOMPARE(left.tickRestoreDay, right.tickRestoreDay);
    QCOMPARE(left.flashKeepDataPeriod, right.flashKeepDataPeriod);
    QCOMPARE(left.graphDisplay, right.graphDisplay);
    QCOMPARE(left.m_multiDaylines, right.m_multiDaylines);
    QCOMPARE(left.m_multiHourlines, right.m_multiHourlines);
    QCOMPARE(left.m_multiMinutelines, right.m_multiMinutelines);
    QCOMPARE(left.m_multiTicklines, right.m_multiTicklines);
}

void compareAllFields(const paramSettingForClient& left, const paramSettingForClient& right)
{
    compareBaseFields(left, right);
    QCOMPARE(left.monitorClipboard, right.monitorClipboard);
    QCOMPARE(left.showAllQuoteData, right.showAllQuoteData);
    QCOMPARE(left.formulaDebug, right.formulaDebug);
    QCOMPARE(left.InitPopTaskCondition, right.InitPopTaskCondition);
    QCOMPARE(left.updateposition, right.updateposition);
    QCOMPARE(left.groupSignalCondition, right.groupSignalCondition);
    QCOMPARE(left.groupSignalRunTime, right.groupSignalRunTime);
    QCOMPARE(left.updateF10DateTime, right.updateF10DateTime);
    QCOMPARE(left.smartKeyConfig, right.smartKeyConfig);
    QCOMPARE(left.qsSmartKeyConfig, right.qsSmartKeyConfig);
    QCOMPARE(left.dividDataTime, right.dividDataTime);
    QCOMPARE(left.extParam1, right.extParam1);
    QCOMPARE(left.wholeQuoter, right.wholeQuoter);
    QCOMPARE(left.extParam2, right.extParam2);
    QCOMPARE(left.extParam3, right.extParam3);
    QCOMPARE(left.extParam4, right.extParam4);
    QCOMPARE(left.extParam5, right.extParam5);
    QCOMPARE(left.extParam6, right.extParam6);
    QCOMPARE(left.oaAddress, right.oaAddress);
    QCOMPARE(left.oaTableName, right.oaTableName);
    QCOMPARE(left.oaUser, right.oaUser);
    QCOMPARE(left.oaPassword, right.oaPassword);
    QCOMPARE(left.showGradient, right.showGradient);
    QCOMPARE(left.extFlag1, right.extFlag1);
    QCOMPARE(left.showParamRank, right.showParamRank);
    QCOMPARE(left.m_bFilterFutureOptCheck, right.m_bFilterFutureOptCheck);
}

paramSettingForClient unusual()
{
    paramSettingForClient param;
    std::int32_t nNumber = 1000;
    for (std::int32_t paramSettingForClient::*pField :
         { &paramSettingForClient::monitorClipboard, &paramSettingForClient::showAllQuoteData,
           &paramSettingForClient::formulaDebug, &paramSettingForClient::InitPopTaskCondition,
           &paramSettingForClient::groupSignalCondition, &paramSettingForClient::smartKeyConfig,
           &paramSettingForClient::dividDataTime, &paramSettingForClient::extParam1,
           &paramSettingForClient::wholeQuoter, &paramSettingForClient::extParam2,
           &paramSettingForClient::extParam3, &paramSettingForClient::extParam4,
           &paramSettingForClient::extParam5, &paramSettingForClient::extParam6 }) {
        param.*pField = nNumber++;
    }
    static_cast<se::RPCOptionSettings&>(param) = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13 };
    for (QString paramSettingForClient::*pField :
         { &paramSettingForClient::groupSignalRunTime, &paramSettingForClient::updateF10DateTime,
           &paramSettingForClient::qsSmartKeyConfig, &paramSettingForClient::oaAddress,
           &paramSettingForClient::oaTableName, &paramSettingForClient::oaUser,
           &paramSettingForClient::oaPassword }) {
        param.*pField = QString::number(nNumber++);
    }
    param.updateposition = true;
    param.showGradient = false;
    param.extFlag1 = false;
    param.showParamRank = true;
    param.m_bFilterFutureOptCheck = true;
    return param;
}

} // namespace

class tst_clientparams : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aNewManagerHoldsTheDefaultsOfTheDataCentre();
    void aNewManagerHoldsTheDefaultsOfTheClient();
    void theRecordBeginsWithTheDataCentresOptions();
    void aCopyOfARecordIsIndependent();
    void aRecordSetIsTheRecordGot();
    void settingChangesMemoryOnly();
    void updateDataCenterSettingTellsTheEngineTheLineCounts();
    void updateAccerPeriodStoresNothing();
    void onlyOneTurnsTheDisplaySwitchOn_data();
    void onlyOneTurnsTheDisplaySwitchOn();
    void nothingTurnsTheDisplaySwitchOff();
    void theDisplaySwitchIsThatOfTheSingleInstance();
};

void tst_clientparams::aNewManagerHoldsTheDefaultsOfTheDataCentre()
{
    const paramSettingForClient param = service().getParamSettingForClient();
    QCOMPARE(param.reportRefreshTime, 500);
    QCOMPARE(param.indexSortUpdate, 300);
    QCOMPARE(param.riseCompareTime, 300);
    QCOMPARE(param.delayRefreshTime, 0);
    QCOMPARE(param.oMinDataRestorePeroid, 0);
    QCOMPARE(param.fMinDataRestorePeroid, 0);
    QCOMPARE(param.tickRestoreDay, 1);
    QCOMPARE(param.flashKeepDataPeriod, 0);
    QCOMPARE(param.graphDisplay, 0);
    QCOMPARE(param.m_multiDaylines, 3);
    QCOMPARE(param.m_multiHourlines, 3);
    QCOMPARE(param.m_multiMinutelines, 3);
    QCOMPARE(param.m_multiTicklines, 0);
}

void tst_clientparams::aNewManagerHoldsTheDefaultsOfTheClient()
{
    const paramSettingForClient param = service().getParamSettingForClient();
    QCOMPARE(param.monitorClipboard, 0);
    QCOMPARE(param.showAllQuoteData, 0);
    QCOMPARE(param.formulaDebug, 0);
    QCOMPARE(param.InitPopTaskCondition, 80);
    QCOMPARE(param.updateposition, false);
    QCOMPARE(param.groupSignalCondition, 80);
    QCOMPARE(param.groupSignalRunTime, QString("00:00"));
    QCOMPARE(param.updateF10DateTime, QString());
    QCOMPARE(param.smartKeyConfig, -1);
    QCOMPARE(param.qsSmartKeyConfig, QString(c_szCategories));
    QCOMPARE(param.dividDataTime, 1);
    QCOMPARE(param.extParam1, 50);
    QCOMPARE(param.wholeQuoter, 1);
    for (const std::int32_t nExt :
         { param.extParam2, param.extParam3, param.extParam4, param.extParam5 }) {
        QCOMPARE(nExt, 0);
    }
    for (const QString& text :
         { param.oaAddress, param.oaTableName, param.oaUser, param.oaPassword }) {
        QCOMPARE(text, QString());
    }
    QCOMPARE(param.showGradient, true);
    QCOMPARE(param.extFlag1, true);
    QCOMPARE(param.showParamRank, false);
    QCOMPARE(param.m_bFilterFutureOptCheck, false);
}

void tst_clientparams::theRecordBeginsWithTheDataCentresOptions()
{
    paramSettingForClient param;
    se::RPCOptionSettings& options = param;
    QCOMPARE(static_cast<void*>(&options), static_cast<void*>(&param));
    param.m_multiTicklines = 9;
    QCOMPARE(options.m_multiTicklines, 9);
}

void tst_clientparams::aCopyOfARecordIsIndependent()
{
    const paramSettingForClient param = service().getParamSettingForClient();
    paramSettingForClient copy = param;
    copy.qsSmartKeyConfig = "1";
    QCOMPARE(param.qsSmartKeyConfig, QString(c_szCategories));
}

void tst_clientparams::aRecordSetIsTheRecordGot()
{
    service().setParamSettingForClient(unusual());
    compareAllFields(service().getParamSettingForClient(), unusual());
}

void tst_clientparams::settingChangesMemoryOnly()
{
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    recording::reset();
    service().setParamSettingForClient(unusual());
    QCOMPARE(recording::calls(), QStringList());
    QCOMPARE(readFile(livePath()), QByteArray("<ICUserConfigFile/>"));
}

void tst_clientparams::updateDataCenterSettingTellsTheEngineTheLineCounts()
{
    se::RPCOptionSettings settings;
    settings.m_multiDaylines = 5;
    settings.m_multiHourlines = 4;
    settings.m_multiMinutelines = 2;
    settings.m_multiTicklines = 9;
    service().updateDataCenterSetting(settings);
    QCOMPARE(recording::calls(),
             QStringList("CFormulaManager::setOptionSettings(md 5, mh 4, mm 2, mt 9)"));
    compareAllFields(service().getParamSettingForClient(), paramSettingForClient());
}

void tst_clientparams::updateAccerPeriodStoresNothing()
{
    service().updateAccerPeriod(10);
    compareAllFields(service().getParamSettingForClient(), paramSettingForClient());
}

void tst_clientparams::onlyOneTurnsTheDisplaySwitchOn_data()
{
    QTest::addColumn<int>("entry");
    QTest::addColumn<bool>("on");
    QTest::newRow("0") << 0 << false;
    QTest::newRow("1") << 1 << true;
    QTest::newRow("2") << 2 << false;
    QTest::newRow("-1") << -1 << false;
}

void tst_clientparams::onlyOneTurnsTheDisplaySwitchOn()
{
    QFETCH(int, entry);
    QFETCH(bool, on);
    recording::answers().displaySwitch = entry;
    service().readFN10DisplayConfig();
    QCOMPARE(manager().m_bDbifEnable, on);
}

void tst_clientparams::nothingTurnsTheDisplaySwitchOff()
{
    recording::answers().displaySwitch = 1;
    service().readFN10DisplayConfig();
    recording::answers().displaySwitch = 0;
    service().readFN10DisplayConfig();
    QVERIFY(manager().m_bDbifEnable);
}

void tst_clientparams::theDisplaySwitchIsThatOfTheSingleInstance()
{
    COpenManager other;
    recording::answers().displaySwitch = 1;
    other.readFN10DisplayConfig();
    QVERIFY(!other.m_bDbifEnable);
    QVERIFY(manager().m_bDbifEnable);
}

QTEST_GUILESS_MAIN(tst_clientparams)
#include "tst_clientparams.moc"
