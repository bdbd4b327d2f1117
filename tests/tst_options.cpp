#include "librarytest.h"
#include "recording.h"

#include "indexuser/optionsettings.h"

using KW::OptionRow;
using KW::OptionSaved;
using KW::paramSettingForClient;

namespace {

void load(COpenManager& manager, const QString& xml)
{
    const QDomDocument doc = parsed(xml);
    QDomElement root = doc.documentElement();
    manager.loadOptionSettings(root);
}

paramSettingForClient loaded(const QString& attributes)
{
    COpenManager manager;
    load(manager, QString("<r><Option><Settings %1/></Option></r>").arg(attributes));
    return manager.getParamSettingForClient();
}

QDomElement savedOption(COpenManager& manager)
{
    QDomDocument doc;
    QDomElement option = doc.createElement("Option");
    doc.appendChild(option);
    manager.saveOptionSettings(option, doc);
    return option;
}

QDomElement savedSettings(COpenManager& manager)
{
    return savedOption(manager).firstChildElement("Settings");
}

// A value for a field that is none of the defaults.
void change(std::int32_t& value)
{
    value += 17;
}

void change(bool& value)
{
    value = !value;
}

void change(QString& value)
{
    value += QStringLiteral("改 <&\"'>\n");
}

} // namespace

class tst_options : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void thirtyThreeAreReadAndTwentyNineWritten();
    void theTableHasItsOrder();
    void withoutOptionNothingChangesAndNobodyIsTold();
    void anOptionWithoutChildrenStillTellsTheEngine();
    void theFirstOptionInTheDocumentIsRead();
    void theFirstOptionCountsWhateverTheHelperFinds();
    void allChildrenOfOptionAreRead_data();
    void allChildrenOfOptionAreRead();
    void numbersAreReadInBaseTen_data();
    void numbersAreReadInBaseTen();
    void booleansAreNumbers_data();
    void booleansAreNumbers();
    void anEmptyTextIsStored();
    void anAbsentAttributeLeavesItsField();
    void theSecondNameOfGraphDisplayWins();
    void aBooleanIsSavedAsOneOrZero();
    void readOnlyOptionsAreTakenInAndNotWritten();
    void everyWrittenOptionSurvivesSaveAndLoad();
    void theLoadEndsWithTheEngineThroughTheVirtualOperation();
    void saveAppendsOneSettingsElement();
    void saveSmartKeyboardSettingChangesMemoryOnly();
    void loadingAnnouncesNothing();
};

void tst_options::thirtyThreeAreReadAndTwentyNineWritten()
{
    int nWritten = 0;
    for (const OptionRow& row : KW::optionTable()) {
        nWritten += row.saved == OptionSaved::Yes ? 1 : 0;
    }
    QCOMPARE(KW::optionTable().size(), std::size_t(33));
    QCOMPARE(nWritten, 29);
}

void tst_options::theTableHasItsOrder()
{
    QStringList names;
    for (const OptionRow& row : KW::optionTable()) {
        names.append(row.strAttribute);
    }
    QCOMPARE(names.join(' '),
             QString("reportRefreshTime indexSortUpdate riseCompareTime delayRefreshTime "
                     "oMinDataRestorePeroid fMinDataRestorePeroid tickRestoreDay "
                     "flashKeepDataPeriod graphDisplay monitorClipboard showAllQuoteData "
                     "formulaDebug InitPopTaskCondition updateposition groupSignalCondition "
                     "groupSignalRunTime updateF10DateTime smartKeyConfig qsSmartKeyConfig "
                     "oaAddress oaTableName oaUser oaPassword dividDataTime m_graphDisplay "
                     "m_multiDaylines m_multiHourlines m_multiMinutelines m_multiTicklines "
                     "showGradient showParamRank m_bFilterFutureOptCheck wholeQuoter"));
}

void tst_options::withoutOptionNothingChangesAndNobodyIsTold()
{
    COpenManager manager;
    load(manager, "<r><Settings reportRefreshTime=\"1\"/></r>");
    QCOMPARE(manager.getParamSettingForClient().reportRefreshTime, 500);
    QCOMPARE(recording::calls(), QStringList());
}

void tst_options::anOptionWithoutChildrenStillTellsTheEngine()
{
    COpenManager manager;
    load(manager, "<r><Option/></r>");
    QCOMPARE(recording::calls(),
             QStringList("CFormulaManager::setOptionSettings(md 3, mh 3, mm 3, mt 0)"));
}

