#include "layouts.h"
#include "librarytest.h"
#include "recording.h"

#include <climits>

using KW::CLayoutWindow;
using KW::CPanelGroupLayoutConfig;
using KW::CPanelGroupLayoutSetting;

namespace {

void load(CPanelGroupLayoutConfig& store, const QString& content)
{
    const QDomDocument doc = parsed("<ICUserConfigFile>" + content + "</ICUserConfigFile>");
    QDomElement root = doc.documentElement();
    store.loadSetting(root);
}

QDomDocument saved(CPanelGroupLayoutConfig& store)
{
    QDomDocument doc = parsed("<ICUserConfigFile/>");
    QDomElement root = doc.documentElement();
    store.saveSetting(root, doc);
    return doc;
}

QVector<CLayoutWindow> quoteWindows(const QString& indexLayout)
{
    CPanelGroupLayoutConfig store;
    load(store, "<IndexLayout>" + indexLayout + "</IndexLayout>");
    return store.getQuoteGroupSetting().m_windows;
}

QDomElement onlyWindow(const QDomDocument& doc)
{
    return doc.elementsByTagName("LayoutWindow").item(0).toElement();
}

const char c_szEmptyLayouts[]
    = "<ICUserConfigFile><DefaultLayout/><IndexLayout/><IndexPositionLayout>"
      "<FormulaPanelGroupLayout/><ValuePanelGroupLayout/></IndexPositionLayout><LayoutTemplates/>"
      "<tradePanelGroup/><tradeLayoutTemplates/></ICUserConfigFile>";

} // namespace

class tst_layoutfile : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aFileWithoutLayoutsEmptiesQuoteWindowsAndTemplatesOnly();
    void anEmptyStoreWritesSixEmptySections();
    void layoutsAreAppendedBehindWhatTheRootHolds();
    void aWindowHasItsAttributes();
    void attributesAreReadAsNumbers_data();
    void attributesAreReadAsNumbers();
    void flagsAreWrittenAsOneOrZero();
    void absentAttributesAreBlank();
    void rectanglesSurviveAnyNumbers_data();
    void rectanglesSurviveAnyNumbers();
    void onlyAnOnlyChildIsATree_data();
    void onlyAnOnlyChildIsATree();
    void treesAreWrittenIntoTheirWindow();
    void anIndexLayoutWithoutWindowsIsOneMaximizedMainWindow();
    void anIndexLayoutWithoutAnythingIsStillOneWindow();
    void windowsAreFoundAtAnyDepth();
    void windowsInsideATreeAreWindowsToo();
    void quoteWindowsAreReplacedByALoad();
    void defaultAndTradeWindowsAreAddedToByALoad();
    void panelGroupsAreMergedByALoad();
    void anItemWithoutWindowsIsNoGroup();
    void anItemWithoutKeyIsAGroup();
    void theLastItemOfAKeyWins();
    void allGroupSectionsAreRead();
    void groupsAreWrittenInKeyOrderUnderTheirOwnKey();
    void aGroupWithoutWindowsIsWrittenAndLostOnTheNextLoad();
    void sectionsAreReadInAnyOrder();
    void aStoreSurvivesSaveAndLoad();
    void windowsAreReadFromATreeWhoseDocumentIsGone();
};

void tst_layoutfile::aFileWithoutLayoutsEmptiesQuoteWindowsAndTemplatesOnly()
{
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(windowOf(6000));
    store.saveLayoutToTemplate("quote");
    store.saveTradeLayoutToTemplate("trade");
    store.addTradePanelSetting(windowOf(1));
    store.addFormulaPanelSetting(groupOf("key", { 2 }));
    load(store, "");
    QVERIFY(store.getQuoteGroupSetting().m_windows.isEmpty());
    QVERIFY(store.getQuoteLayoutTemplate().isEmpty());
    QVERIFY(store.getTradeLayoutTemplate().isEmpty());
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 1 }));
    CPanelGroupLayoutSetting setting;
    QVERIFY(store.getFormulaPanelGroupSetting("key", setting));
}

void tst_layoutfile::anEmptyStoreWritesSixEmptySections()
{
    CPanelGroupLayoutConfig store;
    load(store, "");
    QCOMPARE(saved(store).toString(-1), QString(c_szEmptyLayouts));
}

