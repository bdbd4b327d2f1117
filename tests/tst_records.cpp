#include "layouts.h"
#include "librarytest.h"

#include <format/sectorfilter.h>
#include <indexuser/servicerecords.h>
#include <inspect/userdifferences.h>

Q_DECLARE_METATYPE(KW::CLayoutWindow)

// What a file holds as values: equal by what they hold, and what a save leaves of them.
class tst_records : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyOptionCounts();
    void whatOtherModulesKeepDoesNotCount();
    void stocksAreEqualByWhatTheFileKeeps();
    void filtersAreEqualByValue();
    void windowsAreEqualByValue_data();
    void windowsAreEqualByValue();
    void docksAreEqualByTheirTrees();
    void everyLayoutCounts();
    void aDifferenceIsAStructure();
    void aSaveLeavesWhatTheFileHolds();
    void ofTreesThatReadersTakeForTheirOwnTheReadersTell();
    void ofTextsASaveLeavesWhatAFileCanHold();
    void ofTreesASaveLeavesTheLevelsOfAFile();
};

namespace {

KW::CustomStockMap stocks(const char* pszName)
{
    const rxservice::CInstrumentDetail detail { "SH", "600000", pszName };
    return { { 2, { std::make_shared<rxservice::CInstrumentDetail>(detail) } } };
}

KW::CLayoutWindow docked(const QString& xml)
{
    KW::CLayoutWindow window = windowOf(7);
    QDomElement tree = parsed(xml).documentElement();
    window.m_pItemLayout.reset(MV::ILayoutElement::fromXml(tree));
    return window;
}

KW::UserRecords fromText(const QString& sections)
{
    return KW::recordsOf(parsed("<ICUserConfigFile>" + sections + "</ICUserConfigFile>"));
}

} // namespace

void tst_records::everyOptionCounts()
{
    for (const KW::OptionRow& row : KW::optionTable()) {
        KW::paramSettingForClient options;
        QVERIFY(options == KW::paramSettingForClient());
        KW::paramSettingForClient other = options;
        QVERIFY(options == other);
        if (auto ppField = std::get_if<QString KW::paramSettingForClient::*>(&row.field)) {
            other.*(*ppField) += 'x';
        } else if (auto ppFlag = std::get_if<bool KW::paramSettingForClient::*>(&row.field)) {
            other.*(*ppFlag) = !(other.*(*ppFlag));
        } else {
            ++(other.*std::get<std::int32_t KW::paramSettingForClient::*>(row.field));
        }
        QVERIFY2(options != other, qPrintable(row.strAttribute));
    }
}

void tst_records::whatOtherModulesKeepDoesNotCount()
{
    KW::paramSettingForClient options;
    options.extParam1 = 7;
    options.extFlag1 = false;
    QVERIFY(options == KW::paramSettingForClient());
}

void tst_records::stocksAreEqualByWhatTheFileKeeps()
{
    QVERIFY(KW::sameStocks(stocks("A"), stocks("A")));
    QVERIFY(!KW::sameStocks(stocks("A"), stocks("B")));
    QVERIFY(!KW::sameStocks(stocks("A"), {}));
    KW::CustomStockMap null = stocks("A");
    null[2][0] = nullptr;
    QVERIFY(!KW::sameStocks(stocks("A"), null));
    QVERIFY(KW::sameStocks(null, null));
}

void tst_records::filtersAreEqualByValue()
{
    const KW::SectorFilterItem item { 1, "绝对权重", 0.5, 2, 3 };
    const KW::SectorFilterMap filters { { "801010", { "Banks", { item } } } };
    for (const KW::SectorFilterItem& other : { KW::SectorFilterItem { 2, "绝对权重", 0.5, 2, 3 },
                                               { 1, "前收盘", 0.5, 2, 3 },
                                               { 1, "绝对权重", 0.6, 2, 3 },
                                               { 1, "绝对权重", 0.5, 3, 3 },
                                               { 1, "绝对权重", 0.5, 2, 4 } }) {
        QVERIFY(!(filters == KW::SectorFilterMap { { "801010", { "Banks", { other } } } }));
    }
    QVERIFY(filters == KW::SectorFilterMap({ { "801010", { "Banks", { item } } } }));
    QVERIFY(!(filters == KW::SectorFilterMap({ { "801010", { "Bank", { item } } } })));
}