void tst_options::theFirstOptionInTheDocumentIsRead()
{
    COpenManager manager;
    load(manager,
         "<r><other><Option><Settings reportRefreshTime=\"1\"/></Option></other>"
         "<Option><Settings reportRefreshTime=\"2\" tickRestoreDay=\"9\"/></Option></r>");
    QCOMPARE(manager.getParamSettingForClient().reportRefreshTime, 1);
    QCOMPARE(manager.getParamSettingForClient().tickRestoreDay, 1);
}

void tst_options::theFirstOptionCountsWhateverTheHelperFinds()
{
    const auto nothing = [](const QDomElement&, const QString&) { return QDomElement(); };
    const auto child = [](const QDomElement& parent, const QString& name) {
        return parent.firstChildElement(name);
    };
    for (const auto& helper : { std::function<QDomElement(const QDomElement&, const QString&)>(),
                                { nothing },
                                { child } }) {
        recording::answers().subElement = helper;
        COpenManager manager;
        load(manager,
             "<r><x><y><Option><Settings tickRestoreDay=\"7\"/></Option></y></x>"
             "<Option><Settings tickRestoreDay=\"8\"/></Option></r>");
        QCOMPARE(manager.getParamSettingForClient().tickRestoreDay, 7);
    }
}

void tst_options::allChildrenOfOptionAreRead_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("refreshTime");
    QTest::newRow("a later child overrides an earlier one")
        << "<Option><Settings reportRefreshTime=\"100\"/><Settings reportRefreshTime=\"200\"/>"
           "</Option>"
        << 200;
    QTest::newRow("attribute by attribute")
        << "<Option><Settings reportRefreshTime=\"100\"/><Settings oaUser=\"u\"/></Option>" << 100;
    QTest::newRow("the name of the child does not matter")
        << "<Option><Anything reportRefreshTime=\"100\"/></Option>" << 100;
    QTest::newRow("attributes of Option itself are ignored")
        << "<Option reportRefreshTime=\"100\"/>" << 500;
}

void tst_options::allChildrenOfOptionAreRead()
{
    QFETCH(QString, option);
    QFETCH(int, refreshTime);
    COpenManager manager;
    load(manager, "<r>" + option + "</r>");
    QCOMPARE(manager.getParamSettingForClient().reportRefreshTime, refreshTime);
}

void tst_options::numbersAreReadInBaseTen_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("usual") << "750" << 750;
    QTest::newRow("negative") << "-1" << -1;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("word") << "abc" << 0;
    QTest::newRow("fraction") << "1.5" << 0;
    QTest::newRow("hexadecimal") << "0x1f" << 0;
    QTest::newRow("smallest") << "-2147483648" << INT32_MIN;
    QTest::newRow("too small") << "-2147483649" << 0;
    QTest::newRow("too large") << "99999999999" << 0;
}

void tst_options::numbersAreReadInBaseTen()
{
    QFETCH(QString, text);
    QFETCH(int, number);
    QCOMPARE(loaded(QString("tickRestoreDay=\"%1\"").arg(text)).tickRestoreDay, number);
}

void tst_options::booleansAreNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("value");
    QTest::newRow("1") << "1" << true;
    QTest::newRow("7") << "7" << true;
    QTest::newRow("-1") << "-1" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("the word true") << "true" << false;
    QTest::newRow("empty") << "" << false;
}

void tst_options::booleansAreNumbers()
{
    QFETCH(QString, text);
    QFETCH(bool, value);
    QCOMPARE(loaded(QString("showGradient=\"%1\"").arg(text)).showGradient, value);
}

void tst_options::anEmptyTextIsStored()
{
    QCOMPARE(loaded("qsSmartKeyConfig=\"\"").qsSmartKeyConfig, QString());
}

void tst_options::anAbsentAttributeLeavesItsField()
{
    COpenManager manager;
    manager.saveSmartKeyboardSetting(5, "1,2");
    load(manager, "<r><Option><Settings oaUser=\"u\"/></Option></r>");
    QCOMPARE(manager.getParamSettingForClient().smartKeyConfig, 5);
    QCOMPARE(manager.getParamSettingForClient().qsSmartKeyConfig, QString("1,2"));
    QCOMPARE(manager.getParamSettingForClient().oaUser, QString("u"));
}

void tst_options::theSecondNameOfGraphDisplayWins()
{
    COpenManager manager;
    load(manager, "<r><Option><Settings m_graphDisplay=\"5\" graphDisplay=\"2\"/></Option></r>");
    QCOMPARE(manager.getParamSettingForClient().graphDisplay, 5);
    const QDomElement settings = savedSettings(manager);
    QCOMPARE(settings.attribute("graphDisplay"), QString("5"));
    QCOMPARE(settings.attribute("m_graphDisplay"), QString("5"));
}

