#include "inspect/difference.h"

#include <QMap>
#include <QStringList>

namespace inspect {

namespace {

QString shown(const std::optional<QString>& value)
{
    return value ? '"' + *value + '"' : QStringLiteral("(absent)");
}

} // namespace

QString pathOf(const Difference& difference)
{
    QString strPath = difference.strWhat;
    strPath += difference.strKey.isEmpty() ? QString() : '[' + difference.strKey + ']';
    strPath += difference.nEntry > 1 ? " #" + QString::number(difference.nEntry) : QString();
    return difference.strField.isEmpty() ? strPath : strPath + '@' + difference.strField;
}

QString toText(const Difference& difference)
{
    return pathOf(difference) + ": " + shown(difference.left) + " -> " + shown(difference.right);
}

QString settingsPath()
{
    return KW::c_szOption + QStringLiteral("/") + KW::c_szSettings;
}

QString optionOf(const Difference& difference)
{
    const bool bOption
        = difference.part == KW::UserPart::Options && difference.strWhat == settingsPath();
    return bOption ? difference.strField : QString();
}

QString summary(const QVector<Difference>& differences)
{
    QMap<KW::UserPart, int> counts;
    for (const Difference& difference : differences) {
        ++counts[difference.part];
    }
    QStringList parts;
    for (auto it = counts.begin(); it != counts.end(); ++it) {
        parts.append(KW::partName(it.key()) + QLatin1Char(' ') + QString::number(*it));
    }
    parts.sort();
    return parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", "));
}

} // namespace inspect
