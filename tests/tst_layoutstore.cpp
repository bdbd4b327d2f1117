#include "layouts.h"
#include "librarytest.h"
#include "recording.h"

#include <type_traits>

using KW::CLayoutTemplate;
using KW::CLayoutWindow;
using KW::CPanelGroupLayoutConfig;
using KW::CPanelGroupLayoutSetting;

static_assert(std::has_virtual_destructor_v<CLayoutWindow>);
static_assert(std::is_copy_assignable_v<CLayoutWindow>);
static_assert(!std::is_polymorphic_v<CPanelGroupLayoutSetting>);
static_assert(!std::is_polymorphic_v<CPanelGroupLayoutConfig>);
static_assert(std::is_move_constructible_v<CLayoutTemplate>);

namespace {

// The two families of panel groups have the same operations save removal.
struct GroupOperations {
    void (CPanelGroupLayoutConfig::*add)(const CPanelGroupLayoutSetting&);
    bool (CPanelGroupLayoutConfig::*get)(QString, CPanelGroupLayoutSetting&) const;
};

const GroupOperations& operations(bool formula)
{
    static const GroupOperations s_formula {
        &CPanelGroupLayoutConfig::addFormulaPanelSetting,
        &CPanelGroupLayoutConfig::getFormulaPanelGroupSetting
    };
    static const GroupOperations s_value { &CPanelGroupLayoutConfig::addValuePanelSetting,
                                           &CPanelGroupLayoutConfig::getValuePanelSetting };
    return formula ? s_formula : s_value;
}

QDomElement rootOf(const QDomDocument& doc)
{
    return doc.documentElement();
}

} // namespace

class tst_layoutstore : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aNewWindowIsBlank();
    void aCopyOfAWindowOutlivesItsSource();
    void treesAreFreedWithTheirLastWindow();
    void addingAppendsWithoutLookingForDuplicates();
    void updateReplacesTheFirstWindowOfTheGroup();
    void updateOfAnUnknownGroupAppends();
    void clearingQuoteWindowsSparesGroup6000();
    void clearingTradeWindowsSparesNone();
    void saveTradeGroupSettingTakesTheWholeRecord();
    void loadLayoutFromDefaultCopiesTheWholeRecord();
    void loadLayoutFromAnEmptyDefaultEmptiesTheQuoteLayout();
    void gettersReturnCopies();
    void aCopyOfTheStoreIsIndependent();

    void anEmptyKeyIsNotAdded_data() { families(); }
    void anEmptyKeyIsNotAdded();
    void anEmptyKeyIsNeverFound_data() { families(); }
    void anEmptyKeyIsNeverFound();
    void addingTwiceKeepsTheSecond_data() { families(); }
    void addingTwiceKeepsTheSecond();
    void anAbsentKeyLeavesTheOutputAlone_data() { families(); }
    void anAbsentKeyLeavesTheOutputAlone();
    void keysAreExact_data() { families(); }
    void keysAreExact();
    void familiesAreApart_data() { families(); }
    void familiesAreApart();

    void removingAnAbsentValueKeyChangesNothing();
    void aRemovedValueKeyIsGoneFromTheFileToo();
    void anEmptyValueKeyCanBeRemoved();

private:
    static void families();
};

void tst_layoutstore::families()
{
    QTest::addColumn<bool>("formula");
    QTest::newRow("formula") << true;
    QTest::newRow("value") << false;
}

void tst_layoutstore::aNewWindowIsBlank()
{
    const CLayoutWindow window;
    QVERIFY(!window.m_bIsMain && !window.m_bMaximized && !window.m_pItemLayout);
    QCOMPARE(window.m_nScreenId, 0);
    QCOMPARE(window.m_nPanelGroupId, 0);
    QCOMPARE(window.m_strNavTree, QString());
    QCOMPARE(window.m_rect, QRect());
}

void tst_layoutstore::aCopyOfAWindowOutlivesItsSource()
{
    const QDomDocument doc = parsed("<tree/>");
    QDomElement element = rootOf(doc);
    CPanelGroupLayoutConfig store;
    {
        CLayoutWindow window = windowOf(1);
        window.m_pItemLayout.reset(MV::ILayoutElement::fromXml(element));
        store.addQuotePanelSetting(window);
    }
    const CLayoutWindow kept = store.getQuoteGroupSetting().m_windows.first();
    store.clearQuoteWindowLayout();
    QDomDocument out = parsed("<parent/>");
    QDomElement parent = rootOf(out);
    kept.m_pItemLayout->toXml(parent, out);
    QCOMPARE(out.toString(-1), QString("<parent><tree/></parent>"));
}

