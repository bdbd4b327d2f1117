#include "inspect/windowchanges.h"

#include "inspect/shortened.h"

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

} // namespace

QVector<WindowChange> windowChanges(const QVector<KW::CLayoutWindow>& before,
                                    const QVector<KW::CLayoutWindow>& after)
{
    QHash<int, QVector<int>> rest; // the indexes of a group, the last first
    for (int i = before.size() - 1; i >= 0; --i) {
        rest[before[i].m_nPanelGroupId].append(i);
    }
    QVector<WindowChange> changes;
    for (int i = 0; i < after.size(); ++i) {
        QVector<int>& same = rest[after[i].m_nPanelGroupId];
        WindowChange change { WindowFate::New, -1, i, false, {} };
        if (!same.isEmpty()) {
            change.nBefore = same.takeLast();
            compare(before[change.nBefore], after[i], change);
        }
        changes.append(change);
    }
    for (int i = 0; i < before.size(); ++i) {
        if (rest[before[i].m_nPanelGroupId].contains(i)) {
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
