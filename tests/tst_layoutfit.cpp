#include "librarytest.h"

#include <inspect/layoutfit.h>
#include <inspect/windowchanges.h>

#include <QElapsedTimer>

#include <rapidcheck.h>

#include <algorithm>

// How layouts lie on screens, and how they are brought onto others.
class tst_layoutfit : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void screensAreRead_data();
    void screensAreRead();
    void whatIsNoListOfScreensIsNamed_data();
    void whatIsNoListOfScreensIsNamed();
    void howWindowsLieIsTold_data();
    void howWindowsLieIsTold();
    void windowsGoToTheirScreens_data();
    void windowsGoToTheirScreens();
    void windowsAreScaledAndBroughtWithin_data();
    void windowsAreScaledAndBroughtWithin();
    void nothingButThePlaceChanges();
    void anyLayoutIsBroughtBackAsAWhole();
    void manyScreensOfManyWindowsTakeNoTime();
};

namespace {

using KW::CLayoutWindow;
using Windows = QVector<CLayoutWindow>;
using inspect::FittedWindow;

// "1 main max 1920x1040+0+0": screen, marks, place.
CLayoutWindow windowOfText(const QString& text)
{
    static const QRegularExpression s_form("^(-?\\d+)( main)?( max)? (-?\\d+)x(-?\\d+)"
                                           "([-+]\\d+)([-+]\\d+)$");
    const QRegularExpressionMatch match = s_form.match(text);
    if (!match.hasMatch()) {
        qFatal("no window: %s", qPrintable(text));
    }
    CLayoutWindow window;
    window.m_nScreenId = match.captured(1).toInt();
    window.m_bIsMain = !match.captured(2).isEmpty();
    window.m_bMaximized = !match.captured(3).isEmpty();
    window.m_rect = QRect(match.captured(6).toInt(), match.captured(7).toInt(),
                          match.captured(4).toInt(), match.captured(5).toInt());
    return window;
}

Windows windowsOfText(const QString& text)
{
    Windows windows;
    const auto words = text.split("; ", Qt::SkipEmptyParts);
    for (const QString& word : words) {
        windows.append(windowOfText(word));
    }
    return windows;
}

QString textOf(const Windows& windows)
{
    QStringList words;
    for (const CLayoutWindow& window : windows) {
        words.append(QString("%1%2%3 %4")
                         .arg(QString::number(window.m_nScreenId), window.m_bIsMain ? " main" : "",
                              window.m_bMaximized ? " max" : "",
                              inspect::geometryText(inspect::areaOf(window))));
    }
    return words.join("; ");
}

Windows afterOf(const QVector<FittedWindow>& fitted)
{
    Windows windows;
    for (const FittedWindow& each : fitted) {
        windows.append(each.after);
    }
    return windows;
}

Windows broughtBack(const Windows& windows, const QVector<inspect::Screen>& screens)
{
    return afterOf(inspect::fitted(windows, screens));
}

// Counted in whole pixels, by nothing that fits windows.
bool isWithinOne(const CLayoutWindow& window, const QVector<inspect::Screen>& screens)
{
    const QRect& rect = window.m_rect;
    return std::any_of(screens.begin(), screens.end(), [&](const inspect::Screen& screen) {
        const QRect all = screen.rect.toRect();
        const bool bHere = rect.isValid() && rect.left() >= all.left() && rect.top() >= all.top()
            && rect.right() <= all.right() && rect.bottom() <= all.bottom();
        return window.m_bMaximized ? screen.nId == window.m_nScreenId && (!rect.isValid() || bHere)
                                   : bHere;
    });
}

// Side by side, with gaps, from somewhere on.
QVector<inspect::Screen> anyScreens()
{
    QVector<inspect::Screen> screens;
    int nLeft = *rc::gen::inRange(-4000, 1);
    for (int i = *rc::gen::inRange(1, 5); i > 0; --i) {
        const QRectF rect(nLeft, *rc::gen::inRange(-500, 500), *rc::gen::inRange(1, 3000),
                          *rc::gen::inRange(1, 2000));
        screens.append({ screens.size() + 1, rect, inspect::ScreenSource::Maximized });
        nLeft += int(rect.width()) + *rc::gen::inRange(0, 100);
    }
    return screens;
}

CLayoutWindow anyWindow(int group)
{
    CLayoutWindow window;
    window.m_nScreenId = *rc::gen::inRange(0, 6);
    window.m_bIsMain = *rc::gen::inRange(0, 4) == 0;
    window.m_bMaximized = *rc::gen::inRange(0, 4) == 0;
    window.m_nPanelGroupId = group;
    window.m_strNavTree = QString::number(group);
    const int nReach = *rc::gen::element(100, 5000, 40000, 1000000000);
    const auto number = [&](int least) { return *rc::gen::inRange(least, nReach); };
    window.m_rect = QRect(number(-nReach), number(-nReach), number(-10), number(-10));
    return window;
}

} // namespace

