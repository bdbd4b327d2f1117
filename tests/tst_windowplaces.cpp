#include "librarytest.h"

#include <inspect/shortened.h>
#include <inspect/windowchanges.h>

#include <QElapsedTimer>

// Panels that are one element.
class CPanel : public MV::ILayoutElement {
public:
    explicit CPanel(const QString& tag)
        : m_strTag(tag)
    {
    }
    void toXml(QDomElement& parent, QDomDocument& doc) const override
    {
        parent.appendChild(doc.createElement(m_strTag));
    }

private:
    QString m_strTag;
};

// What of windows can be seen, what became of them, and how their names are shortened.
class tst_windowplaces : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aWindowIsCoveredByThoseAboveItOnly();
    void severalWindowsCoverOneTogether();
    void aGapShowsTheWindowBelow();
    void whatLiesBeyondTheScreensDoesNotCount();
    void aMaximizedWindowFillsItsScreen();
    void windowsWithoutAPlaceCoverNothing_data();
    void windowsWithoutAPlaceCoverNothing();
    void theShareThatIsSeenIsTheOneCountedPointByPoint();
    void aGridOfWindowsIsLookedThroughInTime();
    void windowsBelongTogetherByTheirGroup();
    void windowsOfAGroupArePairedByWhatTheyShare_data();
    void windowsOfAGroupArePairedByWhatTheyShare();
    void movesAreToldInFull();
    void whatIsTheSameHasNoNotes();
    void textIsShortenedAtCharacters_data();
    void textIsShortenedAtCharacters();

private:
    static KW::CLayoutWindow window(const QRect& rect, int group = 1, bool maximized = false);
    static QVector<inspect::Screen> screen(const QRectF& rect);
    static QVector<int> places(const QVector<KW::CLayoutWindow>& windows);
};

using inspect::WindowFate;
using inspect::WindowPlace;

KW::CLayoutWindow tst_windowplaces::window(const QRect& rect, int group, bool maximized)
{
    KW::CLayoutWindow window;
    window.m_nScreenId = 1;
    window.m_rect = rect;
    window.m_nPanelGroupId = group;
    window.m_bMaximized = maximized;
    return window;
}

QVector<inspect::Screen> tst_windowplaces::screen(const QRectF& rect)
{
    return { { 1, rect, inspect::ScreenSource::Maximized } };
}

QVector<int> tst_windowplaces::places(const QVector<KW::CLayoutWindow>& windows)
{
    QVector<int> places;
    const auto all = inspect::placed(windows, screen({ 0, 0, 1000, 500 }));
    for (const inspect::PlacedWindow& each : all) {
        places.append(static_cast<int>(each.place));
    }
    return places;
}

void tst_windowplaces::aWindowIsCoveredByThoseAboveItOnly()
{
    const QVector<int> expected { int(WindowPlace::Covered), int(WindowPlace::Shown) };
    QCOMPARE(places({ window({ 10, 10, 50, 50 }), window({ 0, 0, 100, 100 }) }), expected);
    const QVector<int> other { int(WindowPlace::Shown), int(WindowPlace::Shown) };
    QCOMPARE(places({ window({ 0, 0, 100, 100 }), window({ 10, 10, 50, 50 }) }), other);
}

void tst_windowplaces::severalWindowsCoverOneTogether()
{
    const auto all = places({ window({ 0, 0, 100, 100 }), window({ 0, 0, 60, 60 }),
                              window({ 60, 0, 60, 60 }), window({ 0, 60, 200, 60 }) });
    QCOMPARE(all.count(int(WindowPlace::Covered)), 1);
    QCOMPARE(all.first(), int(WindowPlace::Covered));
}

void tst_windowplaces::aGapShowsTheWindowBelow()
{
    const auto all = inspect::placed(
        { window({ 0, 0, 100, 100 }), window({ 0, 0, 60, 100 }), window({ 61, 0, 60, 100 }) },
        screen({ 0, 0, 1000, 500 }));
    QCOMPARE(all[0].place, WindowPlace::Shown);
    QCOMPARE(all[0].seen, QRectF(60, 0, 1, 100));
    QCOMPARE(all[0].nShare, 0.01);
    QCOMPARE(all[1].nShare, 1.0);
}

void tst_windowplaces::whatLiesBeyondTheScreensDoesNotCount()
{
    const auto all = inspect::placed({ window({ -50, 0, 100, 100 }), window({ 0, 0, 50, 50 }) },
                                     screen({ 0, 0, 1000, 500 }));
    QCOMPARE(all[0].seen, QRectF(0, 50, 50, 50));
    QCOMPARE(all[0].nShare, 0.5);
}

