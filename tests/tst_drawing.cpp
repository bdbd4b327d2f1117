#include "librarytest.h"

#include <inspect/drawing.h>
#include <inspect/userfile.h>

#include <QRandomGenerator>

// Screens as windows show them, and the picture of a layout.
class tst_drawing : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aMaximizedWindowShowsItsScreen();
    void otherwiseAScreenIsAsLargeAsItsWindows();
    void windowsThatNoDesktopReachesShowNothing();
    void windowsWithoutASizeShowNothing();
    void aWindowIsOffScreenOnlyWhenNoPartOfItShows();
    void ofManyWindowsTheSameAreOffScreen();
    void windowsAreDrawnToScale();
    void aDesktopThatBeginsElsewhereIsDrawnFromThere();
    void splittersShareTheirPlace();
    void theCurrentTabShowsWhatIsInIt();
    void theDrawingNamesWhatItShows();
    void aDrawingWithoutWindowsIsStillOne();

private:
    static KW::CLayoutWindow window(int screen, const QRect& rect, bool maximized = false);
    static std::shared_ptr<const MV::ILayoutElement> panels(const QDomDocument& tree);
    static QVector<QRectF> rects(const QByteArray& svg, const QString& cssClass);
};

KW::CLayoutWindow tst_drawing::window(int screen, const QRect& rect, bool maximized)
{
    KW::CLayoutWindow window;
    window.m_nScreenId = screen;
    window.m_rect = rect;
    window.m_bMaximized = maximized;
    return window;
}

std::shared_ptr<const MV::ILayoutElement> tst_drawing::panels(const QDomDocument& tree)
{
    QDomElement root = tree.documentElement();
    return std::shared_ptr<const MV::ILayoutElement>(MV::ILayoutElement::fromXml(root));
}

QVector<QRectF> tst_drawing::rects(const QByteArray& svg, const QString& cssClass)
{
    QVector<QRectF> found;
    const QDomDocument doc = parsed(QString::fromUtf8(svg));
    const QDomNodeList all = doc.elementsByTagName("rect");
    for (int i = 0; i < all.size(); ++i) {
        const QDomElement rect = all.at(i).toElement();
        const auto number = [&](const char* pszName) { return rect.attribute(pszName).toDouble(); };
        if (rect.attribute("class") == cssClass) {
            found.append({ number("x"), number("y"), number("width"), number("height") });
        }
    }
    return found;
}

void tst_drawing::aMaximizedWindowShowsItsScreen()
{
    const auto screens
        = inspect::screensOf({ window(2, { 100, 0, 5000, 50 }), window(2, { 0, 0, 800, 600 }, true),
                               window(2, { 900, 0, 5, 5 }) });
    QCOMPARE(screens.size(), 1);
    QCOMPARE(screens[0].nId, 2);
    QCOMPARE(screens[0].rect, QRectF(0, 0, 800, 600));
    QCOMPARE(screens[0].source, inspect::ScreenSource::Maximized);
}

void tst_drawing::otherwiseAScreenIsAsLargeAsItsWindows()
{
    const auto screens
        = inspect::screensOf({ window(3, { -100, 0, 50, 50 }), window(3, { 0, 10, 50, 90 }) });
    QCOMPARE(screens[0].rect, QRectF(-100, 0, 150, 100));
    QCOMPARE(screens[0].source, inspect::ScreenSource::Windows);
}

void tst_drawing::windowsThatNoDesktopReachesShowNothing()
{
    QVERIFY(inspect::screensOf({ window(1, { -32000, -32000, 160, 28 }), window(1, { 0, 0, 0, 0 }),
                                 window(1, { 0, 0, 2147483647, 9 }) })
                .isEmpty());
}

void tst_drawing::windowsWithoutASizeShowNothing()
{
    const KW::CLayoutWindow seen = window(1, { 0, 0, 800, 600 });
    for (const QRect& rect : { QRect(900, 0, 0, 0), QRect(900, 0, 0, 50), QRect(900, 0, 50, 0),
                               QRect(900, 0, -50, -20), QRect(900, 0, -50, 20) }) {
        QVERIFY(inspect::screensOf({ window(1, rect) }).isEmpty());
        QVERIFY(inspect::screensOf({ window(1, rect, true) }).isEmpty());
        QCOMPARE(inspect::screensOf({ seen, window(1, rect) })[0].rect, QRectF(seen.m_rect));
    }
}

void tst_drawing::aWindowIsOffScreenOnlyWhenNoPartOfItShows()
{
    const auto screens = inspect::screensOf({ window(1, { 0, 0, 100, 100 }, true) });
    QVERIFY(!inspect::isOffScreen(window(2, { 99, 99, 50, 50 }), screens));
    QVERIFY(inspect::isOffScreen(window(1, { 100, 0, 50, 50 }), screens));
    QVERIFY(!inspect::isOffScreen(window(1, { 0, 0, 0, 0 }, true), screens));
}

