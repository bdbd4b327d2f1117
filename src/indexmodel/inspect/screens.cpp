#include "inspect/screens.h"

#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <QMap>

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

bool isOffScreen(const KW::CLayoutWindow& window, const QVector<Screen>& screens)
{
    // A maximized window fills its screen whatever its place when it is not.
    const QRectF area = areaOf(window);
    return !window.m_bMaximized
        && std::none_of(screens.begin(), screens.end(),
                        [&](const Screen& screen) { return screen.rect.intersects(area); });
}

} // namespace inspect