void tst_windowplaces::aMaximizedWindowFillsItsScreen()
{
    const auto all
        = inspect::placed({ window({ 10, 10, 50, 50 }), window({ 0, 0, 5, 5 }, 1, true) },
                          screen({ 0, 0, 1000, 500 }));
    QCOMPARE(all[1].area, QRectF(0, 0, 1000, 500));
    QCOMPARE(all[0].place, WindowPlace::Covered);
}

void tst_windowplaces::windowsWithoutAPlaceCoverNothing_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<int>("place");
    QTest::newRow("off") << QRect(1000, 0, 50, 50) << int(WindowPlace::OffScreens);
    QTest::newRow("parked") << QRect(-32000, -32000, 160, 28) << int(WindowPlace::OffScreens);
    QTest::newRow("empty") << QRect(10, 10, 0, 0) << int(WindowPlace::NoSize);
    QTest::newRow("negative") << QRect(10, 10, -50, 20) << int(WindowPlace::NoSize);
    QTest::newRow("too wide") << QRect(0, 0, 1001, 50) << int(WindowPlace::TooLarge);
    QTest::newRow("too high") << QRect(0, 0, 50, 501) << int(WindowPlace::TooLarge);
    QTest::newRow("endless") << QRect(0, 0, 2147483647, 2147483647) << int(WindowPlace::TooLarge);
    QTest::newRow("as large") << QRect(0, 0, 1000, 500) << int(WindowPlace::Shown);
}

void tst_windowplaces::windowsWithoutAPlaceCoverNothing()
{
    QFETCH(QRect, rect);
    QFETCH(int, place);
    const auto below = place == int(WindowPlace::Shown) ? WindowPlace::Covered : WindowPlace::Shown;
    const QVector<int> expected { int(below), place };
    QCOMPARE(places({ window({ 10, 10, 30, 30 }), window(rect) }), expected);
}

// On a small desktop every point can be looked at.
void tst_windowplaces::theShareThatIsSeenIsTheOneCountedPointByPoint()
{
    constexpr int c_nSide = 24;
    QVector<KW::CLayoutWindow> windows;
    quint32 nRandom = 7;
    const auto next = [&](int limit) {
        nRandom = nRandom * 1664525 + 1013904223;
        return static_cast<int>((nRandom >> 16) % static_cast<quint32>(limit));
    };
    for (int i = 0; i < 40; ++i) {
        windows.append(window({ next(30) - 4, next(30) - 4, 1 + next(9), 1 + next(9) }));
    }
    const auto all = inspect::placed(windows, screen({ 0, 0, c_nSide, c_nSide }));
    QVector<int> seen(windows.size(), 0);
    QVector<int> size(windows.size(), 0);
    for (int i = 0; i < c_nSide * c_nSide; ++i) {
        int nTop = -1;
        for (int n = 0; n < windows.size(); ++n) {
            if (windows[n].m_rect.contains(i % c_nSide, i / c_nSide)) {
                ++size[n];
                nTop = n;
            }
        }
        if (nTop >= 0) {
            ++seen[nTop];
        }
    }
    for (int n = 0; n < windows.size(); ++n) {
        QCOMPARE(qRound(all[n].nShare * size[n]), seen[n]);
        QCOMPARE(all[n].place == WindowPlace::Covered, size[n] > 0 && seen[n] == 0);
    }
}

