#include "inspect/screens.h"

#include <QMap>

#include <algorithm>

namespace inspect {

namespace {

// Window systems count pixels in 16 bits, and park minimized windows at -32000.
const QRectF& farthestDesktop()
{
    static const QRectF s_rect(-30000, -30000, 60000, 60000);
    return s_rect;
}

} // namespace

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