void tst_layoutfit::screensAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVector<QRectF>>("rects");
    using Rects = QVector<QRectF>;
    QTest::newRow("one") << "1920x1080+0+0" << Rects { { 0, 0, 1920, 1080 } };
    QTest::newRow("two") << "1920x1080+0+0,2560x1440+1920+30"
                         << Rects { { 0, 0, 1920, 1080 }, { 1920, 30, 2560, 1440 } };
    QTest::newRow("negative") << "800x600-800-20" << Rects { { -800, -20, 800, 600 } };
    QTest::newRow("as X writes it") << "800x600+-800+-20" << Rects { { -800, -20, 800, 600 } };
}

void tst_layoutfit::screensAreRead()
{
    QFETCH(QString, text);
    QFETCH(QVector<QRectF>, rects);
    const inspect::ScreenList list = inspect::screensFromText(text);
    QCOMPARE(list.strError, QString());
    QCOMPARE(list.screens.size(), rects.size());
    for (int i = 0; i < rects.size(); ++i) {
        QCOMPARE(list.screens[i].nId, i + 1);
        QCOMPARE(list.screens[i].rect, rects[i]);
        QCOMPARE(list.screens[i].source, inspect::ScreenSource::Maximized);
    }
}

void tst_layoutfit::whatIsNoListOfScreensIsNamed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    const QString strForm = "'%1' is no screen like 1920x1080+0+0";
    for (const char* pszText : { "", "x", "1920x1080", "1920x1080+0", "0x1080+0+0", "1920x0+0+0",
                                 "-1920x1080+0+0", "1920x1080+0+0+0", "1920x1080++0+0",
                                 "1920x1080+0+0 ", "1920X1080+0+0", "999999x1+0+0" }) {
        QTest::newRow(pszText) << pszText << strForm.arg(pszText);
    }
    QTest::newRow("empty behind") << "1920x1080+0+0," << strForm.arg("");
    QTest::newRow("second") << "1920x1080+0+0,y" << strForm.arg("y");
    QTest::newRow("wide digits") << QString("１x1+0+0") << strForm.arg("１x1+0+0");
    const QString strFar = "'%1' is farther out than any desktop reaches";
    QTest::newRow("too large") << "60001x10+0+0" << strFar.arg("60001x10+0+0");
    QTest::newRow("far") << "800x600+29999+0" << strFar.arg("800x600+29999+0");
    QTest::newRow("overlap") << "800x600+0+0,800x600+799+0"
                             << "'800x600+799+0' overlaps a screen before it";
}

void tst_layoutfit::whatIsNoListOfScreensIsNamed()
{
    QFETCH(QString, text);
    const inspect::ScreenList list = inspect::screensFromText(text);
    QTEST(list.strError, "error");
    QVERIFY(list.screens.isEmpty());
}

void tst_layoutfit::howWindowsLieIsTold_data()
{
    QTest::addColumn<QString>("windows");
    QTest::addColumn<QString>("fits");
    QTest::newRow("within") << "1 100x100+0+0; 2 100x100+1000+0; 1 1000x500+0+0"
                            << "covered fits fits";
    QTest::newRow("number of no screen") << "7 100x100+0+0"
                                         << "fits";
    QTest::newRow("to the edge") << "1 100x100+900+400"
                                 << "fits";
    QTest::newRow("over the edge") << "1 100x100+901+0; 1 100x100+0-1"
                                   << "across across";
    QTest::newRow("over two screens") << "1 200x100+900+0"
                                      << "across";
    QTest::newRow("off") << "1 100x100-100+0; 1 9x9-32000-32000"
                         << "off off";
    QTest::newRow("no size") << "1 0x0+0+0; 1 10x-3+5+5"
                             << "no size no size";
    QTest::newRow("too large") << "1 2001x10+0+0"
                               << "too large";
    QTest::newRow("covered and across") << "1 20x20+1990+0; 2 max 1000x500+1000+0"
                                        << "across fits";
    QTest::newRow("maximized") << "1 max 1000x470+0+0"
                               << "fits";
    QTest::newRow("maximized beyond its screen") << "1 max 1016x516-8-8"
                                                 << "across";
    QTest::newRow("maximized without a size") << "2 max 0x0+0+0"
                                              << "fits";
    QTest::newRow("maximized, no such screen") << "3 max 1000x500+0+0; 3 max 0x0+0+0"
                                               << "off off";
    QTest::newRow("maximized elsewhere") << "2 max 1000x500+0+0"
                                         << "off";
    QTest::newRow("none") << ""
                          << "";
}

