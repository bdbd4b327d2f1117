#include "format/userrecords.h"

#include "format/layoutwindows.h"
#include "format/savedtext_p.h"
#include "format/sections.h"
#include "format/userdocument.h"

#include <QSet>

#include <algorithm>

namespace KW {

namespace {

bool isOthers(const QString& name)
{
    const Section* const pSection = findSection(name);
    return pSection == nullptr || pSection->owner == SectionOwner::Managers
        || (pSection->owner == SectionOwner::Nobody && pSection->write == nullptr);
}

// Managers read the first section of their name.
QVector<ElementTree> savedSections(const QVector<ElementTree>& sections)
{
    QVector<ElementTree> saved;
    QSet<QString> seen;
    for (const ElementTree& section : sections) {
        const Section* const pSection = findSection(section.strName);
        if (pSection != nullptr && pSection->owner == SectionOwner::Managers
            && !seen.contains(section.strName)) {
            saved.append(section);
            seen.insert(section.strName);
        }
    }
    return saved;
}

PanelGroupMap savedGroups(const PanelGroupMap& groups)
{
    PanelGroupMap saved;
    for (const CPanelGroupLayoutSetting& setting : groups) {
        if (!setting.m_windows.isEmpty()) {
            saved.insert(setting.m_strKey, setting);
        }
    }
    return saved;
}

QVector<CLayoutTemplate> savedTemplates(QVector<CLayoutTemplate> templates)
{
    for (CLayoutTemplate& each : templates) {
        for (CLayoutWindow& window : each.m_windows) {
            window.m_strNavTree = CLayoutWindow().m_strNavTree;
        }
    }
    return templates;
}

LayoutRecord savedLayouts(const LayoutRecord& layouts)
{
    LayoutRecord saved;
    saved.m_defaultLayoutSetting.m_windows = layouts.m_defaultLayoutSetting.m_windows;
    saved.m_quoteGroupSetting.m_windows = layouts.m_quoteGroupSetting.m_windows;
    if (saved.m_quoteGroupSetting.m_windows.isEmpty()) {
        // No windows are the older form of one.
        saved.m_quoteGroupSetting.m_windows = readQuoteWindows(QDomElement());
    }
    saved.m_tradeGroupSetting.m_windows = layouts.m_tradeGroupSetting.m_windows;
    saved.m_formulaPanelSettings = savedGroups(layouts.m_formulaPanelSettings);
    saved.m_valuePanelSettings = savedGroups(layouts.m_valuePanelSettings);
    saved.m_quoteTemplates = savedTemplates(layouts.m_quoteTemplates);
    saved.m_tradeTemplates = savedTemplates(layouts.m_tradeTemplates);
    return saved;
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

UserRecords savedForm(const UserRecords& records)
{
    const UserRecords saved { savedOptions(records.options), savedStocks(records.stocks),
                              records.bFunctionTreeExpand, savedLayouts(records.layouts),
                              savedSections(records.sections) };
    if (isReadBackAsItIs(saved)) {
        return saved;
    }
    // What becomes of such texts and trees only the writer and the readers know.
    QDomDocument doc = documentOf(saved);
    const UserDocumentText written = userDocumentText(doc);
    return recordsOf(parseUserDocument(QString::fromStdString(written.strUtf8)).document);
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