void tst_layoutfile::layoutsAreAppendedBehindWhatTheRootHolds()
{
    CPanelGroupLayoutConfig store;
    QDomDocument doc = parsed("<r><first/></r>");
    QDomElement root = doc.documentElement();
    store.saveSetting(root, doc);
    QCOMPARE(root.firstChildElement().tagName(), QString("first"));
    QCOMPARE(root.childNodes().size(), 7);
}

void tst_layoutfile::aWindowHasItsAttributes()
{
    CLayoutWindow window;
    window.m_bIsMain = true;
    window.m_nScreenId = 2;
    window.m_strNavTree = QStringLiteral("首页/\"行情\" & <K线>");
    window.m_rect = QRect(-10, 20, 300, 400);
    window.m_nPanelGroupId = 6000;
    CPanelGroupLayoutConfig store;
    store.addQuotePanelSetting(window);
    const QDomElement element = onlyWindow(saved(store));
    QMap<QString, QString> attributes;
    for (int i = 0; i < element.attributes().size(); ++i) {
        const QDomAttr attribute = element.attributes().item(i).toAttr();
        attributes.insert(attribute.name(), attribute.value());
    }
    QCOMPARE(attributes,
             (QMap<QString, QString> { { "screen_id", "2" },
                                       { "is_main", "1" },
                                       { "maximized", "0" },
                                       { "left", "-10" },
                                       { "top", "20" },
                                       { "width", "300" },
                                       { "height", "400" },
                                       { "navtree", window.m_strNavTree },
                                       { "panelgroup_id", "6000" } }));
}

void tst_layoutfile::attributesAreReadAsNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("0") << "0" << 0;
    QTest::newRow("2") << "2" << 2;
    QTest::newRow("-1") << "-1" << -1;
    QTest::newRow("word") << "true" << 0;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("fraction") << "1.5" << 0;
    QTest::newRow("hexadecimal") << "0x10" << 0;
    QTest::newRow("largest") << "2147483647" << INT_MAX;
    QTest::newRow("too large") << "2147483648" << 0;
}

void tst_layoutfile::attributesAreReadAsNumbers()
{
    QFETCH(QString, text);
    QFETCH(int, number);
    const CLayoutWindow window
        = quoteWindows(QString("<LayoutWindow screen_id=\"%1\" is_main=\"%1\" maximized=\"%1\" "
                               "panelgroup_id=\"%1\"/>")
                           .arg(text))
              .first();
    QCOMPARE(window.m_nScreenId, number);
    QCOMPARE(window.m_nPanelGroupId, number);
    QCOMPARE(window.m_bIsMain, number != 0);
    QCOMPARE(window.m_bMaximized, number != 0);
}

void tst_layoutfile::flagsAreWrittenAsOneOrZero()
{
    CPanelGroupLayoutConfig store;
    load(store, "<IndexLayout><LayoutWindow is_main=\"2\" maximized=\"true\"/></IndexLayout>");
    const QDomElement element = onlyWindow(saved(store));
    QCOMPARE(element.attribute("is_main"), QString("1"));
    QCOMPARE(element.attribute("maximized"), QString("0"));
}

void tst_layoutfile::absentAttributesAreBlank()
{
    const CLayoutWindow window = quoteWindows("<LayoutWindow/>").first();
    QCOMPARE(window.m_strNavTree, QString(""));
    QCOMPARE(window.m_rect, QRect());
    QVERIFY(!window.m_pItemLayout);
}

void tst_layoutfile::rectanglesSurviveAnyNumbers_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("size");
    QTest::newRow("usual") << 10 << 20;
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("negative size") << 5 << -7;
    for (const int nPosition : { INT_MIN, -1, 0, 1, INT_MAX }) {
        for (const int nSize : { INT_MIN, -1, 0, 1, INT_MAX }) {
            QTest::newRow(qPrintable(QString("%1 by %2").arg(nPosition).arg(nSize)))
                << nPosition << nSize;
        }
    }
}

