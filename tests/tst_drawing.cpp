#include "librarytest.h"

#include <inspect/drawing.h>
#include <inspect/shortened.h>
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
    void aPictureIsAsWideAsItsScreensNeed();
    void namesOfScreensStayApart();
    void nothingIsDrawnBeyondTheDesktop();
    void coveredWindowsAreMarkedAndCounted();
    void whatHangsOffTheScreensSaysHowMuch();
    void aNumberStandsOverWhatLeavesItNoRoom();
    void theNumberOfAGoneWindowStaysOnTheDesktop();
    void anEmptyColumnOfTheLegendTakesNoRoom();
    void numbersStandInFull();
    void aComparisonShowsWhatBecameOfEachWindow();
    void splittersShareTheirPlace();
    void theCurrentTabShowsWhatIsInIt();
    void theDrawingNamesWhatItShows();
    void aDrawingWithoutWindowsIsStillOne();

private:
    static KW::CLayoutWindow window(int screen, const QRect& rect, bool maximized = false);
    static std::shared_ptr<const MV::ILayoutElement> panels(const QDomDocument& tree);
    static QVector<QRectF> texts(const QByteArray& svg, const QString& cssClass);
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

// As large as they are at most.
QVector<QRectF> tst_drawing::texts(const QByteArray& svg, const QString& cssClass)
{
    QVector<QRectF> found;
    const QDomDocument doc = parsed(QString::fromUtf8(svg));
    const QDomNodeList all = doc.elementsByTagName("text");
    for (int i = 0; i < all.size(); ++i) {
        const QDomElement text = all.at(i).toElement();
        if (text.attribute("class") == cssClass) {
            found.append({ text.attribute("x").toDouble(), text.attribute("y").toDouble() - 13,
                           inspect::textWidth(text.text(), 13), 16 });
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
        = rects(inspect::toSvg({ "title", windows, inspect::screensOf(windows) }), "face");
    // 960 pixels are the least; a margin, two lines and the screen's name are above them.
    const QVector<QRectF> expected { { 24, 108, 960, 480 }, { 504, 204, 240, 192 } };
    QCOMPARE(found, expected);
}

void tst_drawing::aDesktopThatBeginsElsewhereIsDrawnFromThere()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { -1000, 200, 2000, 1000 }, true),
                                               window(1, { 0, 700, 500, 250 }) };
    const auto found
        = rects(inspect::toSvg({ "title", windows, inspect::screensOf(windows) }), "face");
    const QVector<QRectF> expected { { 24, 108, 960, 480 }, { 504, 348, 240, 120 } };
    QCOMPARE(found, expected);
}

void tst_drawing::aPictureIsAsWideAsItsScreensNeed()
{
    const auto widthOf = [](const QVector<KW::CLayoutWindow>& windows) {
        const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
        return parsed(QString::fromUtf8(svg)).documentElement().attribute("width").toDouble();
    };
    QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 1000, 500 }, true) };
    const double nOne = widthOf(windows);
    windows += { window(2, { 1000, 0, 1000, 500 }, true), window(3, { 2000, 0, 1000, 500 }, true) };
    const double nThree = widthOf(windows);
    QVERIFY2(nThree > nOne + 900, qPrintable(QString::number(nThree)));
    for (int i = 0; i < 60; ++i) {
        windows.append(window(1, { 40 * i, 0, 39, 39 }));
    }
    QVERIFY(widthOf(windows) > nThree + 300);
    windows.append(window(4, { 3000, 0, 20000, 500 }, true));
    QVERIFY(widthOf(windows) < 2800);
}

void tst_drawing::namesOfScreensStayApart()
{
    QVector<KW::CLayoutWindow> windows;
    for (int i = 0; i < 6; ++i) {
        windows.append(window(i, { 0, 200 * i, 400, 200 }, true));
        windows.append(window(10 + i, { 400 + 3 * i, 30 * i, 90, 60 }, true));
    }
    const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
    const QVector<QRectF> labels = texts(svg, "screenname");
    QCOMPARE(labels.size(), 12);
    for (const QRectF& label : labels) {
        const auto meets = [&](const QRectF& other) { return other.intersects(label); };
        QCOMPARE(std::count_if(labels.begin(), labels.end(), meets), 1);
        const QVector<QRectF> screens = rects(svg, "screen");
        QVERIFY(std::none_of(screens.begin(), screens.end(), meets));
    }
}

