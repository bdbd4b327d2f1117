#include "inspect/windowplaces.h"

#include <algorithm>
#include <numeric>

namespace inspect {

namespace {

constexpr int c_nMostPieces = 20000;

qreal sizeOf(const QRectF& rect)
{
    return rect.isEmpty() ? 0 : rect.width() * rect.height();
}

// What no window covers yet, in pieces that do not overlap.
class CFreeSpace {
public:
    explicit CFreeSpace(const QVector<Screen>& screens)
    {
        // Screens whose size is a guess may overlap.
        for (const Screen& screen : screens) {
            take(screen.rect);
            m_pieces.append(screen.rect);
        }
    }

    qreal sizeIn(const QRectF& rect) const
    {
        return std::accumulate(
            m_pieces.begin(), m_pieces.end(), 0.0,
            [&](qreal sum, const QRectF& piece) { return sum + sizeOf(piece & rect); });
    }

    // What was free of rect, in pieces, and is free no more.
    QVector<QRectF> take(const QRectF& rect)
    {
        QVector<QRectF> taken;
        QVector<QRectF> rest;
        for (const QRectF& piece : qAsConst(m_pieces)) {
            const QRectF common = piece & rect;
            if (common.isEmpty()) {
                rest.append(piece);
            } else {
                taken.append(common);
                addAround(piece, common, rest);
            }
        }
        m_pieces = rest;
        forgetSmallest();
        return taken;
    }

    // Whether all that is free is known.
    bool isWhole() const { return m_bWhole; }

private:
    // A grid of windows leaves a piece for each two of them.
    void forgetSmallest()
    {
        if (m_pieces.size() > c_nMostPieces) {
            const auto isLarger = [](const QRectF& left, const QRectF& right) {
                return sizeOf(left) > sizeOf(right);
            };
            const auto end = m_pieces.begin() + c_nMostPieces / 2;
            std::nth_element(m_pieces.begin(), end, m_pieces.end(), isLarger);
            m_pieces.erase(end, m_pieces.end());
            m_bWhole = false;
        }
    }

    static void addAround(const QRectF& piece, const QRectF& hole, QVector<QRectF>& rest)
    {
        const QRectF around[] { { piece.topLeft(), QPointF(piece.right(), hole.top()) },
                                { QPointF(piece.left(), hole.bottom()), piece.bottomRight() },
                                { QPointF(piece.left(), hole.top()), hole.bottomLeft() },
                                { hole.topRight(), QPointF(piece.right(), hole.bottom()) } };
        std::copy_if(std::begin(around), std::end(around), std::back_inserter(rest),
                     [](const QRectF& each) { return !each.isEmpty(); });
    }

    QVector<QRectF> m_pieces;
    bool m_bWhole = true;
};

// How long a label in the piece could be, if no side may be short.
qreal roomIn(const QRectF& piece)
{
    return std::min(piece.width(), 12 * piece.height());
}

// The uppermost of those with most room for a label.
QRectF roomiest(const QVector<QRectF>& pieces)
{
    qreal nMost = 0;
    for (const QRectF& piece : pieces) {
        nMost = std::max(nMost, roomIn(piece));
    }
    QRectF found;
    for (const QRectF& piece : pieces) {
        const bool bUpper = found.isEmpty() || piece.top() < found.top()
            || (piece.top() == found.top() && piece.left() < found.left());
        if (bUpper && roomIn(piece) >= 0.7 * nMost) {
            found = piece;
        }
    }
    return found;
}

QRectF shownArea(const KW::CLayoutWindow& window, const QVector<Screen>& screens)
{
    const auto it = std::find_if(screens.begin(), screens.end(), [&](const Screen& screen) {
        return screen.nId == window.m_nScreenId;
    });
    return window.m_bMaximized && it != screens.end() ? it->rect : areaOf(window);
}

WindowPlace placeOf(const QRectF& area, const QVector<Screen>& screens, const QRectF& desktop)
{
    if (area.isEmpty()) {
        return WindowPlace::NoSize;
    }
    if (area.width() > desktop.width() || area.height() > desktop.height()) {
        return desktop.isEmpty() ? WindowPlace::OffScreens : WindowPlace::TooLarge;
    }
    const bool bOn = std::any_of(screens.begin(), screens.end(), [&](const Screen& screen) {
        return screen.rect.intersects(area);
    });
    return bOn ? WindowPlace::Shown : WindowPlace::OffScreens;
}

// From the uppermost window down, each takes what is still free.
void look(const QVector<Screen>& screens, QVector<PlacedWindow>& windows)
{
    const CFreeSpace all(screens);
    CFreeSpace free = all;
    for (auto it = windows.rbegin(); it != windows.rend(); ++it) {
        if (it->place == WindowPlace::Shown) {
            const qreal nBefore = free.sizeIn(it->area);
            it->seen = roomiest(free.take(it->area));
            const qreal nOnScreens = all.sizeIn(it->area);
            it->nOnScreens = nOnScreens / sizeOf(it->area);
            it->nShare = nBefore / nOnScreens;
            // Of what was forgotten nobody can say that it is covered.
            if (!free.isWhole()) {
                it->nShare = 1;
            } else if (it->seen.isEmpty()) {
                it->place = WindowPlace::Covered;
            }
        }
    }
}

} // namespace

QRectF desktopOf(const QVector<Screen>& screens)
{
    QRectF desktop;
    for (const Screen& screen : screens) {
        desktop |= screen.rect;
    }
    return desktop;
}

QVector<PlacedWindow> placed(const QVector<KW::CLayoutWindow>& windows,
                             const QVector<Screen>& screens)
{
    const QRectF desktop = desktopOf(screens);
    QVector<PlacedWindow> all;
    for (const KW::CLayoutWindow& window : windows) {
        PlacedWindow each;
        each.nNumber = all.size() + 1;
        each.window = window;
        each.area = shownArea(window, screens);
        each.place = placeOf(each.area, screens, desktop);
        all.append(each);
    }
    look(screens, all);
    return all;
}

} // namespace inspect
