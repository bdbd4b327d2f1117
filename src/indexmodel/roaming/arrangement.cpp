#include "roaming/arrangement.h"

#include <QRegularExpression>
#include <QStringList>

namespace roaming {

namespace {

QString nameOf(const ArrangedScreen& screen)
{
    return QStringLiteral("%1x%2@%3,%4*%5")
        .arg(screen.rect.width())
        .arg(screen.rect.height())
        .arg(screen.rect.x())
        .arg(screen.rect.y())
        .arg(screen.dScale);
}

QVector<ArrangedScreen> unscaled(const QVector<inspect::Screen>& screens)
{
    QVector<ArrangedScreen> arranged;
    for (const inspect::Screen& screen : screens) {
        arranged.append({ screen.rect.toRect() });
    }
    return arranged;
}

} // namespace

CArrangement::CArrangement(const QVector<ArrangedScreen>& screens)
{
    QStringList names;
    for (const ArrangedScreen& screen : screens) {
        names.append(nameOf(screen));
        m_screens.append({ m_screens.size() + 1, screen.rect, inspect::ScreenSource::Maximized });
    }
    names.sort();
    m_strName = names.join(';');
}

CArrangement::CArrangement(const QVector<inspect::Screen>& screens)
    : CArrangement(unscaled(screens))
{
}

CArrangement CArrangement::named(const QString& name)
{
    static const QRegularExpression s_form("^(\\d+)x(\\d+)@(-?\\d+),(-?\\d+)\\*([0-9.e+-]+)$");
    QVector<ArrangedScreen> screens;
    const QStringList names = name.split(';');
    for (const QString& each : names) {
        const QRegularExpressionMatch match = s_form.match(each);
        const auto number = [&](int group) { return match.captured(group).toInt(); };
        screens.append(
            { { number(3), number(4), number(1), number(2) }, match.captured(5).toDouble() });
        if (!match.hasMatch()) {
            return {};
        }
    }
    return CArrangement(screens);
}

} // namespace roaming