void tst_drawing::nothingIsDrawnBeyondTheDesktop()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 1000, 500 }, true),
                                               window(1, { -300, 450, 600, 400 }) };
    const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
    const QDomDocument doc = parsed(QString::fromUtf8(svg));
    const QDomElement clip = doc.elementsByTagName("clipPath").at(0).toElement();
    const QDomElement rect = clip.firstChildElement("rect");
    QCOMPARE(rect.attribute("x").toDouble(), 23.0);
    QCOMPARE(rect.attribute("width").toDouble(), 962.0);
    const QDomNodeList faces = doc.elementsByTagName("a");
    QCOMPARE(faces.size(), 2);
    for (int i = 0; i < faces.size(); ++i) {
        const QDomElement group = faces.at(i).parentNode().toElement();
        QCOMPARE(group.attribute("clip-path"), "url(#" + clip.attribute("id") + ')');
    }
}

void tst_drawing::coveredWindowsAreMarkedAndCounted()
{
    QVector<KW::CLayoutWindow> windows(13, window(1, { 10, 10, 300, 200 }));
    windows.append(window(1, { 0, 0, 1000, 500 }, true));
    windows.append(window(1, { 0, 0, 0, 0 }));
    windows += { window(1, { 0, 0, 3000, 50 }), window(1, { 0, 0, 50, 3000 }) };
    const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
    const QDomDocument doc = parsed(QString::fromUtf8(svg));
    QCOMPARE(doc.elementsByTagName("desc").at(0).toElement().text(),
             QString("17 windows on 1 screen; 13 are completely covered; 1 has no size; "
                     "2 are larger than the desktop"));
    QCOMPARE(svg.count("aria-label=\"completely covered\""), 13);
    QCOMPARE(svg.count("aria-label=\"without a size\""), 1);
    QCOMPARE(rects(svg, "face").size(), 14);
    QCOMPARE(svg.count("class=\"number\""), 14 + 17);
}

void tst_drawing::whatHangsOffTheScreensSaysHowMuch()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 1000, 500 }, true),
                                               window(1, { -300, 100, 400, 100 }),
                                               window(1, { 996, 300, 1000, 100 }),
                                               window(1, { 1, 450, 999, 51 }),
                                               window(1, { 300, 100, 400, 100 }) };
    const auto screens = inspect::screensOf(windows.mid(0, 1));
    const QByteArray svg = inspect::toSvg({ "t", windows, screens });
    QCOMPARE(svg.count("off the screens</text>"), 3);
    for (const char* pszShare : { ">75 %", ">99 %", ">2 %" }) {
        QCOMPARE(svg.count(QByteArray(pszShare) + " off the screens</text>"), 1);
    }
}

// A strip of four pixels is left of the second window, and none of the third.
void tst_drawing::aNumberStandsOverWhatLeavesItNoRoom()
{
    const QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 1000, 500 }, true),
                                               window(1, { 0, 100, 300, 200 }),
                                               window(1, { 100, 120, 100, 100 }),
                                               window(1, { 4, 100, 400, 300 }) };
    const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
    const QVector<QRectF> badges = rects(svg, "badge");
    // One a window, once more for the strip, and the legend's.
    QCOMPARE(badges.size(), 4 + 1 + 4);
    const QRectF tight = badges[4];
    QCOMPARE(tight, badges[1]);
    QCOMPARE(tight.left(), 24.0);
    QVERIFY(svg.lastIndexOf("class=\"face\"") < svg.indexOf("class=\"tight\""));
    const QDomNodeList groups = parsed(QString::fromUtf8(svg)).elementsByTagName("g");
    for (int i = 0; i < groups.size(); ++i) {
        const QDomElement group = groups.at(i).toElement();
        if (group.attribute("class") == "tight") {
            QCOMPARE(group.text(), QString("2"));
            QCOMPARE(group.attribute("aria-hidden"), QString("true"));
        }
    }
}

void tst_drawing::theNumberOfAGoneWindowStaysOnTheDesktop()
{
    const QVector<KW::CLayoutWindow> after { window(1, { 0, 0, 1000, 500 }, true) };
    KW::CLayoutWindow gone = window(1, { -300, -100, 600, 400 });
    gone.m_nPanelGroupId = 9;
    const QByteArray svg
        = inspect::toSvg({ "t", after, inspect::screensOf(after),
                           inspect::EarlierLayout { "then", { after[0], gone } } });
    const QVector<QRectF> badges = rects(svg, "badge");
    QCOMPARE(badges.size(), 2 + 2);
    const QRectF desktop = rects(svg, "screen").value(0);
    QVERIFY(!desktop.isEmpty());
    QVERIFY(desktop.contains(badges[1]));
}