void tst_layoutfit::howWindowsLieIsTold()
{
    QFETCH(QString, windows);
    const auto screens = inspect::screensFromText("1000x500+0+0,1000x500+1000+0").screens;
    const auto fitted = inspect::fitted(windowsOfText(windows), screens);
    QStringList fits;
    for (const FittedWindow& each : fitted) {
        fits.append(inspect::fitName(each.fit));
    }
    QTEST(fits.join(' '), "fits");
    fits.removeAll("fits");
    fits.removeAll("covered");
    QCOMPARE(inspect::allFit(fitted), fits.isEmpty());
}

void tst_layoutfit::windowsGoToTheirScreens_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("screens");
    QTest::addColumn<QString>("after");
    QTest::newRow("what fits stays") << "1 main 100x100+0+0; 7 10x10+5+5; 2 max 0x0+0+0"
                                     << "1000x500+0+0,1000x500+1000+0"
                                     << "1 main 100x100+0+0; 7 10x10+5+5; 2 max 0x0+0+0";
    QTest::newRow("others move, what fits stays") << "1 main 9x9+5000+0; 7 100x100+1100+0"
                                                  << "1000x500+0+0,1000x500+1000+0"
                                                  << "1 main 9x9+991+0; 7 100x100+1100+0";
    QTest::newRow("main to the one at the origin") << "5 main max 1000x500+5000+0"
                                                   << "800x600-800+0,1000x500+0+0"
                                                   << "2 main max 1000x500+0+0";
    QTest::newRow("main to the first where none is at the origin") << "5 main max 1000x500+5000+0"
                                                                   << "800x600-800+9,1000x500+0+9"
                                                                   << "1 main max 800x600-800+9";
    QTest::newRow("by rank from left to right")
        << "1 main 9x9+0+0; 2 max 100x100+3000+0; 3 max 100x100-9000+0; 4 max 100x100+2000+0"
        << "100x100+0+0,100x100+300+0,100x100+100+0,100x100-100+0"
        << "1 main 9x9+0+0; 2 max 100x100+300+0; 4 max 100x100-100+0; 3 max 100x100+100+0";
    QTest::newRow("a screen that is there stays, a missing one goes to the main one")
        << "1 main 9x9+0+0; 2 100x100+1100+100; 2 100x100+1950+0; 3 max 1000x500-1000+0; "
           "3 9x9-1000+0"
        << "1000x500+0+0,1000x500+1000+0"
        << "1 main 9x9+0+0; 2 100x100+1050+100; 2 100x100+1900+0; 1 max 1000x500+0+0; 1 9x9+0+0";
    QTest::newRow("without a main window the lowest is main")
        << "4 max 10x10+900+0; 2 max 10x10+800+0"
        << "10x10+100+0,10x10+0+0"
        << "1 max 10x10+100+0; 2 max 10x10+0+0";
}

void tst_layoutfit::windowsGoToTheirScreens()
{
    QFETCH(QString, before);
    QFETCH(QString, screens);
    const inspect::ScreenList list = inspect::screensFromText(screens);
    QCOMPARE(list.strError, QString());
    QTEST(textOf(broughtBack(windowsOfText(before), list.screens)), "after");
}

