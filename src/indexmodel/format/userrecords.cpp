#include "format/userrecords.h"

#include "format/sections.h"

#include <algorithm>

namespace KW {

namespace {

bool isOthers(const QString& name)
{
    const Section* const pSection = findSection(name);
    return pSection == nullptr || pSection->owner == SectionOwner::Managers
        || (pSection->owner == SectionOwner::Nobody && pSection->write == nullptr);
}

void appendSection(QDomElement& root, QDomDocument& doc, const Section& section,
                   const UserRecords& records)
{
    if (section.owner == SectionOwner::Managers) {
        for (const ElementTree& each : records.sections) {
            if (each.strName == section.strName) {
                appendTree(root, doc, each);
            }
        }
        return;
    }
    QDomElement element = doc.createElement(section.strName);
    if (section.write != nullptr) {
        section.write(element, doc, records);
    }
    root.appendChild(element);
}

} // namespace

bool operator==(const UserRecords& left, const UserRecords& right)
{
    return left.options == right.options && sameStocks(left.stocks, right.stocks)
        && left.bFunctionTreeExpand == right.bFunctionTreeExpand && left.layouts == right.layouts
        && contents(left.sections) == contents(right.sections);
}

UserRecords recordsOf(const QDomDocument& file)
{
    UserRecords records;
    const QDomElement root = file.documentElement();
    for (const Section& section : sections()) {
        if (section.read != nullptr) {
            section.read(root, records);
        }
    }
    records.sections = otherSections(file);
    return records;
}

QVector<ElementTree> otherSections(const QDomDocument& file)
{
    QVector<ElementTree> found;
    for (QDomElement each = file.documentElement().firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        if (isOthers(each.tagName())) {
            found.append(elementTree(each));
        }
    }
    return found;
}

QVector<ElementTree> contents(const QVector<ElementTree>& sections)
{
    QVector<ElementTree> found;
    for (const ElementTree& section : sections) {
        if (!section.attributes.isEmpty() || !section.children.isEmpty()) {
            found.append(section);
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
        return left.strName < right.strName;
    });
    return found;
}

QDomDocument documentOf(const UserRecords& records)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(c_szRoot);
    doc.appendChild(root);
    for (const Section& section : sections()) {
        appendSection(root, doc, section, records);
    }
    return doc;
}

} // namespace KW
