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

QVector<Screen> screensOf(const QVector<Window>& windows)
{
    QMap<int, Screen> screens;
    for (const Window& window : windows) {
        if (!window.rect.isValid() || !farthestDesktop().contains(window.rect)) {
            continue;
        }
        Screen& screen = screens[window.nScreenId];
        const ScreenSource source
            = window.bMaximized ? ScreenSource::Maximized : ScreenSource::Windows;
        if (source == screen.source) {
            screen.rect |= window.rect;
        } else if (source == ScreenSource::Maximized) {
            screen = { 0, window.rect, source };
        }
        screen.nId = window.nScreenId;
    }
    return QVector<Screen>(screens.begin(), screens.end());
}

QVector<Window> windowsOf(const UserRecords& records)
{
    QVector<Window> windows;
    const QVector<Layout> layouts = layoutsOf(records) + templatesOf(records, LayoutSide::Quote)
        + templatesOf(records, LayoutSide::Trade);
    for (const Layout& layout : layouts) {
        windows += layout.windows;
    }
    return windows;
}

bool isOffScreen(const Window& window, const QVector<Screen>& screens)
{
    // A maximized window fills its screen whatever its place when it is not.
    return !window.bMaximized
        && std::none_of(screens.begin(), screens.end(),
                        [&](const Screen& screen) { return screen.rect.intersects(window.rect); });
}

} // namespace inspect