void tst_records::windowsAreEqualByValue_data()
{
    QTest::addColumn<KW::CLayoutWindow>("other");
    const auto row = [](const char* pszName, auto change) {
        KW::CLayoutWindow window = docked("<a/>");
        change(window);
        QTest::newRow(pszName) << window;
    };
    row("screen", [](auto& window) { window.m_nScreenId = 2; });
    row("main", [](auto& window) { window.m_bIsMain = true; });
    row("maximized", [](auto& window) { window.m_bMaximized = true; });
    row("place", [](auto& window) { window.m_rect.moveLeft(1); });
    row("size", [](auto& window) { window.m_rect.setHeight(9); });
    row("tree of names", [](auto& window) { window.m_strNavTree = "x"; });
    row("group", [](auto& window) { window.m_nPanelGroupId = 8; });
    row("no panels", [](auto& window) { window.m_pItemLayout.reset(); });
    row("other panels", [](auto& window) { window = docked("<b/>"); });
}

void tst_records::windowsAreEqualByValue()
{
    QFETCH(KW::CLayoutWindow, other);
    QVERIFY(!(docked("<a/>") == other));
    QVERIFY(other == other);
    QVERIFY(docked("<a/>") == docked("<a/>"));
}

void tst_records::docksAreEqualByTheirTrees()
{
    QVERIFY(docked("<a x='1' y='2'><b/>t</a>") == docked("<a y='2' x='1'><b/>t</a>"));
    for (const char* pszOther : { "<a x='1'><b/>t</a>", "<a x='1' y='3'><b/>t</a>",
                                  "<a x='1' y='2'><b/>u</a>", "<a x='1' y='2'>t<b/></a>" }) {
        QVERIFY2(!(docked("<a x='1' y='2'><b/>t</a>") == docked(pszOther)), pszOther);
    }
}

void tst_records::everyLayoutCounts()
{
    using R = KW::LayoutRecord;
    const auto changed = [](auto change) {
        R record;
        change(record);
        return record;
    };
    const QVector<R> records {
        changed([](R& r) { r.m_quoteGroupSetting.m_windows.append(windowOf(1)); }),
        changed([](R& r) { r.m_defaultLayoutSetting.m_windows.append(windowOf(1)); }),
        changed([](R& r) { r.m_tradeGroupSetting.m_windows.append(windowOf(1)); }),
        changed([](R& r) {
            r.m_quoteTemplates = { { "A", {} } };
        }),
        changed([](R& r) {
            r.m_tradeTemplates = { { "A", {} } };
        }),
        changed([](R& r) { r.m_formulaPanelSettings.insert("k", groupOf("k", { 1 })); }),
        changed([](R& r) { r.m_valuePanelSettings.insert("k", groupOf("k", { 1 })); }),
    };
    for (const R& record : records) {
        QCOMPARE(records.count(record), 1);
        QVERIFY(!(record == R()));
    }
}

void tst_records::aDifferenceIsAStructure()
{
    const char* pszWindow = "<IndexLayout><LayoutWindow panelgroup_id='7' left='%1'/>"
                            "<LayoutWindow panelgroup_id='7' left='%2'/></IndexLayout>";
    const auto found = inspect::differences(fromText(QString(pszWindow).arg(1).arg(2)),
                                            fromText(QString(pszWindow).arg(1).arg(3)));
    QCOMPARE(found.size(), 1);
    QVERIFY(found[0].part == KW::UserPart::Layouts);
    QCOMPARE(found[0].strWhat, QString("IndexLayout/LayoutWindow"));
    QCOMPARE(found[0].strKey, QString("7"));
    QCOMPARE(found[0].nEntry, 2);
    QCOMPARE(found[0].strField, QString("left"));
    QVERIFY(found[0].left == QString("2") && found[0].right == QString("3"));
    QCOMPARE(inspect::toText(found[0]),
             QString("IndexLayout/LayoutWindow[7] #2@left: \"2\" -> \"3\""));
}