void tst_layoutstore::treesAreFreedWithTheirLastWindow()
{
    const int nBefore = recording::liveTrees();
    {
        const QDomDocument doc = parsed("<r><IndexLayout><LayoutWindow><tree/></LayoutWindow>"
                                        "</IndexLayout></r>");
        QDomElement root = rootOf(doc);
        CPanelGroupLayoutConfig store;
        store.loadSetting(root);
        store.saveLayoutToTemplate("copy");
        store.clearQuoteWindowLayout();
        QCOMPARE(recording::liveTrees(), nBefore + 1);
        store.deleteTemplate("copy");
        QCOMPARE(recording::liveTrees(), nBefore);
        store.loadSetting(root);
    }
    QCOMPARE(recording::liveTrees(), nBefore);
}

void tst_layoutstore::addingAppendsWithoutLookingForDuplicates()
{
    CPanelGroupLayoutConfig store;
    for (const int nGroup : { 3, 3, 1 }) {
        store.addQuotePanelSetting(windowOf(nGroup));
        store.addTradePanelSetting(windowOf(nGroup + 10));
    }
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 3, 3, 1 }));
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 13, 13, 11 }));
}

void tst_layoutstore::updateReplacesTheFirstWindowOfTheGroup()
{
    CPanelGroupLayoutConfig store;
    for (const int nGroup : { 1, 2, 2 }) {
        store.addQuotePanelSetting(windowOf(nGroup));
    }
    CLayoutWindow window = windowOf(2);
    window.m_strNavTree = "new";
    window.m_rect = QRect(1, 2, 3, 4);
    store.updateQuotePanelSet(window);
    const QVector<CLayoutWindow> windows = store.getQuoteGroupSetting().m_windows;
    QCOMPARE(windows.size(), 3);
    QCOMPARE(windows[1].m_strNavTree, QString("new"));
    QCOMPARE(windows[1].m_rect, QRect(1, 2, 3, 4));
    QCOMPARE(windows[2].m_strNavTree, QString());
}

void tst_layoutstore::updateOfAnUnknownGroupAppends()
{
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(windowOf(1));
    store.updateQuotePanelSet(windowOf(2));
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 1, 2 }));
}

void tst_layoutstore::clearingQuoteWindowsSparesGroup6000()
{
    CPanelGroupLayoutConfig store;
    const QList<int> groups { 6000, 1, 6000, 2 };
    for (int i = 0; i < groups.size(); ++i) {
        CLayoutWindow window = windowOf(groups[i]);
        window.m_nScreenId = i;
        store.addQuotePanelSetting(window);
    }
    store.clearQuoteWindowLayout();
    const QVector<CLayoutWindow> windows = store.getQuoteGroupSetting().m_windows;
    QCOMPARE(windows.size(), 2);
    QCOMPARE(windows[0].m_nScreenId, 0);
    QCOMPARE(windows[1].m_nScreenId, 2);
}

void tst_layoutstore::clearingTradeWindowsSparesNone()
{
    CPanelGroupLayoutConfig store;
    store.addTradePanelSetting(windowOf(6000));
    store.addTradePanelSetting(windowOf(1));
    store.clearTradeWindowLayout();
    QVERIFY(store.getTradeGroupSetting().m_windows.isEmpty());
}

void tst_layoutstore::saveTradeGroupSettingTakesTheWholeRecord()
{
    CPanelGroupLayoutConfig store;
    store.addTradePanelSetting(windowOf(1));
    store.saveTradeGroupSetting(groupOf("key", { 7, 8 }));
    QCOMPARE(store.getTradeGroupSetting().m_strKey, QString("key"));
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 7, 8 }));
}

void tst_layoutstore::loadLayoutFromDefaultCopiesTheWholeRecord()
{
    const QDomDocument doc = parsed("<r><DefaultLayout><LayoutWindow panelgroup_id=\"5\"/>"
                                    "</DefaultLayout></r>");
    QDomElement root = rootOf(doc);
    CPanelGroupLayoutConfig store;
    store.loadSetting(root);
    store.addQuotePanelSetting(windowOf(1));
    store.loadLayoutFromDefault();
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 5 }));
}

void tst_layoutstore::loadLayoutFromAnEmptyDefaultEmptiesTheQuoteLayout()
{
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(windowOf(6000));
    store.loadLayoutFromDefault();
    QVERIFY(store.getQuoteGroupSetting().m_windows.isEmpty());
}

void tst_layoutstore::gettersReturnCopies()
{
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(windowOf(1));
    CPanelGroupLayoutSetting copy = store.getQuoteGroupSetting();
    copy.m_windows.clear();
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 1 }));
}

void tst_layoutstore::aCopyOfTheStoreIsIndependent()
{
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(windowOf(1));
    store.addValuePanelSetting(groupOf("key", { 2 }));
    store.saveLayoutToTemplate("template");
    CPanelGroupLayoutConfig copy;
    copy = store;
    copy.clearQuoteWindowLayout();
    copy.removeValuePanelSetting("key");
    copy.deleteTemplate("template");

    CPanelGroupLayoutSetting setting;
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 1 }));
    QVERIFY(store.getValuePanelSetting("key", setting));
    QCOMPARE(store.getQuoteLayoutTemplate(), QList<QString>({ "template" }));
    QCOMPARE(copy.getQuoteLayoutTemplate(), QList<QString>());
}