void tst_layoutfile::rectanglesSurviveAnyNumbers()
{
    QFETCH(int, position);
    QFETCH(int, size);
    CPanelGroupLayoutConfig store;
    load(store,
         QString("<IndexLayout><LayoutWindow left=\"%1\" top=\"%1\" width=\"%2\" height=\"%2\"/>"
                 "</IndexLayout>")
             .arg(position)
             .arg(size));
    const QDomElement element = onlyWindow(saved(store));
    QCOMPARE(element.attribute("left"), QString::number(position));
    QCOMPARE(element.attribute("top"), QString::number(position));
    QCOMPARE(element.attribute("width"), QString::number(size));
    QCOMPARE(element.attribute("height"), QString::number(size));
    if (qAbs(qint64(position)) < 1000 && qAbs(qint64(size)) < 1000) {
        QCOMPARE(store.getQuoteGroupSetting().m_windows.first().m_rect,
                 QRect(position, position, size, size));
    }
}

void tst_layoutfile::onlyAnOnlyChildIsATree_data()
{
    QTest::addColumn<QString>("children");
    QTest::addColumn<QStringList>("built");
    QTest::addColumn<bool>("tree");
    const QString strCall = "ILayoutElement::fromXml(%1)";
    QTest::newRow("none") << "" << QStringList() << false;
    QTest::newRow("one element") << "<a/>" << QStringList(strCall.arg("a")) << true;
    QTest::newRow("two elements") << "<a/><b/>" << QStringList() << false;
    QTest::newRow("element and comment") << "<a/><!-- c -->" << QStringList() << false;
    QTest::newRow("lone comment") << "<!-- c -->" << QStringList(strCall.arg("null")) << false;
    QTest::newRow("lone text") << "text" << QStringList(strCall.arg("null")) << false;
}

void tst_layoutfile::onlyAnOnlyChildIsATree()
{
    QFETCH(QString, children);
    QFETCH(QStringList, built);
    QFETCH(bool, tree);
    const CLayoutWindow window
        = quoteWindows("<LayoutWindow>" + children + "</LayoutWindow>").first();
    QCOMPARE(recording::callsOf("ILayoutElement::fromXml"), built);
    QCOMPARE(window.m_pItemLayout != nullptr, tree);
}

void tst_layoutfile::treesAreWrittenIntoTheirWindow()
{
    CPanelGroupLayoutConfig store;
    load(store, "<IndexLayout><LayoutWindow><a/></LayoutWindow><LayoutWindow/></IndexLayout>");
    const QDomDocument doc = saved(store);
    QCOMPARE(recording::callsOf("ILayoutElement::toXml"),
             QStringList("ILayoutElement::toXml(LayoutWindow)"));
    QCOMPARE(onlyWindow(doc).firstChildElement().tagName(), QString("a"));
}

void tst_layoutfile::anIndexLayoutWithoutWindowsIsOneMaximizedMainWindow()
{
    const QVector<CLayoutWindow> windows = quoteWindows("<tree/>");
    QCOMPARE(windows.size(), 1);
    QCOMPARE(windows.first().m_nScreenId, 1);
    QVERIFY(windows.first().m_bIsMain && windows.first().m_bMaximized);
    QVERIFY(windows.first().m_pItemLayout);
    QCOMPARE(recording::callsOf("ILayoutElement"), QStringList("ILayoutElement::fromXml(tree)"));
}

void tst_layoutfile::anIndexLayoutWithoutAnythingIsStillOneWindow()
{
    const QVector<CLayoutWindow> windows = quoteWindows("");
    QCOMPARE(windows.size(), 1);
    QVERIFY(windows.first().m_bIsMain);
    QVERIFY(!windows.first().m_pItemLayout);
    QCOMPARE(windows.first().m_nPanelGroupId, 0);
}

void tst_layoutfile::windowsAreFoundAtAnyDepth()
{
    const QVector<CLayoutWindow> windows
        = quoteWindows("<a><LayoutWindow panelgroup_id=\"1\"/><b>"
                       "<LayoutWindow panelgroup_id=\"2\"/></b></a>"
                       "<LayoutWindow panelgroup_id=\"3\"/>");
    CPanelGroupLayoutSetting setting;
    setting.m_windows = windows;
    QCOMPARE(panelGroups(setting), QList<int>({ 1, 2, 3 }));
}

