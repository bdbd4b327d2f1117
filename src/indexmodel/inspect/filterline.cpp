#include "inspect/filterline.h"

#include "inspect/plaintext.h"

#include <QRegularExpression>
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

// A save puts the elements in the place of what looks like a place for them: %0, %1, %2, %02, %L2.
QString keyError(const QString& key)
{
    static const QRegularExpression s_place(QStringLiteral("%L?(0(?![3-9])|[12](?![0-9]))"));
    return s_place.match(key).hasMatch()
        ? QStringLiteral("in the key '%1' a save would put the items").arg(key)
        : QString();
}

// The library drops what is no item; an export takes any, and compares nothing or anything.
QString comparisonError(const QString& item)
{
    static const QStringList s_indicators { QStringLiteral("绝对权重"), QStringLiteral("前收盘") };
    const QStringList fields = item.split(QLatin1Char('|'));
    if (!s_indicators.contains(fields[1])) {
        return QStringLiteral("there is no indicator '%1', only %2")
            .arg(fields[1], s_indicators.join(QStringLiteral(" and ")));
    }
    const int nOperator = fields[2].toInt();
    return nOperator >= 0 && nOperator <= 4
        ? QString()
        : QStringLiteral("there is no operator %1, only 0 (>), 1 (<), 2 (>=), 3 (<=) and 4 (=)")
              .arg(nOperator);
}

QString exportItemError(const QString& item)
{
    const QString strError = itemError(item);
    return strError.isEmpty() ? comparisonError(item) : strError;
}

QString exportNameError(const QString& name)
{
    const QString strError = nameError(name);
    const QString strFile = fileNameError(name);
    return strError.isEmpty() && !strFile.isEmpty()
        ? QStringLiteral("the name '%1' %2").arg(name, strFile)
        : strError;
}

// What is wrong with the two kinds of parts of a group.
struct GroupRules {
    QString (*nameError)(const QString& name);
    QString (*itemError)(const QString& item);
};

QString groupError(const QString& group, const GroupRules& rules)
{
    const QStringList parts = group.split(QLatin1Char('='));
    if (parts.size() != 2) {
        return QStringLiteral("'%1' is not of the form key=name,item,...").arg(group);
    }
    const QStringList elements = parts[1].split(QLatin1Char(','));
    QString strError = keyError(parts[0]);
    strError = strError.isEmpty() ? rules.nameError(elements.first()) : strError;
    for (int i = 1; i < elements.size() && strError.isEmpty(); ++i) {
        const QString strItem = rules.itemError(elements[i]);
        if (!strItem.isEmpty()) {
            strError = QStringLiteral("item %1: %2").arg(QString::number(i), strItem);
        }
    }
    return strError;
}

QString lineError(const QString& line, const GroupRules& rules)
{
    QSet<QString> keys;
    const QStringList groups = line.split(QLatin1Char(':'));
    for (int i = 0; i < groups.size(); ++i) {
        QString strError = groupError(groups[i], rules);
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

} // namespace

QString filterLineError(const QString& line)
{
    return lineError(line, { nameError, itemError });
}

QString exportFilterError(const QString& line)
{
    return lineError(line, { exportNameError, exportItemError });
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