void tst_layoutfit::windowsAreScaledAndBroughtWithin_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("screens");
    QTest::addColumn<QString>("after");
    QTest::newRow("scaled down with its screen")
        << "1 main max 2000x1000+0+0; 1 1000x500+1000+500; 1 200x100+0+0"
        << "1000x500+0+0"
        << "1 main max 1000x500+0+0; 1 500x250+500+250; 1 100x50+0+0";
    QTest::newRow("scaled up with its screen")
        << "1 main 9x9+0+0; 2 max 1000x500-1000+0; 2 100x50-100+450"
        << "1000x500+0+0,2000x1000+1000+0"
        << "1 main 9x9+0+0; 2 max 2000x1000+1000+0; 2 200x100+2800+900";
    QTest::newRow("side by side they stay so")
        << "1 main max 1000x100+0+0; 1 333x100+0+0; 1 333x100+333+0; 1 334x100+666+0"
        << "500x100+0+0"
        << "1 main max 500x100+0+0; 1 167x100+0+0; 1 166x100+167+0; 1 167x100+333+0";
    QTest::newRow("a screen that is guessed is moved, not scaled up")
        << "1 main 9x9+0+0; 2 50x50+5000+10; 2 50x50+5100+20"
        << "1000x500+0+0,1000x500+1000+0"
        << "1 main 9x9+0+0; 2 50x50+1850+10; 2 50x50+1950+20";
    QTest::newRow("a screen that is guessed is scaled down")
        << "1 main 9x9+0+0; 2 1000x50+4000+0; 2 1000x50+5000+0"
        << "1000x500+0+0"
        << "1 main 9x9+0+0; 1 500x50+0+0; 1 500x50+500+0";
    QTest::newRow("parked and endless") << "1 main 160x28-32000-32000; 1 2147483647x2147483647+0+0"
                                        << "1000x500+0+0"
                                        << "1 main 160x28+0+0; 1 1000x500+0+0";
    QTest::newRow("without a size") << "1 main 0x0+900+0; 1 -5x9+10+10"
                                    << "1000x500+0+0"
                                    << "1 main 500x250+500+0; 1 500x250+10+10";
    QTest::newRow("maximized without a size") << "9 max 0x0+0+0"
                                              << "10x10+0+0"
                                              << "1 max 0x0+0+0";
    QTest::newRow("a small screen") << "1 main 100x100+500+500"
                                    << "1x1+0+0"
                                    << "1 main 1x1+0+0";
}

void tst_layoutfit::windowsAreScaledAndBroughtWithin()
{
    windowsGoToTheirScreens();
}

void tst_layoutfit::nothingButThePlaceChanges()
{
    QDomDocument doc;
    QDomElement panels = doc.createElement("dock");
    CLayoutWindow window = windowOfText("3 main max 900x500+5000+0");
    window.m_strNavTree = "a/b";
    window.m_nPanelGroupId = 6000;
    window.m_pItemLayout.reset(MV::ILayoutElement::fromXml(panels));
    CLayoutWindow expected = window;
    expected.m_nScreenId = 1;
    expected.m_rect = QRect(0, 0, 100, 50);
    const Windows after = broughtBack({ window }, inspect::screensFromText("100x50+0+0").screens);
    QVERIFY(after == Windows { expected });
}

void tst_layoutfit::anyLayoutIsBroughtBackAsAWhole()
{
    QVERIFY(rc::check([] {
        const auto screens = anyScreens();
        Windows windows;
        for (int i = *rc::gen::inRange(0, 12); i > 0; --i) {
            windows.append(anyWindow(i));
        }
        const auto fitted = inspect::fitted(windows, screens);
        RC_ASSERT(fitted.size() == windows.size());
        bool bAll = true;
        for (int i = 0; i < windows.size(); ++i) {
            RC_ASSERT(fitted[i].before == windows[i]);
            CLayoutWindow placed = windows[i];
            placed.m_rect = fitted[i].after.m_rect;
            placed.m_nScreenId = fitted[i].after.m_nScreenId;
            RC_ASSERT(fitted[i].after == placed);
            RC_ASSERT(isWithinOne(placed, screens));
            bAll = bAll && isWithinOne(windows[i], screens);
        }
        RC_ASSERT(!inspect::allFit(fitted) || afterOf(fitted) == windows);
        RC_ASSERT(inspect::allFit(fitted) == bAll);
        const auto again = inspect::fitted(afterOf(fitted), screens);
        RC_ASSERT(inspect::allFit(again));
        RC_ASSERT(afterOf(again) == afterOf(fitted));
    }));
}

void tst_layoutfit::manyScreensOfManyWindowsTakeNoTime()
{
    Windows windows;
    for (int i = 0; i < 50000; ++i) {
        windows.append(windowOfText(QString("%1 10x10+5000+0").arg(i)));
    }
    const auto screens = inspect::screensFromText("1000x500+0+0,1000x500+1000+0").screens;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(inspect::allFit(inspect::fitted(broughtBack(windows, screens), screens)));
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(tst_layoutfit)
#include "tst_layoutfit.moc"
