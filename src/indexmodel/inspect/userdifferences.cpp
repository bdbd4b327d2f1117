#include "inspect/userdifferences.h"

#include <QMap>
#include <QRegularExpression>
#include <QStringList>

namespace inspect {

namespace {

const QString& optionPrefix()
{
    static const QString s_prefix = QStringLiteral("Option/Settings@");
    return s_prefix;
}

TreeFields fieldsOf(const UserRecords& records)
{
    TreeFields fields = fieldsOf(documentOf(records).documentElement(), FieldNames::ByIdentity);
    fields.remove(QStringLiteral("ICUserConfigFile@(order)"));
    return fields;
}

QString sectionOf(const Difference& difference)
{
    const int nEnd = difference.strPath.indexOf(QRegularExpression(QStringLiteral("[/@\\[ ]")));
    return difference.strPath.left(nEnd);
}

} // namespace

QVector<Difference> differences(const UserRecords& left, const UserRecords& right)
{
    QVector<Difference> found = differences(fieldsOf(left), fieldsOf(right));
    for (Difference& difference : found) {
        // Both roots are named alike.
        difference.strPath = difference.strPath.section(QLatin1Char('/'), 1);
    }
    return found;
}

QString partOf(const Difference& difference)
{
    static const QMap<QString, QString> s_parts {
        { "Option", "options" },
        { "UserParams", "options" },
        { "CustomStock", "stocks" },
        { "DefaultLayout", "layouts" },
        { "IndexLayout", "layouts" },
        { "IndexPositionLayout", "layouts" },
        { "tradePanelGroup", "layouts" },
        { "LayoutTemplates", "templates" },
        { "tradeLayoutTemplates", "templates" },
    };
    return s_parts.value(sectionOf(difference), QStringLiteral("sections"));
}

QString optionOf(const Difference& difference)
{
    return difference.strPath.startsWith(optionPrefix())
        ? difference.strPath.mid(optionPrefix().size())
        : QString();
}

QString summary(const QVector<Difference>& differences)
{
    QMap<QString, int> counts;
    for (const Difference& difference : differences) {
        ++counts[partOf(difference)];
    }
    QStringList parts;
    for (auto it = counts.begin(); it != counts.end(); ++it) {
        parts.append(it.key() + QLatin1Char(' ') + QString::number(*it));
    }
    return parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", "));
}

} // namespace inspect