// Each two of them leave a gap between them: in all two millions.
void tst_windowplaces::aGridOfWindowsIsLookedThroughInTime()
{
    QVector<KW::CLayoutWindow> windows { window({ 100, 100, 50, 50 }) };
    for (int i = 0; i < 1500; ++i) {
        windows.append(window({ 4 * i, 0, 2, 6000 }));
        windows.append(window({ 0, 4 * i, 6000, 2 }));
    }
    QElapsedTimer timer;
    timer.start();
    const auto all = inspect::placed(windows, screen({ 0, 0, 6000, 6000 }));
    QVERIFY2(timer.elapsed() < 30000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(all[0].place, WindowPlace::Shown);
}

void tst_windowplaces::windowsBelongTogetherByTheirGroup()
{
    const auto changes = inspect::windowChanges(
        { window({ 0, 0, 9, 9 }, 1), window({ 0, 0, 9, 9 }, 2), window({ 5, 0, 9, 9 }, 1) },
        { window({ 0, 0, 9, 9 }, 3), window({ 0, 0, 9, 9 }, 1) });
    QCOMPARE(changes.size(), 4);
    const WindowFate fates[] { WindowFate::New, WindowFate::Same, WindowFate::Gone,
                               WindowFate::Gone };
    const int before[] { -1, 0, 1, 2 };
    for (int i = 0; i < changes.size(); ++i) {
        QCOMPARE(changes[i].fate, fates[i]);
        QCOMPARE(changes[i].nBefore, before[i]);
    }
}

// A window as "name left width [panel]".
void tst_windowplaces::windowsOfAGroupArePairedByWhatTheyShare_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QVector<int>>("pairs"); // indexes before, then those that are gone
    const auto row = [](const char* pszName, const char* pszBefore, const char* pszAfter,
                        const QVector<int>& pairs) {
        QTest::newRow(pszName) << QString(pszBefore) << QString(pszAfter) << pairs;
    };
    row("one is gone", "b 0 9,c 10 9,d 20 9", "b 0 9,d 20 9", { 0, 2, 1 });
    row("another order", "b 0 9,c 10 9,d 20 9", "d 20 9,b 0 9,c 10 9", { 2, 0, 1 });
    row("moved", "b 0 9,c 10 9,d 20 9", "c 11 9,d 21 9", { 1, 2, 0 });
    row("named otherwise", "b 0 9,c 10 9,d 20 9", "x 10 9,d 20 9", { 1, 2, 0 });
    row("of one name", "b 0 9,b 10 9,b 20 9", "b 10 9,b 20 8", { 1, 0, 2 });
    row("without names", " 0 9, 10 9, 20 9", " 10 9, 20 8", { 1, 0, 2 });
    row("nothing shared", "b 0 9,c 10 9", "x 1 9,y 2 9,z 3 9", { 0, 1, -1 });
    row("the same twice", "b 0 9,b 0 9", "b 0 9,b 0 9", { 0, 1 });
    row("panels", "b 0 9 p,b 0 9 q,b 0 9 r", "b 0 9 r,b 0 9 p", { 2, 0, 1 });
}

void tst_windowplaces::windowsOfAGroupArePairedByWhatTheyShare()
{
    const auto windowsOf = [](const QString& text) {
        QVector<KW::CLayoutWindow> windows;
        for (const QString& each : text.split(',')) {
            const QStringList words = each.split(' ');
            windows.append(window({ words[1].toInt(), 0, words[2].toInt(), 9 }));
            windows.last().m_strNavTree = words[0];
            if (words.size() > 3) {
                windows.last().m_pItemLayout = std::make_shared<CPanel>(words[3]);
            }
        }
        return windows;
    };
    QFETCH(QString, before);
    QFETCH(QString, after);
    QVector<int> pairs;
    for (const auto& each : inspect::windowChanges(windowsOf(before), windowsOf(after))) {
        pairs.append(each.nBefore);
    }
    QTEST(pairs, "pairs");
}

void tst_windowplaces::movesAreToldInFull()
{
    KW::CLayoutWindow after = window({ 120, -80, 1000000000, 90 }, 1, true);
    after.m_nScreenId = 2;
    const auto changes = inspect::windowChanges({ window({ 0, 0, 9, 100 }) }, { after });
    const QStringList expected { "moved +120,-80 (was 0,0)", "resized +999999991x-10 (was 9x100)",
                                 "was on screen 1", "now maximized" };
    QCOMPARE(changes[0].notes, expected);
    QCOMPARE(changes[0].fate, WindowFate::Changed);
}

void tst_windowplaces::whatIsTheSameHasNoNotes()
{
    const auto changes
        = inspect::windowChanges({ window({ 0, 0, 9, 9 }) }, { window({ 0, 0, 9, 9 }) });
    QCOMPARE(changes[0].fate, WindowFate::Same);
    QVERIFY(changes[0].notes.isEmpty());
}

void tst_windowplaces::textIsShortenedAtCharacters_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qreal>("width");
    QTest::addColumn<QString>("shortened");
    QTest::newRow("fits") << "nnn" << 19.3 << "nnn";
    QTest::newRow("wide") << QStringLiteral("自选股") << 30.0 << QStringLiteral("自选股");
    QTest::newRow("cut") << QStringLiteral("自选股") << 29.0 << QStringLiteral("自…");
    QTest::newRow("no room") << QStringLiteral("自选股") << 19.0 << QString();
    QTest::newRow("pairs") << QStringLiteral("𠀀𠀀𠀀") << 25.0 << QStringLiteral("𠀀…");
    QTest::newRow("word") << "nnnnn" << 20.0 << QStringLiteral("n…");
    QTest::newRow("blank") << QStringLiteral("a bcd") << 20.5 << QStringLiteral("a…");
}

void tst_windowplaces::textIsShortenedAtCharacters()
{
    QFETCH(QString, text);
    QFETCH(qreal, width);
    QTEST(inspect::shortened(text, width, 10), "shortened");
}

QTEST_GUILESS_MAIN(tst_windowplaces)
#include "tst_windowplaces.moc"
