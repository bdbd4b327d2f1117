#include "inspect/layoutfit.h"

#include "inspect/windowplaces.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <optional>
#include <tuple>

namespace inspect {

namespace {

using Windows = QVector<KW::CLayoutWindow>;
using Screens = QVector<Screen>;
using ScreenMap = QHash<int, Screen>; // by a number of the old ones

// Where the desktop begins, on systems where that is a rule.
Screen mainOf(const Screens& screens)
{
    const auto it = std::find_if(screens.begin(), screens.end(), [](const Screen& screen) {
        return screen.rect.topLeft().isNull();
    });
    return it == screens.end() ? screens.first() : *it;
}

WindowFit maximizedFit(const KW::CLayoutWindow& window, const Screens& screens)
{
    const auto it = std::find_if(screens.begin(), screens.end(), [&](const Screen& screen) {
        return screen.nId == window.m_nScreenId;
    });
    if (it == screens.end()) {
        return WindowFit::Off;
    }
    const QRectF area = areaOf(window);
    if (area.isEmpty() || it->rect.contains(area)) {
        return WindowFit::Fits;
    }
    return it->rect.intersects(area) ? WindowFit::Across : WindowFit::Off;
}

WindowFit normalFit(const PlacedWindow& window, const Screens& screens)
{
    switch (window.place) {
    case WindowPlace::OffScreens:
        return WindowFit::Off;
    case WindowPlace::NoSize:
        return WindowFit::NoSize;
    case WindowPlace::TooLarge:
        return WindowFit::TooLarge;
    case WindowPlace::Shown:
    case WindowPlace::Covered:
        break;
    }
    const bool bWithin = std::any_of(screens.begin(), screens.end(), [&](const Screen& screen) {
        return screen.rect.contains(window.area);
    });
    return bWithin ? WindowFit::Fits : WindowFit::Across;
}

WindowFit fitOf(const PlacedWindow& window, const Screens& screens)
{
    const WindowFit fit = window.window.m_bMaximized ? maximizedFit(window.window, screens)
                                                     : normalFit(window, screens);
    const bool bCovered = fit == WindowFit::Fits && window.place == WindowPlace::Covered;
    return bCovered ? WindowFit::Covered : fit;
}

bool isWithin(WindowFit fit)
{
    return fit == WindowFit::Fits || fit == WindowFit::Covered;
}

Screens fromLeft(Screens screens)
{
    const auto place = [](const Screen& screen) {
        return std::make_tuple(screen.rect.left(), screen.rect.top(), screen.nId);
    };
    std::sort(screens.begin(), screens.end(),
              [&](const Screen& left, const Screen& right) { return place(left) < place(right); });
    return screens;
}

// The screen of the main window; without one, the first.
int mainIdOf(const Windows& windows)
{
    const auto main = std::find_if(windows.begin(), windows.end(),
                                   [](const auto& each) { return each.m_bIsMain; });
    const auto lowest
        = std::min_element(windows.begin(), windows.end(), [](const auto& left, const auto& right) {
              return left.m_nScreenId < right.m_nScreenId;
          });
    return (main == windows.end() ? lowest : main)->m_nScreenId;
}

// Which new screen takes the windows of each old one, by the number of the old one; what is not in
// it goes to the main one.
ScreenMap destinations(const Screens& before, int mainId, const Screens& screens)
{
    const Screen main = mainOf(screens);
    ScreenMap found { { mainId, main } };
    QSet<int> taken { main.nId };
    for (const Screen& each : before) {
        const auto it = std::find_if(screens.begin(), screens.end(), [&](const Screen& screen) {
            return screen.rect.contains(each.rect.center());
        });
        if (it != screens.end() && each.nId != mainId) {
            found.insert(each.nId, *it);
            taken.insert(it->nId);
        }
    }
    Screens free = fromLeft(screens);
    free.erase(std::remove_if(free.begin(), free.end(),
                              [&](const Screen& each) { return taken.contains(each.nId); }),
               free.end());
    const Screens others = fromLeft(before);
    for (const Screen& each : others) {
        if (!found.contains(each.nId) && !free.isEmpty()) {
            found.insert(each.nId, free.takeFirst());
        }
    }
    return found;
}

struct Span {
    qreal nFirst;
    qreal nSize;
};

Span acrossOf(const QRectF& rect)
{
    return { rect.x(), rect.width() };
}

Span downOf(const QRectF& rect)
{
    return { rect.y(), rect.height() };
}

// Of a screen that is only known by its windows nobody can say how much room was around them: they
// move no farther than they have to, and shrink if they must.
Span moved(const Span& span, const Span& from, const Span& to, ScreenSource source)
{
    if (source == ScreenSource::Windows && from.nSize <= to.nSize) {
        const qreal nShift
            = qBound(to.nFirst, from.nFirst, to.nFirst + to.nSize - from.nSize) - from.nFirst;
        return { span.nFirst + nShift, span.nSize };
    }
    const qreal nScale = to.nSize / from.nSize;
    return { to.nFirst + (span.nFirst - from.nFirst) * nScale, span.nSize * nScale };
}

// Edges are rounded, not sizes, so that windows side by side stay so.
Span clamped(const Span& span, const Span& to)
{
    const qreal nFirst = std::round(span.nFirst);
    const qreal nWanted = std::round(span.nFirst + span.nSize) - nFirst;
    const qreal nSize = qBound(1.0, nWanted, to.nSize);
    return { qBound(to.nFirst, nFirst, to.nFirst + to.nSize - nSize), nSize };
}

QRectF fittedArea(const QRectF& area, const std::optional<Screen>& from, const Screen& to)
{
    Span across = acrossOf(area);
    Span down = downOf(area);
    if (from && !to.rect.contains(from->rect)) {
        across = moved(across, acrossOf(from->rect), acrossOf(to.rect), from->source);
        down = moved(down, downOf(from->rect), downOf(to.rect), from->source);
    }
    if (area.isEmpty()) {
        across.nSize = to.rect.width() / 2;
        down.nSize = to.rect.height() / 2;
    }
    across = clamped(across, acrossOf(to.rect));
    down = clamped(down, downOf(to.rect));
    return { across.nFirst, down.nFirst, across.nSize, down.nSize };
}

KW::CLayoutWindow fittedWindow(const KW::CLayoutWindow& window, const std::optional<Screen>& from,
                               const Screen& to)
{
    KW::CLayoutWindow fitted = window;
    fitted.m_nScreenId = to.nId;
    const QRectF area = areaOf(window);
    // A maximized window needs no size.
    if (!window.m_bMaximized || !area.isEmpty()) {
        fitted.m_rect = fittedArea(area, from, to).toRect();
    }
    return fitted;
}

// A window is moved the way of its old screen, if that is known.
void move(QVector<FittedWindow>& windows, const QSet<int>& moving, const Screens& before,
          const ScreenMap& targets, const Screen& main)
{
    ScreenMap old;
    for (const Screen& each : before) {
        old.insert(each.nId, each);
    }
    for (FittedWindow& each : windows) {
        const int nId = each.before.m_nScreenId;
        const auto it = old.constFind(nId);
        if (moving.contains(nId)) {
            each.after = fittedWindow(each.before,
                                      it == old.constEnd() ? std::nullopt : std::make_optional(*it),
                                      targets.value(nId, main));
        }
    }
}

} // namespace

QVector<FittedWindow> fitted(const Windows& windows, const Screens& screens)
{
    QVector<FittedWindow> all;
    QSet<int> moving; // the old screens whose windows cannot stay
    const auto places = placed(windows, screens);
    for (const PlacedWindow& each : places) {
        const WindowFit fit = fitOf(each, screens);
        all.append({ fit, each.window, each.window });
        if (!isWithin(fit)) {
            moving.insert(each.window.m_nScreenId);
        }
    }
    if (!moving.isEmpty()) {
        const Screens before = screensOf(windows);
        move(all, moving, before, destinations(before, mainIdOf(windows), screens),
             mainOf(screens));
    }
    return all;
}

bool allFit(const QVector<FittedWindow>& windows)
{
    return std::all_of(windows.begin(), windows.end(),
                       [](const FittedWindow& each) { return isWithin(each.fit); });
}

QString fitName(WindowFit fit)
{
    static const QStringList s_names { "fits", "covered", "across", "off", "no size", "too large" };
    return s_names[static_cast<int>(fit)];
}

} // namespace inspect
