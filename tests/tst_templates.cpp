#include "layouts.h"
#include "librarytest.h"
#include "recording.h"

using KW::CLayoutWindow;
using KW::CPanelGroupLayoutConfig;
using KW::CPanelGroupLayoutSetting;

namespace {

using Store = CPanelGroupLayoutConfig;

// The twins: what quote templates and trade templates are called.
struct Twin {
    QString strSection;
    QString strTemplate;
    QString strWindow;
    void (Store::*add)(const CLayoutWindow&);
    void (Store::*clear)();
    CPanelGroupLayoutSetting (Store::*current)();
    void (Store::*restore)(QString);
    void (Store::*save)(QString);
    void (Store::*rename)(QString, QString);
    void (Store::*remove)(QString);
    QList<QString> (Store::*names)();
    void (Store::*importFrom)(QString, QDomElement&);
    void (Store::*exportTo)(QString, QDomElement&, QDomDocument&);
};

const Twin& twin(bool trade)
{
    static const Twin s_quote { "LayoutTemplates",
                                "LayoutTemplate",
                                "LayoutWindowTemplate",
                                &Store::addQuotePanelSetting,
                                &Store::clearQuoteWindowLayout,
                                &Store::getQuoteGroupSetting,
                                &Store::loadLayoutFromTemplate,
                                &Store::saveLayoutToTemplate,
                                &Store::renameTemplate,
                                &Store::deleteTemplate,
                                &Store::getQuoteLayoutTemplate,
                                &Store::loadSingleLayoutTemplates,
                                &Store::saveSingleLayoutTemplates };
    static const Twin s_trade { "tradeLayoutTemplates",
                                "tradeLayoutTemplate",
                                "tradeWindowTemplate",
                                &Store::addTradePanelSetting,
                                &Store::clearTradeWindowLayout,
                                &Store::getTradeGroupSetting,
                                &Store::loadTradeLayoutFromTemplate,
                                &Store::saveTradeLayoutToTemplate,
                                &Store::renameTradeTemplate,
                                &Store::deleteTradeTemplate,
                                &Store::getTradeLayoutTemplate,
                                &Store::loadSingleTradeLayoutTemplates,
                                &Store::saveSingleTradeLayoutTemplates };
    return trade ? s_trade : s_quote;
}

using Names = QList<QString>;

} // namespace

/// Every function runs for quote and for trade templates.
class tst_templates : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void saveMovesATakenNameToTheEnd();
    void deleteRemovesTheFirstOfAName();
    void saveOverADoubleNameLeavesTheOlderOne();
    void renameOntoATakenNameMakesTwo();
    void restoreUsesTheFirstOfAName();
    void unknownNamesChangeNothing();
    void anEmptyNameIsAName();
    void restoreOfAnEmptyTemplateEmptiesTheLayout();
    void restoreKeepsTheKeyOfTheLayout();
    void templatesAreCopies();
    void theOtherKindIsNeverTouched();
    void theListIsReadInFileOrderWithDuplicates();
    void aMissingSectionEmptiesTheList();
    void aTemplateWithoutNameHasTheEmptyName();
    void theNavTreeStaysOutOfTheFile();
    void aTemplateOnlyInMemoryKeepsTheNavTree();
    void windowsComeBackFromTheFile();
    void importSkipsTakenNames();
    void importOfDuplicatesTakesTheFirst();
    void importDoesNotLookAtTheContainerItself();
    void importIgnoresItsName();
    void exportOfAnUnknownNameWritesNothing();
    void exportWritesTheFirstOfAName();
    void anExportCanBeImported();

private:
    static const Twin& kind();
    static const Twin& other();
    /// A store whose templates have \a names and windows of panel groups 1, 2, 3 ...
    static Store storeOf(const Names& names);
    static Names names(Store& store) { return (store.*kind().names)(); }
    static QList<int> restored(Store& store, const QString& name);
    static QDomDocument saved(Store& store);
    static void load(Store& store, const QString& content);
};