void tst_records::aSaveLeavesWhatTheFileHolds()
{
    KW::UserRecords records;
    records.options.groupSignalRunTime = "09:30";
    records.options.tickRestoreDay = 5;
    records.stocks = stocks("A");
    records.stocks[2].append(nullptr);
    records.stocks[-1] = records.stocks[2];
    records.layouts.m_formulaPanelSettings
        = { { "none", groupOf("none", {}) }, { "one", groupOf("one", { 1 }) } };
    records.layouts.m_quoteTemplates = { { "A", { windowOf(1) } } };
    records.layouts.m_quoteTemplates[0].m_windows[0].m_strNavTree = "x";
    records.sections = { { "GroupIndex", {}, { { "a", "1" } }, {} },
                         { "GroupIndex", {}, { { "a", "2" } }, {} },
                         { "Nobodys", {}, { { "a", "1" } }, {} } };

    KW::UserRecords saved;
    saved.options.tickRestoreDay = 5;
    saved.stocks = stocks("A");
    KW::CLayoutWindow whole;
    whole.m_nScreenId = 1;
    whole.m_bIsMain = true;
    whole.m_bMaximized = true;
    saved.layouts.m_quoteGroupSetting.m_windows = { whole };
    saved.layouts.m_formulaPanelSettings = { { "one", groupOf("one", { 1 }) } };
    saved.layouts.m_quoteTemplates = { { "A", { windowOf(1) } } };
    saved.sections = { { "GroupIndex", {}, { { "a", "1" } }, {} } };
    for (const auto& each : inspect::differences(KW::savedForm(records), saved)) {
        QWARN(qPrintable(inspect::toText(each)));
    }
    QVERIFY(KW::savedForm(records) == saved);
    QVERIFY(!(records == saved));
}

void tst_records::ofTreesThatReadersTakeForTheirOwnTheReadersTell()
{
    const auto before = fromText("<DefaultLayout><LayoutWindow panelgroup_id='1'><Dock>"
                                 "<LayoutWindow panelgroup_id='2'/></Dock></LayoutWindow>"
                                 "</DefaultLayout>");
    QCOMPARE(before.layouts.m_defaultLayoutSetting.m_windows.size(), 2);
    QCOMPARE(KW::savedForm(before).layouts.m_defaultLayoutSetting.m_windows.size(), 3);
    KW::UserRecords odd;
    odd.options.oaUser = QString("a") + QChar(0xfffe);
    QCOMPARE(KW::savedForm(odd).options.oaUser, QString("a"));
}

void tst_records::ofTextsASaveLeavesWhatAFileCanHold()
{
    const QString strOdd = QString("a") + QChar(0xfffe) + QChar(0xd800);
    KW::UserRecords records;
    records.stocks = stocks("A");
    records.stocks[2][0]->name = "b\xff";
    records.layouts.m_valuePanelSettings[strOdd] = groupOf(strOdd, { 1 });
    records.layouts.m_tradeTemplates = { { strOdd, { windowOf(1) } } };
    records.layouts.m_defaultLayoutSetting.m_windows = { windowOf(1) };
    records.layouts.m_defaultLayoutSetting.m_windows[0].m_strNavTree = strOdd;
    const KW::UserRecords saved = KW::savedForm(records);
    QCOMPARE(saved.stocks[2][0]->name, std::string("b\xef\xbf\xbd"));
    QCOMPARE(records.stocks[2][0]->name, std::string("b\xff"));
    QCOMPARE(saved.layouts.m_valuePanelSettings.keys(), QStringList("a"));
    QCOMPARE(saved.layouts.m_valuePanelSettings["a"].m_strKey, QString("a"));
    QCOMPARE(saved.layouts.m_tradeTemplates[0].m_strName, QString("a"));
    QCOMPARE(saved.layouts.m_defaultLayoutSetting.m_windows[0].m_strNavTree, QString("a"));
}

// Root, section and window come before its panels; groups have two levels more.
void tst_records::ofTreesASaveLeavesTheLevelsOfAFile()
{
    const auto chain = [](int levels) {
        return "<a>" + QString("<b>").repeated(levels - 1) + QString("</b>").repeated(levels - 1)
            + "</a>";
    };
    KW::UserRecords records;
    records.layouts.m_defaultLayoutSetting.m_windows = { docked(chain(510)) };
    records.layouts.m_valuePanelSettings["k"] = { "k", { docked(chain(510)) } };
    records.sections = { KW::elementTree(
        parsed("<drawGraph>" + chain(512) + "</drawGraph>").documentElement()) };
    const KW::UserRecords saved = KW::savedForm(records);
    const auto levels = [](const KW::CLayoutWindow& window) {
        return 1 + KW::elementCount(KW::panelTree(window));
    };
    QCOMPARE(levels(saved.layouts.m_defaultLayoutSetting.m_windows[0]), 509);
    QCOMPARE(levels(saved.layouts.m_valuePanelSettings["k"].m_windows[0]), 507);
    QCOMPARE(KW::elementCount(saved.sections[0]), 510);
}

QTEST_GUILESS_MAIN(tst_records)
#include "tst_records.moc"
