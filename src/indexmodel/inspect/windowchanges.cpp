#include "inspect/windowchanges.h"

#include "inspect/shortened.h"

#include <QDomDocument>
#include <QHash>

namespace inspect {

namespace {

constexpr qreal c_nNameWidth = 30; // of its characters

QString number(qreal value)
{
    return QString::number(static_cast<qint64>(value));
}

QString signedNumber(qreal value)
{
    return value < 0 ? number(value) : QLatin1Char('+') + number(value);
}

void compareAreas(const QRectF& before, const QRectF& after, WindowChange& change)
{
    if (before.topLeft() != after.topLeft()) {
        const QPointF by = after.topLeft() - before.topLeft();
        change.notes.append(
            QStringLiteral("moved %1,%2 (was %3)")
                .arg(signedNumber(by.x()), signedNumber(by.y()), placeText(before)));
    }
    if (before.size() != after.size()) {
        const QSizeF by = after.size() - before.size();
        change.notes.append(
            QStringLiteral("resized %1x%2 (was %3)")
                .arg(signedNumber(by.width()), signedNumber(by.height()), sizeText(before)));
    }
    change.bMoved = !change.notes.isEmpty();
}

void compareSwitch(bool bBefore, bool bAfter, const char* pszWhat, QStringList& notes)
{
    if (bBefore != bAfter) {
        notes.append(QLatin1String(bAfter ? "now " : "no longer ") + QLatin1String(pszWhat));
    }
}

void compare(const KW::CLayoutWindow& before, const KW::CLayoutWindow& after, WindowChange& change)
{
    compareAreas(areaOf(before), areaOf(after), change);
    if (before.m_nScreenId != after.m_nScreenId) {
        change.notes.append(QStringLiteral("was on screen %1").arg(before.m_nScreenId));
    }
    compareSwitch(before.m_bIsMain, after.m_bIsMain, "main", change.notes);
    compareSwitch(before.m_bMaximized, after.m_bMaximized, "maximized", change.notes);
    if (before.m_strNavTree != after.m_strNavTree) {
        change.notes.append(
            QStringLiteral("was named '%1'").arg(shortened(before.m_strNavTree, c_nNameWidth, 1)));
    }
    if (KW::panelTree(before) != KW::panelTree(after)) {
        change.notes.append(QStringLiteral("other panels"));
    }
    change.fate = change.notes.isEmpty() ? WindowFate::Same : WindowFate::Changed;
}

// --- which window was which ---

using Windows = QVector<KW::CLayoutWindow>;

QString groupOf(const KW::CLayoutWindow& window)
{
    return QString::number(window.m_nPanelGroupId) + QLatin1Char('/');
}

QString placeOf(const KW::CLayoutWindow& window)
{
    const QRectF area = areaOf(window);
    return groupOf(window) + QString::number(window.m_nScreenId) + QLatin1Char('/')
        + placeText(area) + QLatin1Char('/') + sizeText(area);
}

// Templates keep no names.
QString namedGroupOf(const KW::CLayoutWindow& window)
{
    return window.m_strNavTree.isEmpty() ? QString() : groupOf(window) + window.m_strNavTree;
}

QString namedPlaceOf(const KW::CLayoutWindow& window)
{
    return placeOf(window) + QLatin1Char('/') + window.m_strNavTree;
}

QString wholeOf(const KW::CLayoutWindow& window)
{
    QDomDocument panels;
    const KW::ElementTree tree = KW::panelTree(window);
    if (!tree.isNull()) {
        KW::appendTree(panels, panels, tree);
    }
    const int nSwitches = (window.m_bIsMain ? 1 : 0) + (window.m_bMaximized ? 2 : 0);
    return QString::number(nSwitches) + QLatin1Char('/') + namedPlaceOf(window) + QLatin1Char('/')
        + panels.toString(-1);
}

// Of each window after its index before, -1 where it is not known yet.
struct Pairs {
    QVector<int> before;
    QVector<bool> taken; // by the index before
};

using KeyOf = QString (*)(const KW::CLayoutWindow& window);

// Those of one key, of several the first with the first; a null key is none.
void pairBy(KeyOf keyOf, const Windows& before, const Windows& after, Pairs& pairs)
{
    QHash<QString, QVector<int>> rest; // the last first
    for (int i = before.size() - 1; i >= 0; --i) {
        const QString strKey = pairs.taken[i] ? QString() : keyOf(before[i]);
        if (!strKey.isNull()) {
            rest[strKey].append(i);
        }
    }
    for (int i = 0; i < after.size(); ++i) {
        const auto it = pairs.before[i] < 0 ? rest.find(keyOf(after[i])) : rest.end();
        if (it != rest.end() && !it->isEmpty()) {
            pairs.before[i] = it->takeLast();
            pairs.taken[pairs.before[i]] = true;
        }
    }
}

Pairs pairsOf(const Windows& before, const Windows& after)
{
    Pairs pairs { QVector<int>(after.size(), -1), QVector<bool>(before.size(), false) };
    for (const KeyOf keyOf : { wholeOf, namedPlaceOf, namedGroupOf, placeOf, groupOf }) {
        pairBy(keyOf, before, after, pairs);
    }
    return pairs;
}

} // namespace

QVector<WindowChange> windowChanges(const QVector<KW::CLayoutWindow>& before,
                                    const QVector<KW::CLayoutWindow>& after)
{
    const Pairs pairs = pairsOf(before, after);
    QVector<WindowChange> changes;
    for (int i = 0; i < after.size(); ++i) {
        WindowChange change { WindowFate::New, pairs.before[i], i, false, {} };
        if (change.nBefore >= 0) {
            compare(before[change.nBefore], after[i], change);
        }
        changes.append(change);
    }
    for (int i = 0; i < before.size(); ++i) {
        if (!pairs.taken[i]) {
            changes.append({ WindowFate::Gone, i, -1, false, {} });
        }
    }
    return changes;
}

QString placeText(const QRectF& rect)
{
    return number(rect.x()) + QLatin1Char(',') + number(rect.y());
}

QString sizeText(const QRectF& rect)
{
    return number(rect.width()) + QLatin1Char('x') + number(rect.height());
}

QString geometryText(const QRectF& rect)
{
    return sizeText(rect) + signedNumber(rect.x()) + signedNumber(rect.y());
}

} // namespace inspect
