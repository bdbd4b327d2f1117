#include "format/sectorfiltertext.h"

#include "format/decimaltext.h"
#include "format/xmlelements.h"

#include <QStringList>

namespace KW {

namespace {

constexpr char c_szParam[] = "param";

QVector<SectorFilterItem> parseItems(const QStringList& elements)
{
    QVector<SectorFilterItem> items;
    for (const QString& element : elements) {
        const QStringList fields = element.split(QLatin1Char('|'));
        if (fields.size() == 5) {
            SectorFilterItem item;
            item.id = fields[0].toInt();
            item.indicator = fields[1];
            item.compareOp = fields[2].toInt();
            item.extra = fields[3].toInt();
            item.threshold = fields[4].toDouble();
            items.append(item);
        }
    }
    return items;
}

QString formatItem(const SectorFilterItem& item)
{
    const QStringList fields { QString::number(item.id), item.indicator,
                               QString::number(item.compareOp), QString::number(item.extra),
                               decimalText(item.threshold) };
    return fields.join(QLatin1Char('|'));
}

// The second substitution looks into what the first one put in: a key that holds "%2" takes the
// elements in its place. That is how these lines have always been written.
QString formatGroup(const QString& key, const SectorFilterEntry& entry)
{
    QStringList elements { entry.name };
    for (const SectorFilterItem& item : entry.items) {
        elements.append(formatItem(item));
    }
    // One substitution after the other: the second looks into the key.
    return QStringLiteral("%1=%2").arg(key).arg( // clazy:exclude=qstring-arg
        elements.join(QLatin1Char(',')));
}

} // namespace

void parseSectorFilters(const QString& line, SectorFilterMap& table)
{
    const QStringList groups = line.split(QLatin1Char(':'));
    for (const QString& group : groups) {
        const QStringList parts = group.split(QLatin1Char('='));
        if (parts.size() >= 2) {
            const QStringList elements = parts[1].split(QLatin1Char(','));
            table.insert(parts[0], { elements.first(), parseItems(elements) });
        }
    }
}

QString formatSectorFilters(const SectorFilterMap& table)
{
    QStringList groups;
    for (auto it = table.begin(); it != table.end(); ++it) {
        groups.append(formatGroup(it.key(), it.value()));
    }
    return groups.join(QLatin1Char(':'));
}

void readSectorFilters(const QDomElement& parent, SectorFilterMap& table)
{
    const QVector<QDomElement> sections = descendants(parent, c_szSectorFilter);
    const QDomElement section = sections.isEmpty() ? QDomElement() : sections.first();
    for (QDomElement child = section.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        if (child.hasAttribute(c_szParam)) {
            parseSectorFilters(child.attribute(c_szParam), table);
        }
    }
}

void writeSectorFilters(QDomElement& parent, QDomDocument& doc, const SectorFilterMap& table)
{
    QDomElement element = doc.createElement(QStringLiteral("sectorFilter"));
    element.setAttribute(c_szParam, formatSectorFilters(table));
    parent.appendChild(element);
}

} // namespace KW
