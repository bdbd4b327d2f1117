#include "inspect/bundle.h"

#include <algorithm>

namespace inspect {

namespace {

// What no user gets from a bundle: ConfigVersion tells of the file, and nobody reads it.
bool isCarried(const KW::Section& section)
{
    return section.owner != KW::SectionOwner::Nobody;
}

// A reader takes the first element of its name, wherever it stands; there is only this one.
QDomDocument documentWith(const QDomElement& section)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(KW::c_szRoot);
    doc.appendChild(root);
    root.appendChild(doc.importNode(section, true));
    return doc;
}

// Wherever one stands: another module may keep it, too.
void removeSecrets(QDomElement parent)
{
    for (QDomElement each = parent.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        for (const KW::OptionRow& row : KW::optionTable()) {
            if (row.meaning == KW::OptionMeaning::Secret) {
                each.removeAttribute(row.strAttribute);
            }
        }
        removeSecrets(each);
    }
}

void keepSecrets(const KW::paramSettingForClient& target, KW::paramSettingForClient& options)
{
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.meaning == KW::OptionMeaning::Secret) {
            std::visit([&](auto pField) { options.*pField = target.*pField; }, row.field);
        }
    }
}

void replaceSection(const QDomElement& section, UserRecords& records)
{
    const KW::ElementTree tree = KW::elementTree(section);
    auto& all = records.sections;
    const auto isSame = [&](const KW::ElementTree& each) { return each.strName == tree.strName; };
    const auto it = std::find_if(all.begin(), all.end(), isSame);
    if (it == all.end()) {
        all.append(tree);
    } else {
        *it = tree;
    }
}

} // namespace

Parts everyPart()
{
    using KW::UserPart;
    return { UserPart::Options, UserPart::Stocks, UserPart::Layouts, UserPart::Templates,
             UserPart::Sections };
}

QDomDocument bundleOf(const UserRecords& records, const Parts& parts)
{
    QDomDocument doc = KW::documentOf(records);
    doc.insertBefore(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""),
                     doc.documentElement());
    QDomElement root = doc.documentElement();
    for (const KW::Section& section : KW::sections()) {
        const QDomElement element = root.firstChildElement(section.strName);
        if (isCarried(section) && !parts.contains(section.part) && !element.isNull()) {
            root.removeChild(element);
        }
    }
    removeSecrets(root);
    return doc;
}

QVector<BundledSection> sectionsIn(const QDomDocument& bundle, const Parts& parts)
{
    QVector<BundledSection> found;
    for (const KW::Section& section : KW::sections()) {
        const QDomElement element = bundle.documentElement().firstChildElement(section.strName);
        if (isCarried(section) && parts.contains(section.part) && !element.isNull()) {
            found.append({ section.part, section.strName, KW::elementCount(element) });
        }
    }
    return found;
}

UserRecords withBundle(const UserRecords& target, const QDomDocument& bundle, const Parts& parts)
{
    UserRecords records = target;
    for (const BundledSection& each : sectionsIn(bundle, parts)) {
        const QDomElement element = bundle.documentElement().firstChildElement(each.strName);
        const QDomDocument alone = documentWith(element);
        const auto read = KW::findSection(each.strName)->read;
        if (each.strName == KW::c_szOption) {
            KW::readOptions(alone.documentElement(), records.options); // onto what the target has
        } else if (read != nullptr) {
            read(alone.documentElement(), records);
        } else {
            replaceSection(element, records);
        }
    }
    keepSecrets(target.options, records.options);
    return records;
}

} // namespace inspect