void tst_layoutstore::anEmptyKeyIsNotAdded()
{
    QFETCH(bool, formula);
    CPanelGroupLayoutConfig store;
    (store.*operations(formula).add)(groupOf("", { 1 }));
    QDomDocument doc = parsed("<r/>");
    QDomElement root = rootOf(doc);
    store.saveSetting(root, doc);
    QVERIFY(doc.elementsByTagName("itemLayout").isEmpty());
}

void tst_layoutstore::anEmptyKeyIsNeverFound()
{
    QFETCH(bool, formula);
    const QString strXml = QString("<r><IndexPositionLayout><%1><itemLayout key=\"\">"
                                   "<LayoutWindow/></itemLayout></%1></IndexPositionLayout></r>")
                               .arg(formula ? "FormulaPanelGroupLayout" : "ValuePanelGroupLayout");
    const QDomDocument doc = parsed(strXml);
    QDomElement root = rootOf(doc);
    CPanelGroupLayoutConfig store;
    store.loadSetting(root);
    CPanelGroupLayoutSetting setting = groupOf("untouched", { 9 });
    QVERIFY(!(store.*operations(formula).get)("", setting));
    QCOMPARE(setting.m_strKey, QString("untouched"));
}

void tst_layoutstore::addingTwiceKeepsTheSecond()
{
    QFETCH(bool, formula);
    CPanelGroupLayoutConfig store;
    (store.*operations(formula).add)(groupOf("key", { 1 }));
    (store.*operations(formula).add)(groupOf("key", { 2, 3 }));
    CPanelGroupLayoutSetting setting;
    QVERIFY((store.*operations(formula).get)("key", setting));
    QCOMPARE(panelGroups(setting), QList<int>({ 2, 3 }));
    QCOMPARE(setting.m_strKey, QString("key"));
}

void tst_layoutstore::anAbsentKeyLeavesTheOutputAlone()
{
    QFETCH(bool, formula);
    CPanelGroupLayoutConfig store;
    CPanelGroupLayoutSetting setting = groupOf("untouched", { 9 });
    QVERIFY(!(store.*operations(formula).get)("absent", setting));
    QCOMPARE(setting.m_strKey, QString("untouched"));
    QCOMPARE(panelGroups(setting), QList<int>({ 9 }));
}

void tst_layoutstore::keysAreExact()
{
    QFETCH(bool, formula);
    CPanelGroupLayoutConfig store;
    (store.*operations(formula).add)(groupOf("Key", { 1 }));
    CPanelGroupLayoutSetting setting;
    QVERIFY(!(store.*operations(formula).get)("key", setting));
    QVERIFY(!(store.*operations(formula).get)(" Key", setting));
    QVERIFY((store.*operations(formula).get)("Key", setting));
}

void tst_layoutstore::familiesAreApart()
{
    QFETCH(bool, formula);
    CPanelGroupLayoutConfig store;
    (store.*operations(formula).add)(groupOf("key", { 1 }));
    CPanelGroupLayoutSetting setting;
    QVERIFY(!(store.*operations(!formula).get)("key", setting));
}

void tst_layoutstore::removingAnAbsentValueKeyChangesNothing()
{
    CPanelGroupLayoutConfig store;
    store.addValuePanelSetting(groupOf("key", { 1 }));
    store.removeValuePanelSetting("absent");
    CPanelGroupLayoutSetting setting;
    QVERIFY(store.getValuePanelSetting("key", setting));
}

void tst_layoutstore::aRemovedValueKeyIsGoneFromTheFileToo()
{
    CPanelGroupLayoutConfig store;
    store.addValuePanelSetting(groupOf("key", { 1 }));
    store.addFormulaPanelSetting(groupOf("key", { 1 }));
    store.removeValuePanelSetting("key");
    CPanelGroupLayoutSetting setting;
    QVERIFY(!store.getValuePanelSetting("key", setting));
    QVERIFY(store.getFormulaPanelGroupSetting("key", setting));
    QDomDocument doc = parsed("<r/>");
    QDomElement root = rootOf(doc);
    store.saveSetting(root, doc);
    QCOMPARE(doc.elementsByTagName("itemLayout").size(), 1);
}

void tst_layoutstore::anEmptyValueKeyCanBeRemoved()
{
    const QDomDocument doc = parsed("<r><IndexPositionLayout><ValuePanelGroupLayout><itemLayout>"
                                    "<LayoutWindow/></itemLayout></ValuePanelGroupLayout>"
                                    "</IndexPositionLayout></r>");
    QDomElement root = rootOf(doc);
    CPanelGroupLayoutConfig store;
    store.loadSetting(root);
    store.removeValuePanelSetting("");
    QDomDocument out = parsed("<r/>");
    QDomElement outRoot = rootOf(out);
    store.saveSetting(outRoot, out);
    QVERIFY(out.elementsByTagName("itemLayout").isEmpty());
}

QTEST_GUILESS_MAIN(tst_layoutstore)
#include "tst_layoutstore.moc"
