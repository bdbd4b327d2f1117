#include "inspect/screens.h"

#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <QMap>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace inspect {

namespace {

// Window systems count pixels in 16 bits, and park minimized windows at -32000.
const QRectF& farthestDesktop()
{
    static const QRectF s_rect(-30000, -30000, 60000, 60000);
    return s_rect;
}

namespace geo = boost::geometry;
using Point = geo::model::d2::point_xy<double>;
using Box = geo::model::box<Point>;

// Without its edge, since what only touches shows nothing.
Box boxOf(const QRectF& rect)
{
    const QRectF inner = rect.adjusted(0.25, 0.25, -0.25, -0.25);
    return { Point(inner.left(), inner.top()), Point(inner.right(), inner.bottom()) };
}

QRectF rectFromText(const QString& text)
{
    static const QRegularExpression s_form(QStringLiteral(
        "^(\\d{1,5})x(\\d{1,5})(?:\\+(-?\\d{1,5})|(-\\d{1,5}))(?:\\+(-?\\d{1,5})|(-\\d{1,5}))$"));
    const QRegularExpressionMatch match = s_form.match(text);
    const auto number = [&](int i) { return match.captured(i).toInt(); };
    // Of either sign one of two is there, and the other one counts nothing.
    return { qreal(number(3) + number(4)), qreal(number(5) + number(6)), qreal(number(1)),
             qreal(number(2)) };
}

// What is wrong with a screen behind others; empty for nothing.
QString errorOf(const QRectF& rect, const QVector<Screen>& others)
{
    if (rect.isEmpty()) {
        return QStringLiteral("is no screen like 1920x1080+0+0");
    }
    if (!farthestDesktop().contains(rect)) {
        return QStringLiteral("is farther out than any desktop reaches");
    }
    const bool bTaken = std::any_of(others.begin(), others.end(), [&](const Screen& screen) {
        return screen.rect.intersects(rect);
    });
    return bTaken ? QStringLiteral("overlaps a screen before it") : QString();
}

} // namespace

QVector<int> offScreen(const QVector<KW::CLayoutWindow>& windows, const QVector<Screen>& screens)
{
    std::vector<Box> boxes;
    std::transform(screens.begin(), screens.end(), std::back_inserter(boxes),
                   [](const Screen& screen) { return boxOf(screen.rect); });
    const geo::index::rtree<Box, geo::index::rstar<16>> tree(boxes);
    QVector<int> found;
    for (int i = 0; i < windows.size(); ++i) {
        const QRectF area = areaOf(windows[i]).normalized();
        const bool bNowhere
            = area.isEmpty() || tree.qbegin(geo::index::intersects(boxOf(area))) == tree.qend();
        if (!windows[i].m_bMaximized && bNowhere) {
            found.append(i);
        }
    }
    return found;
}

QVector<Screen> screensOf(const QVector<KW::CLayoutWindow>& windows)
{
    QMap<int, Screen> screens;
    for (const KW::CLayoutWindow& window : windows) {
        const QRectF area = areaOf(window);
        if (!area.isValid() || !farthestDesktop().contains(area)) {
            continue;
        }
        Screen& screen = screens[window.m_nScreenId];
        const ScreenSource source
            = window.m_bMaximized ? ScreenSource::Maximized : ScreenSource::Windows;
        if (source == screen.source) {
            screen.rect |= area;
        } else if (source == ScreenSource::Maximized) {
            screen = { 0, area, source };
        }
        screen.nId = window.m_nScreenId;
    }
    return QVector<Screen>(screens.begin(), screens.end());
}

ScreenList screensFromText(const QString& text)
{
    ScreenList list;
    const QStringList words = text.split(',');
    for (const QString& word : words) {
        const QRectF rect = rectFromText(word);
        const QString strError = errorOf(rect, list.screens);
        if (!strError.isEmpty()) {
            return { {}, QStringLiteral("'%1' %2").arg(word, strError) };
        }
        list.screens.append({ list.screens.size() + 1, rect, ScreenSource::Maximized });
    }
    return list;
}

QVector<KW::CLayoutWindow> windowsOf(const UserRecords& records)
{
    QVector<KW::CLayoutWindow> windows;
    const QVector<Layout> layouts = layoutsOf(records) + templatesOf(records, LayoutSide::Quote)
        + templatesOf(records, LayoutSide::Trade);
    for (const Layout& layout : layouts) {
        windows += layout.windows;
    }
    return windows;
}

bool isLargerThanAnyDesktop(const QRectF& area)
{
    return area.width() > farthestDesktop().width() || area.height() > farthestDesktop().height();
}

bool isOffScreen(const KW::CLayoutWindow& window, const QVector<Screen>& screens)
{
    // A maximized window fills its screen whatever its place when it is not.
    const QRectF area = areaOf(window);
    return !window.m_bMaximized
        && std::none_of(screens.begin(), screens.end(),
                        [&](const Screen& screen) { return screen.rect.intersects(area); });
}

} // namespace inspect
