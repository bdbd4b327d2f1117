#include "inspect/filterline.h"

#include <QSet>
#include <QStringList>

#include <cmath>

namespace inspect {

namespace {

QString keyOf(const QString& group)
{
    return group.section(QLatin1Char('='), 0, 0);
}

bool isInteger(const QString& text)
{
    bool bOk = false;
    text.toInt(&bOk);
    return bOk;
}

bool isNumber(const QString& text)
{
    bool bOk = false;
    return std::isfinite(text.toDouble(&bOk)) && bOk;
}

QString itemError(const QString& item)
{
    const QStringList fields = item.split(QLatin1Char('|'));
    if (fields.size() != 5) {
        return QStringLiteral("%1 fields instead of id|indicator|compareOp|extra|threshold")
            .arg(fields.size());
    }
    for (const int i : { 0, 2, 3 }) {
        if (!isInteger(fields[i])) {
            return QStringLiteral("'%1' is no integer").arg(fields[i]);
        }
    }
    return isNumber(fields[4]) ? QString() : QStringLiteral("'%1' is no number").arg(fields[4]);
}

// The name becomes part of a file name, and one of five fields would be read as an item.
QString nameError(const QString& name)
{
    const bool bBad = name.contains(QLatin1Char('|')) || name.contains(QLatin1Char('/'));
    return bBad ? QStringLiteral("the name '%1' holds '|' or '/'").arg(name) : QString();
}

QString groupError(const QString& group)
{
    const QStringList parts = group.split(QLatin1Char('='));
    if (parts.size() != 2) {
        return QStringLiteral("'%1' is not of the form key=name,item,...").arg(group);
    }
    const QStringList elements = parts[1].split(QLatin1Char(','));
    QString strError = nameError(elements.first());
    for (int i = 1; i < elements.size() && strError.isEmpty(); ++i) {
        const QString strItem = itemError(elements[i]);
        if (!strItem.isEmpty()) {
            strError = QStringLiteral("item %1: %2").arg(QString::number(i), strItem);
        }
    }
    return strError;
}

} // namespace

QString filterLineError(const QString& line)
{
    QSet<QString> keys;
    const QStringList groups = line.split(QLatin1Char(':'));
    for (int i = 0; i < groups.size(); ++i) {
        QString strError = groupError(groups[i]);
        const QString strKey = keyOf(groups[i]);
        if (strError.isEmpty() && keys.contains(strKey)) {
            strError = QStringLiteral("a second group for '%1'").arg(strKey);
        }
        if (!strError.isEmpty()) {
            return QStringLiteral("group %1: %2").arg(QString::number(i + 1), strError);
        }
        keys.insert(strKey);
    }
    return QString();
}

bool hasFilterFor(const QString& line, const QString& sector)
{
    const auto groups = line.split(QLatin1Char(':'));
    for (const QString& group : groups) {
        if (keyOf(group) == sector) {
            return true;
        }
    }
    return false;
}

} // namespace inspect