void tst_options::aBooleanIsSavedAsOneOrZero()
{
    COpenManager manager;
    load(manager, "<r><Option><Settings showGradient=\"7\" showParamRank=\"no\"/></Option></r>");
    const QDomElement settings = savedSettings(manager);
    QCOMPARE(settings.attribute("showGradient"), QString("1"));
    QCOMPARE(settings.attribute("showParamRank"), QString("0"));
}

void tst_options::readOnlyOptionsAreTakenInAndNotWritten()
{
    const QString strAttributes = "InitPopTaskCondition=\"1\" updateposition=\"1\" "
                                  "groupSignalCondition=\"2\" groupSignalRunTime=\"09:30\"";
    COpenManager manager;
    load(manager, "<r><Option><Settings " + strAttributes + "/></Option></r>");
    const paramSettingForClient read = manager.getParamSettingForClient();
    QCOMPARE(read.InitPopTaskCondition, 1);
    QVERIFY(read.updateposition);
    QCOMPARE(read.groupSignalCondition, 2);
    QCOMPARE(read.groupSignalRunTime, QString("09:30"));

    const QDomElement settings = savedSettings(manager);
    for (const char* pszName : { "InitPopTaskCondition", "updateposition", "groupSignalCondition",
                                 "groupSignalRunTime" }) {
        QVERIFY2(!settings.hasAttribute(pszName), pszName);
    }
    COpenManager next;
    QDomElement root = savedOption(manager).ownerDocument().documentElement();
    next.loadOptionSettings(root);
    QCOMPARE(next.getParamSettingForClient().groupSignalRunTime, QString("00:00"));
}

void tst_options::everyWrittenOptionSurvivesSaveAndLoad()
{
    COpenManager manager;
    paramSettingForClient param;
    for (const OptionRow& row : KW::optionTable()) {
        std::visit([&](auto pField) { change(param.*pField); }, row.field);
    }
    manager.setParamSettingForClient(param);
    QDomDocument doc = parsed("<r/>");
    QDomElement root = doc.documentElement();
    QDomElement option = root.appendChild(doc.createElement("Option")).toElement();
    manager.saveOptionSettings(option, doc);

    COpenManager next;
    load(next, doc.toString(4));
    const paramSettingForClient read = next.getParamSettingForClient();
    const paramSettingForClient defaults;
    for (const OptionRow& row : KW::optionTable()) {
        const paramSettingForClient& expected = row.saved == OptionSaved::Yes ? param : defaults;
        std::visit([&](auto pField) { QCOMPARE(read.*pField, expected.*pField); }, row.field);
    }
    QCOMPARE(option.firstChildElement().attributes().size(), 29);
}

void tst_options::theLoadEndsWithTheEngineThroughTheVirtualOperation()
{
    class COverride : public COpenManager {
    public:
        void updateDataCenterSetting(se::RPCOptionSettings& settings) override
        {
            recording::record(QString("override %1").arg(settings.m_multiDaylines));
        }
    };
    COverride manager;
    load(manager, "<r><Option><Settings m_multiDaylines=\"8\"/></Option></r>");
    QCOMPARE(recording::calls(), QStringList("override 8"));
}

void tst_options::saveAppendsOneSettingsElement()
{
    COpenManager manager;
    const QDomElement option = savedOption(manager);
    QCOMPARE(option.childNodes().size(), 1);
    QVERIFY(!option.hasAttributes());
    QCOMPARE(option.firstChildElement().attribute("smartKeyConfig"), QString("-1"));
}

void tst_options::saveSmartKeyboardSettingChangesMemoryOnly()
{
    int nFired = 0;
    service().sigStockListChanged.connect([&] { ++nFired; });
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    nFired = 0;
    service().saveSmartKeyboardSetting(5, "1,2");
    QCOMPARE(service().getParamSettingForClient().smartKeyConfig, 5);
    QCOMPARE(service().getParamSettingForClient().qsSmartKeyConfig, QString("1,2"));
    QCOMPARE(readFile(livePath()), QByteArray("<ICUserConfigFile/>"));
    QCOMPARE(nFired, 0);
    saveAndWait(service());
    QVERIFY(readFile(livePath()).contains("qsSmartKeyConfig=\"1,2\""));
}

void tst_options::loadingAnnouncesNothing()
{
    COpenManager manager;
    const QSignalSpy options(&manager, &KW::CUserConfigManager::sigOptionSettingChange);
    load(manager, "<r><Option><Settings reportRefreshTime=\"1\"/></Option></r>");
    manager.setParamSettingForClient(paramSettingForClient());
    savedOption(manager);
    QCOMPARE(options.count(), 0);
}

QTEST_GUILESS_MAIN(tst_options)
#include "tst_options.moc"