const Twin& tst_templates::kind()
{
    QFETCH_GLOBAL(bool, trade);
    return twin(trade);
}

const Twin& tst_templates::other()
{
    QFETCH_GLOBAL(bool, trade);
    return twin(!trade);
}

Store tst_templates::storeOf(const Names& names)
{
    QString strXml;
    for (int i = 0; i < names.size(); ++i) {
        strXml += QString("<%1 name=\"%2\"><%3 panelgroup_id=\"%4\"/></%1>")
                      .arg(kind().strTemplate, names[i], kind().strWindow)
                      .arg(i + 1);
    }
    Store store;
    load(store, QString("<%1>%2</%1>").arg(kind().strSection, strXml));
    return store;
}

QList<int> tst_templates::restored(Store& store, const QString& name)
{
    (store.*kind().restore)(name);
    return panelGroups((store.*kind().current)());
}

QDomDocument tst_templates::saved(Store& store)
{
    QDomDocument doc = parsed("<r/>");
    QDomElement root = doc.documentElement();
    store.saveSetting(root, doc);
    return doc;
}

void tst_templates::load(Store& store, const QString& content)
{
    const QDomDocument doc = parsed("<r>" + content + "</r>");
    QDomElement root = doc.documentElement();
    store.loadSetting(root);
}

void tst_templates::initTestCase_data()
{
    QTest::addColumn<bool>("trade");
    QTest::newRow("quote") << false;
    QTest::newRow("trade") << true;
}

void tst_templates::saveMovesATakenNameToTheEnd()
{
    Store store = storeOf({ "A", "B" });
    (store.*kind().add)(windowOf(9));
    (store.*kind().save)("A");
    QCOMPARE(names(store), Names({ "B", "A" }));
    QCOMPARE(restored(store, "A"), QList<int>({ 9 }));
}

void tst_templates::deleteRemovesTheFirstOfAName()
{
    Store store = storeOf({ "A", "B", "A" });
    (store.*kind().remove)("A");
    QCOMPARE(names(store), Names({ "B", "A" }));
    QCOMPARE(restored(store, "A"), QList<int>({ 3 }));
}

void tst_templates::saveOverADoubleNameLeavesTheOlderOne()
{
    Store store = storeOf({ "A", "B", "A" });
    (store.*kind().add)(windowOf(9));
    (store.*kind().save)("A");
    QCOMPARE(names(store), Names({ "B", "A", "A" }));
    QCOMPARE(restored(store, "A"), QList<int>({ 3 }));
}

void tst_templates::renameOntoATakenNameMakesTwo()
{
    Store store = storeOf({ "A", "B" });
    (store.*kind().rename)("B", "A");
    QCOMPARE(names(store), Names({ "A", "A" }));
    QCOMPARE(restored(store, "A"), QList<int>({ 1 }));
}

void tst_templates::restoreUsesTheFirstOfAName()
{
    Store store = storeOf({ "B", "A", "A" });
    QCOMPARE(restored(store, "A"), QList<int>({ 2 }));
}

void tst_templates::unknownNamesChangeNothing()
{
    Store store = storeOf({ "A" });
    (store.*kind().add)(windowOf(9));
    (store.*kind().rename)("unknown", "B");
    (store.*kind().remove)("a");
    QCOMPARE(names(store), Names({ "A" }));
    QCOMPARE(restored(store, "unknown"), QList<int>({ 9 }));
}

void tst_templates::anEmptyNameIsAName()
{
    Store store;
    (store.*kind().add)(windowOf(4));
    (store.*kind().save)("");
    (store.*kind().clear)();
    QCOMPARE(names(store), Names({ "" }));
    QCOMPARE(restored(store, ""), QList<int>({ 4 }));
}

void tst_templates::restoreOfAnEmptyTemplateEmptiesTheLayout()
{
    Store store;
    (store.*kind().save)("empty");
    (store.*kind().add)(windowOf(6000));
    QCOMPARE(restored(store, "empty"), QList<int>());
}