void tst_drawing::ofManyWindowsTheSameAreOffScreen()
{
    QRandomGenerator random(4);
    QVector<KW::CLayoutWindow> windows;
    for (int i = 0; i < 3000; ++i) {
        const QRect rect(random.bounded(-200, 200) * 10, random.bounded(-200, 200) * 10,
                         random.bounded(-1, i < 200 ? 40 : 9) * 10,
                         random.bounded(-1, i < 200 ? 40 : 9) * 10);
        windows.append(window(i % 500, rect, i < 200));
    }
    const auto screens = inspect::screensOf(windows.mid(0, 200));
    QVector<int> expected;
    for (int i = 0; i < windows.size(); ++i) {
        if (inspect::isOffScreen(windows[i], screens)) {
            expected.append(i);
        }
    }
    QCOMPARE(inspect::offScreen(windows, screens), expected);
    QVERIFY(expected.size() > 500 && expected.size() < 2500);
}

void tst_drawing::windowsAreDrawnToScale()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 1000, 500 }, true),
                                               window(1, { 500, 100, 250, 200 }) };
    const auto found
        = rects(inspect::toSvg({ "title", windows, inspect::screensOf(windows) }), "window");
    // 1168 of the 1200 pixels of the picture are the desktop's; a margin and two lines are above
    // it.
    const QVector<QRectF> expected { { 16, 76, 1168, 584 }, { 600, 192.8, 292, 233.6 } };
    QCOMPARE(found, expected);
}

void tst_drawing::aDesktopThatBeginsElsewhereIsDrawnFromThere()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { -1000, 200, 2000, 1000 }, true),
                                               window(1, { 0, 700, 500, 250 }) };
    const auto found
        = rects(inspect::toSvg({ "title", windows, inspect::screensOf(windows) }), "window");
    const QVector<QRectF> expected { { 16, 76, 1168, 584 }, { 600, 368, 292, 146 } };
    QCOMPARE(found, expected);
}

void tst_drawing::splittersShareTheirPlace()
{
    const QDomDocument tree = parsed("<Dock><Splitter orientation='vertical' ratio='0.25'>"
                                     "<Panel name='a'/><Panel name='b'/></Splitter></Dock>");
    KW::CLayoutWindow all = window(1, { 0, 0, 1000, 500 }, true);
    all.m_pItemLayout = panels(tree);
    const auto found
        = rects(inspect::toSvg({ "title", { all }, inspect::screensOf({ all }) }), "panel");
    QCOMPARE(found.size(), 2);
    QCOMPARE(found[0].width(), found[1].width());
    QVERIFY(found[1].top() > found[0].bottom());
    QVERIFY(qAbs(found[1].height() / found[0].height() - 3) < 0.1);
}

void tst_drawing::theCurrentTabShowsWhatIsInIt()
{
    const QDomDocument tree
        = parsed("<Tabs current='1'><Panel name='a'/><Splitter><Panel name='b'/><Panel name='c'/>"
                 "</Splitter></Tabs>");
    KW::CLayoutWindow all = window(1, { 0, 0, 1000, 500 }, true);
    all.m_pItemLayout = panels(tree);
    const QByteArray svg = inspect::toSvg({ "title", { all }, inspect::screensOf({ all }) });
    QCOMPARE(rects(svg, "panel").size(), 3);
    QVERIFY(svg.contains("a | [b]"));
}

void tst_drawing::theDrawingNamesWhatItShows()
{
    const inspect::UserFile file = inspect::readUserFile(TEST_DATA "/inspect/three-screens.xml");
    const inspect::UserRecords records = inspect::recordsOf(file.document);
    const QByteArray svg
        = inspect::toSvg({ QStringLiteral("我的布局"), inspect::layoutsOf(records)[1].windows,
                           inspect::screensOf(inspect::windowsOf(records)) });
    const QString strText = parsed(QString::fromUtf8(svg)).documentElement().text();
    for (const char* pszText :
         { "我的布局", "screen 2 1920,-200 2560x1400", "screen 3, at least -1180,60 700x900",
           "group 6000 ★ main □ maximized", "首页/自选股", "期权T型报价 | [期货套利]",
           "公告 & 新闻", "off every screen:", "group 106 · 丢失的窗口 — 9000,300 800x600" }) {
        QVERIFY2(strText.contains(pszText), pszText);
    }
}

void tst_drawing::aDrawingWithoutWindowsIsStillOne()
{
    QVERIFY(rects(inspect::toSvg({ "none", {}, {} }), "window").isEmpty());
}

QTEST_GUILESS_MAIN(tst_drawing)
#include "tst_drawing.moc"