void tst_layoutfile::windowsInsideATreeAreWindowsToo()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<tradePanelGroup><LayoutWindow panelgroup_id=\"1\"><dock>"
         "<LayoutWindow panelgroup_id=\"2\"/></dock></LayoutWindow>"
         "<LayoutWindow panelgroup_id=\"3\"/></tradePanelGroup>");
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 1, 2, 3 }));
    QVERIFY(store.getTradeGroupSetting().m_windows.first().m_pItemLayout);
}

void tst_layoutfile::quoteWindowsAreReplacedByALoad()
{
    CPanelGroupLayoutConfig store;
    const QString strXml = "<IndexLayout><LayoutWindow panelgroup_id=\"1\"/></IndexLayout>";
    load(store, strXml);
    load(store, strXml);
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 1 }));
}

void tst_layoutfile::defaultAndTradeWindowsAreAddedToByALoad()
{
    CPanelGroupLayoutConfig store;
    const QString strXml = "<DefaultLayout><LayoutWindow panelgroup_id=\"1\"/></DefaultLayout>"
                           "<tradePanelGroup><LayoutWindow panelgroup_id=\"2\"/></tradePanelGroup>";
    load(store, strXml);
    load(store, strXml);
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 2, 2 }));
    store.loadLayoutFromDefault();
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 1, 1 }));
}

void tst_layoutfile::panelGroupsAreMergedByALoad()
{
    CPanelGroupLayoutConfig store;
    store.addFormulaPanelSetting(groupOf("old", { 1 }));
    store.addFormulaPanelSetting(groupOf("both", { 2 }));
    load(store,
         "<IndexPositionLayout><FormulaPanelGroupLayout><itemLayout key=\"both\">"
         "<LayoutWindow panelgroup_id=\"3\"/></itemLayout></FormulaPanelGroupLayout>"
         "</IndexPositionLayout>");
    CPanelGroupLayoutSetting setting;
    QVERIFY(store.getFormulaPanelGroupSetting("old", setting));
    QVERIFY(store.getFormulaPanelGroupSetting("both", setting));
    QCOMPARE(panelGroups(setting), QList<int>({ 3 }));
}

void tst_layoutfile::anItemWithoutWindowsIsNoGroup()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<IndexPositionLayout><ValuePanelGroupLayout><itemLayout key=\"k\"><other/></itemLayout>"
         "</ValuePanelGroupLayout></IndexPositionLayout>");
    CPanelGroupLayoutSetting setting;
    QVERIFY(!store.getValuePanelSetting("k", setting));
}

void tst_layoutfile::anItemWithoutKeyIsAGroup()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<IndexPositionLayout><ValuePanelGroupLayout><itemLayout><LayoutWindow/></itemLayout>"
         "</ValuePanelGroupLayout></IndexPositionLayout>");
    const QDomElement item = saved(store).elementsByTagName("itemLayout").item(0).toElement();
    QVERIFY(item.hasAttribute("key"));
    QCOMPARE(item.attribute("key"), QString(""));
}

void tst_layoutfile::theLastItemOfAKeyWins()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<IndexPositionLayout><ValuePanelGroupLayout>"
         "<itemLayout key=\"k\"><LayoutWindow panelgroup_id=\"1\"/></itemLayout>"
         "<itemLayout key=\"k\"><LayoutWindow panelgroup_id=\"2\"/></itemLayout>"
         "</ValuePanelGroupLayout></IndexPositionLayout>");
    CPanelGroupLayoutSetting setting;
    QVERIFY(store.getValuePanelSetting("k", setting));
    QCOMPARE(panelGroups(setting), QList<int>({ 2 }));
}

void tst_layoutfile::allGroupSectionsAreRead()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<IndexPositionLayout>"
         "<FormulaPanelGroupLayout><itemLayout key=\"a\"><LayoutWindow/></itemLayout>"
         "</FormulaPanelGroupLayout>"
         "<deeper><FormulaPanelGroupLayout><itemLayout key=\"b\"><LayoutWindow/></itemLayout>"
         "</FormulaPanelGroupLayout></deeper></IndexPositionLayout>");
    CPanelGroupLayoutSetting setting;
    QVERIFY(store.getFormulaPanelGroupSetting("a", setting));
    QVERIFY(store.getFormulaPanelGroupSetting("b", setting));
}