void tst_templates::restoreKeepsTheKeyOfTheLayout()
{
    Store store = storeOf({ "A" });
    store.saveTradeGroupSetting(groupOf("key", { 1 }));
    store.loadTradeLayoutFromTemplate("A");
    QCOMPARE(store.getTradeGroupSetting().m_strKey, QString("key"));
}

void tst_templates::templatesAreCopies()
{
    Store store;
    (store.*kind().add)(windowOf(1));
    (store.*kind().save)("A");
    (store.*kind().add)(windowOf(2));
    QCOMPARE(restored(store, "A"), QList<int>({ 1 }));
    (store.*kind().add)(windowOf(3));
    QCOMPARE(restored(store, "A"), QList<int>({ 1 }));
}

void tst_templates::theOtherKindIsNeverTouched()
{
    Store store = storeOf({ "A" });
    (store.*other().add)(windowOf(5));
    (store.*other().save)("A");
    (store.*kind().restore)("A");
    (store.*kind().save)("B");
    (store.*kind().rename)("B", "C");
    (store.*kind().remove)("A");
    QCOMPARE((store.*other().names)(), Names({ "A" }));
    QCOMPARE(panelGroups((store.*other().current)()), QList<int>({ 5 }));
}

void tst_templates::theListIsReadInFileOrderWithDuplicates()
{
    Store store = storeOf({ "B", "A", "B" });
    QCOMPARE(names(store), Names({ "B", "A", "B" }));
    load(store, QString("<%1><%2 name=\"only\"/></%1>").arg(kind().strSection, kind().strTemplate));
    QCOMPARE(names(store), Names({ "only" }));
}

void tst_templates::aMissingSectionEmptiesTheList()
{
    Store store = storeOf({ "A" });
    load(store, "");
    QCOMPARE(names(store), Names());
}

void tst_templates::aTemplateWithoutNameHasTheEmptyName()
{
    Store store;
    load(store, QString("<%1><%2/></%1>").arg(kind().strSection, kind().strTemplate));
    QCOMPARE(names(store), Names({ "" }));
}

void tst_templates::theNavTreeStaysOutOfTheFile()
{
    Store store;
    CLayoutWindow window = windowOf(1);
    window.m_strNavTree = "nav";
    (store.*kind().add)(window);
    (store.*kind().save)("A");
    const QDomDocument doc = saved(store);
    const QDomElement element = doc.elementsByTagName(kind().strWindow).item(0).toElement();
    QVERIFY(!element.hasAttribute("navtree"));
    QCOMPARE(element.attributes().size(), 8);

    Store next = storeOf({});
    load(next,
         QString("<%1><%2 name=\"A\"><%3 navtree=\"nav\"/></%2></%1>")
             .arg(kind().strSection, kind().strTemplate, kind().strWindow));
    (next.*kind().restore)("A");
    QCOMPARE((next.*kind().current)().m_windows.first().m_strNavTree, QString());
}

void tst_templates::aTemplateOnlyInMemoryKeepsTheNavTree()
{
    Store store;
    CLayoutWindow window = windowOf(1);
    window.m_strNavTree = "nav";
    (store.*kind().add)(window);
    (store.*kind().save)("A");
    (store.*kind().clear)();
    (store.*kind().restore)("A");
    QCOMPARE((store.*kind().current)().m_windows.first().m_strNavTree, QString("nav"));
}

void tst_templates::windowsComeBackFromTheFile()
{
    Store store;
    CLayoutWindow window = windowOf(7);
    window.m_bIsMain = true;
    window.m_bMaximized = true;
    window.m_nScreenId = 3;
    window.m_rect = QRect(1, -2, 30, 40);
    const QDomDocument tree = parsed("<tree/>");
    QDomElement treeRoot = tree.documentElement();
    window.m_pItemLayout.reset(MV::ILayoutElement::fromXml(treeRoot));
    (store.*kind().add)(window);
    (store.*kind().save)("A");

    Store next;
    const QDomDocument doc = parsed(saved(store).toString(4));
    QDomElement root = doc.documentElement();
    next.loadSetting(root);
    (next.*kind().clear)();
    (next.*kind().restore)("A");
    const CLayoutWindow read = (next.*kind().current)().m_windows.first();
    QVERIFY(read.m_bIsMain && read.m_bMaximized && read.m_pItemLayout);
    QCOMPARE(read.m_nScreenId, 3);
    QCOMPARE(read.m_rect, window.m_rect);
    QCOMPARE(read.m_nPanelGroupId, 7);
}