// Windows of templates have no name.
void tst_drawing::anEmptyColumnOfTheLegendTakesNoRoom()
{
    QString strPanels;
    for (int i = 0; i < 40; ++i) {
        strPanels += QStringLiteral("<Panel name='panel%1'/>").arg(i);
    }
    KW::CLayoutWindow all = window(1, { 0, 0, 1000, 500 }, true);
    all.m_pItemLayout = panels(parsed("<Dock><Splitter>" + strPanels + "</Splitter></Dock>"));
    const auto shownIn = [&] {
        const QByteArray svg = inspect::toSvg({ "t", { all }, inspect::screensOf({ all }) });
        const QDomNodeList groups = parsed(QString::fromUtf8(svg)).elementsByTagName("g");
        int nShown = 0;
        for (int i = 0; i < groups.size(); ++i) {
            const QDomElement cell = groups.at(i).toElement();
            const QString strText = cell.firstChildElement("text").text();
            const bool bCell = cell.attribute("role") == "cell" && strText.startsWith("panel0, ");
            nShown += bCell ? strText.size() : 0;
        }
        return nShown;
    };
    const int nWithout = shownIn();
    all.m_strNavTree = "name";
    QVERIFY2(nWithout > shownIn() + 25, qPrintable(QString::number(nWithout)));
}

void tst_drawing::numbersStandInFull()
{
    QVector<KW::CLayoutWindow> windows { window(1, { 0, 0, 3840, 1040 }, true) };
    QStringList expected { "0,0", "3840x1040" };
    for (int i = 0; i < 60; ++i) {
        windows.append(window(1, { 1960 + 30 * i, 210 + i, 340 + i, 2000000000 + i }));
        expected << QStringLiteral("%1,%2").arg(1960 + 30 * i).arg(210 + i)
                 << QStringLiteral("%1x%2").arg(340 + i).arg(2000000000 + i);
    }
    const QByteArray svg = inspect::toSvg({ "t", windows, inspect::screensOf(windows) });
    for (const QString& text : expected) {
        QVERIFY2(svg.contains('>' + text.toUtf8() + "</text>"), qPrintable(text));
    }
}

void tst_drawing::aComparisonShowsWhatBecameOfEachWindow()
{
    const auto grouped = [](int group, const QRect& rect) {
        KW::CLayoutWindow each = window(1, rect);
        each.m_nPanelGroupId = group;
        return each;
    };
    const QVector<KW::CLayoutWindow> before { window(1, { 0, 0, 1000, 500 }, true),
                                              grouped(7, { 100, 100, 200, 100 }),
                                              grouped(8, { 700, 300, 100, 100 }) };
    QVector<KW::CLayoutWindow> after { before[0], grouped(7, { 400, 150, 200, 150 }),
                                       grouped(9, { 0, 400, 100, 100 }) };
    const QByteArray svg = inspect::toSvg(
        { "t", after, inspect::screensOf(after), inspect::EarlierLayout { "then", before } });
    // Where the moved one and the gone one were.
    const QVector<QRectF> ghosts { { 120, 204, 192, 96 }, { 696, 396, 96, 96 } };
    QCOMPARE(rects(svg, "ghost"), ghosts);
    QCOMPARE(svg.count("class=\"arrow\""), 1);
    QCOMPARE(svg.count("class=\"head\""), 1);
    for (const char* pszText : { "moved +300,+50 (was 100,100), resized +0x+50 (was 200x100)",
                                 "class=\"window new\"", "class=\"row new\"", "class=\"row gone\"",
                                 "1 changed, 1 new, 1 gone", "against then" }) {
        QVERIFY2(svg.contains(pszText), pszText);
    }
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
         { "我的布局", "7 windows on 3 screens; 2 lie off every screen",
           "screen 2 1920,-200 2560x1400", "screen 3, at least -1180,60 700x900",
           "1: 首页/行情/沪深A股 · group 6000 · 0,0 1920x1040 · screen 1 · main · maximized",
           "首页/自选股", "期权T型报价 | [期货套利]", "公告 & 新闻", "9000,300", "-32000,-32000",
           "off every screen" }) {
        QVERIFY2(strText.contains(pszText), pszText);
    }
}

void tst_drawing::aDrawingWithoutWindowsIsStillOne()
{
    QVERIFY(rects(inspect::toSvg({ "none", {}, {} }), "face").isEmpty());
}

QTEST_GUILESS_MAIN(tst_drawing)
#include "tst_drawing.moc"