void tst_layoutfile::groupsAreWrittenInKeyOrderUnderTheirOwnKey()
{
    CPanelGroupLayoutConfig store;
    for (const char* pszKey : { "b", "a", "B" }) {
        store.addFormulaPanelSetting(groupOf(pszKey, { 1 }));
    }
    const QDomNodeList items = saved(store).elementsByTagName("itemLayout");
    QStringList keys;
    for (int i = 0; i < items.size(); ++i) {
        keys.append(items.at(i).toElement().attribute("key"));
    }
    QCOMPARE(keys, QStringList({ "B", "a", "b" }));
}

void tst_layoutfile::aGroupWithoutWindowsIsWrittenAndLostOnTheNextLoad()
{
    CPanelGroupLayoutConfig store;
    store.addFormulaPanelSetting(groupOf("empty", {}));
    const QDomDocument doc = saved(store);
    QVERIFY(doc.toString(-1).contains("<itemLayout key=\"empty\"/>"));
    QDomElement root = doc.documentElement();
    CPanelGroupLayoutConfig next;
    next.loadSetting(root);
    CPanelGroupLayoutSetting setting;
    QVERIFY(!next.getFormulaPanelGroupSetting("empty", setting));
}

void tst_layoutfile::sectionsAreReadInAnyOrder()
{
    CPanelGroupLayoutConfig store;
    load(store,
         "<tradePanelGroup><LayoutWindow panelgroup_id=\"1\"/></tradePanelGroup>"
         "<LayoutTemplates><LayoutTemplate name=\"t\"/></LayoutTemplates>"
         "<IndexLayout><LayoutWindow panelgroup_id=\"2\"/></IndexLayout>");
    QCOMPARE(panelGroups(store.getTradeGroupSetting()), QList<int>({ 1 }));
    QCOMPARE(panelGroups(store.getQuoteGroupSetting()), QList<int>({ 2 }));
    QCOMPARE(store.getQuoteLayoutTemplate(), QList<QString>({ "t" }));
}

void tst_layoutfile::aStoreSurvivesSaveAndLoad()
{
    CPanelGroupLayoutConfig store;
    CLayoutWindow window = windowOf(6000);
    window.m_bMaximized = true;
    window.m_nScreenId = -3;
    window.m_strNavTree = QStringLiteral("a\nb\t<\"&'>  。");
    window.m_rect = QRect(-1, 2, 3, 4);
    store.addQuotePanelSetting(window);
    store.addTradePanelSetting(window);
    CPanelGroupLayoutSetting group = groupOf(QStringLiteral("键 "), { 1 });
    group.m_windows.append(window);
    store.addFormulaPanelSetting(group);
    store.addValuePanelSetting(group);

    const QDomDocument doc = parsed(saved(store).toString(4));
    QDomElement root = doc.documentElement();
    CPanelGroupLayoutConfig next;
    next.loadSetting(root);
    QCOMPARE(saved(next).toString(-1), saved(store).toString(-1));
    const CLayoutWindow read = next.getQuoteGroupSetting().m_windows.first();
    QCOMPARE(read.m_strNavTree, window.m_strNavTree);
    QCOMPARE(read.m_rect, window.m_rect);
    QCOMPARE(read.m_nScreenId, -3);
}

void tst_layoutfile::windowsAreReadFromATreeWhoseDocumentIsGone()
{
    QDomElement root;
    {
        QDomDocument doc = parsed("<r><IndexLayout/></r>");
        QDomElement layout = doc.documentElement().firstChildElement();
        for (int i = 0; i < 300; ++i) {
            layout.appendChild(doc.createElement("LayoutWindow"));
        }
        root = doc.documentElement();
    }
    CPanelGroupLayoutConfig store;
    store.loadSetting(root);
    QCOMPARE(store.getQuoteGroupSetting().m_windows.size(), 300);
}

QTEST_GUILESS_MAIN(tst_layoutfile)
#include "tst_layoutfile.moc"