void tst_templates::importSkipsTakenNames()
{
    Store store = storeOf({ "A", "B" });
    const QDomDocument doc = parsed(QString("<c><%1 name=\"A\"/><deep><%1 name=\"X\"><%2 "
                                            "panelgroup_id=\"8\"/></%1></deep></c>")
                                        .arg(kind().strTemplate, kind().strWindow));
    QDomElement container = doc.documentElement();
    (store.*kind().importFrom)("", container);
    QCOMPARE(names(store), Names({ "A", "B", "X" }));
    QCOMPARE(restored(store, "A"), QList<int>({ 1 }));
    QCOMPARE(restored(store, "X"), QList<int>({ 8 }));
}

void tst_templates::importOfDuplicatesTakesTheFirst()
{
    Store store;
    const QDomDocument doc
        = parsed(QString("<c><%1 name=\"X\"><%2 panelgroup_id=\"1\"/></%1><%1 name=\"X\"/></c>")
                     .arg(kind().strTemplate, kind().strWindow));
    QDomElement container = doc.documentElement();
    (store.*kind().importFrom)("", container);
    QCOMPARE(names(store), Names({ "X" }));
    QCOMPARE(restored(store, "X"), QList<int>({ 1 }));
}

void tst_templates::importDoesNotLookAtTheContainerItself()
{
    Store store;
    const QDomDocument doc = parsed(QString("<%1 name=\"X\"/>").arg(kind().strTemplate));
    QDomElement container = doc.documentElement();
    (store.*kind().importFrom)("", container);
    QCOMPARE(names(store), Names());
}

void tst_templates::importIgnoresItsName()
{
    Store store;
    const QDomDocument doc = parsed(QString("<c><%1 name=\"X\"/></c>").arg(kind().strTemplate));
    QDomElement container = doc.documentElement();
    (store.*kind().importFrom)("Y", container);
    QCOMPARE(names(store), Names({ "X" }));
}

void tst_templates::exportOfAnUnknownNameWritesNothing()
{
    Store store = storeOf({ "A" });
    QDomDocument doc = parsed("<p/>");
    QDomElement parent = doc.documentElement();
    (store.*kind().exportTo)("unknown", parent, doc);
    QCOMPARE(doc.toString(-1), QString("<p/>"));
}

void tst_templates::exportWritesTheFirstOfAName()
{
    Store store = storeOf({ "B", "A", "A" });
    QDomDocument doc = parsed("<p/>");
    QDomElement parent = doc.documentElement();
    (store.*kind().exportTo)("A", parent, doc);
    QCOMPARE(parent.childNodes().size(), 1);
    const QDomElement element = parent.firstChildElement(kind().strTemplate);
    QCOMPARE(element.attribute("name"), QString("A"));
    QCOMPARE(element.firstChildElement(kind().strWindow).attribute("panelgroup_id"), QString("2"));
}

void tst_templates::anExportCanBeImported()
{
    Store store = storeOf({ "A" });
    QDomDocument doc = parsed("<p/>");
    QDomElement parent = doc.documentElement();
    (store.*kind().exportTo)("A", parent, doc);
    Store next;
    (next.*kind().importFrom)("", parent);
    QCOMPARE(names(next), Names({ "A" }));
    QCOMPARE(restored(next, "A"), QList<int>({ 1 }));
}

QTEST_GUILESS_MAIN(tst_templates)
#include "tst_templates.moc"
