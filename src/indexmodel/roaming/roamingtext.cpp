#include "roaming/roamingtext.h"

#include "roaming/fittedlayouts_p.h"
#include "roaming/policy.h"

#include <format/canonicaltext.h>
#include <format/optionsettings.h>
#include <format/readabletext.h>
#include <format/sections.h>
#include <format/userdocument.h>
#include <inspect/userfile.h>

#include <algorithm>

namespace roaming {

namespace {

using KW::ElementTree;
using Trees = QVector<ElementTree>;
using Attributes = QVector<QPair<QString, QString>>;

std::optional<ElementTree> treeOf(const QByteArray& text)
{
    const inspect::UserFile file = inspect::userFileOf({ inspect::FileState::Whole, text, {} });
    return file.state == inspect::FileState::Whole
        ? std::make_optional(KW::elementTree(file.document.documentElement()))
        : std::nullopt;
}

bool roams(const ElementTree& section)
{
    const Rule rule = ruleOf(section.strName);
    return rule == Rule::Roams || rule == Rule::ByArrangement;
}

// By their places in a file, so that the order in which somebody has written them is no change.
void sortSections(Trees& sections)
{
    const auto place = [](const ElementTree& tree) {
        const KW::Section* const pSection = KW::findSection(tree.strName);
        return pSection == nullptr ? static_cast<std::ptrdiff_t>(KW::sections().size())
                                   : pSection - KW::sections().data();
    };
    std::stable_sort(sections.begin(), sections.end(), [&](const auto& left, const auto& right) {
        return place(left) < place(right);
    });
}

// Comments, in which anything may stand, no save keeps.
bool hidesAnything(const ElementTree& tree)
{
    return tree.strName == QLatin1String("#comment") || tree.strName.startsWith('?')
        || isSecretName(tree.strName);
}

// A secret wherever it stands, since another module may keep it, too; the others where they are
// options.
void removeLocalOptions(ElementTree& tree, bool inOption)
{
    const bool bOption = inOption || tree.strName == QLatin1String(KW::c_szOption);
    const auto isLocal = [&](const auto& attribute) {
        return isSecretName(attribute.first) || (bOption && isLocalOption(attribute.first));
    };
    auto& all = tree.attributes;
    all.erase(std::remove_if(all.begin(), all.end(), isLocal), all.end());
    auto& children = tree.children;
    children.erase(std::remove_if(children.begin(), children.end(), hidesAnything), children.end());
    for (ElementTree& child : tree.children) {
        removeLocalOptions(child, bOption);
    }
}

const ElementTree* firstNamed(const ElementTree& tree, const char* pszName)
{
    const ElementTree* pFound = nullptr;
    for (auto it = tree.children.begin(); pFound == nullptr && it != tree.children.end(); ++it) {
        pFound = it->strName == QLatin1String(pszName) ? &*it : firstNamed(*it, pszName);
    }
    return pFound;
}

// Those that a load takes, from the last of the elements that say them.
Attributes localOptions(const ElementTree& root)
{
    Attributes found;
    const ElementTree* const pOption = firstNamed(root, KW::c_szOption);
    const Trees settings = pOption == nullptr ? Trees() : pOption->elements();
    for (const ElementTree& each : settings) {
        std::copy_if(each.attributes.begin(), each.attributes.end(), std::back_inserter(found),
                     [](const auto& attribute) { return isLocalOption(attribute.first); });
    }
    return found;
}

void setAttribute(Attributes& attributes, const QPair<QString, QString>& attribute)
{
    const auto it = std::lower_bound(
        attributes.begin(), attributes.end(), attribute,
        [](const auto& left, const auto& right) { return left.first < right.first; });
    if (it != attributes.end() && it->first == attribute.first) {
        it->second = attribute.second;
    } else {
        attributes.insert(it, attribute);
    }
}

// Into the section that a load reads, which is made where there is none.
void giveLocalOptions(Trees& sections, const Attributes& options)
{
    const auto isOption
        = [](const ElementTree& each) { return each.strName == QLatin1String(KW::c_szOption); };
    auto it = std::find_if(sections.begin(), sections.end(), isOption);
    if (options.isEmpty()) {
        return;
    }
    if (it == sections.end()) {
        it = sections.insert(sections.end(), { KW::c_szOption, {}, {}, {} });
    }
    Trees& children = it->children;
    const bool bSettings = std::any_of(children.begin(), children.end(),
                                       [](const auto& each) { return each.isElement(); });
    if (!bSettings) {
        children.append({ KW::c_szSettings, {}, {}, {} });
    }
    ElementTree& last = *std::find_if(children.rbegin(), children.rend(),
                                      [](const auto& each) { return each.isElement(); });
    for (const auto& option : options) {
        setAttribute(last.attributes, option);
    }
}

template <typename Wanted> Trees childrenOf(const ElementTree& root, const Wanted& wanted)
{
    Trees found;
    std::copy_if(root.children.begin(), root.children.end(), std::back_inserter(found), wanted);
    return found;
}

Trees layoutsIn(const ElementTree& root)
{
    return childrenOf(
        root, [](const ElementTree& each) { return ruleOf(each.strName) == Rule::ByArrangement; });
}

// Of a desk that nobody has told of the layouts stay, if there are any.
std::optional<Trees> arrivingLayouts(const ElementTree& local, const ElementTree& come,
                                     const Arrival& arrival)
{
    Trees layouts = layoutsIn(come);
    if (!arrival.arrangement.isKnown()) {
        const Trees own = layoutsIn(local);
        return own.isEmpty() ? layouts : own;
    }
    if (arrival.ownLayouts) {
        const std::optional<ElementTree> own = treeOf(*arrival.ownLayouts);
        return own ? std::make_optional(layoutsIn(*own)) : std::nullopt;
    }
    for (ElementTree& each : layouts) {
        each = fittedSection(come, each, arrival.arrangement.screens());
    }
    return layouts;
}

std::optional<QByteArray> liveText(const ElementTree& root)
{
    QDomDocument doc;
    doc.appendChild(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""));
    KW::appendTree(doc, doc, root);
    const KW::UserDocumentText text = KW::userDocumentText(doc);
    return text.cut.isEmpty() ? std::make_optional(QByteArray::fromStdString(text.strUtf8))
                              : std::nullopt;
}

// As a save would.
void makeReadable(ElementTree& tree)
{
    tree.strValue = KW::readableText(tree.strValue);
    for (auto& attribute : tree.attributes) {
        attribute.second = KW::readableText(attribute.second);
    }
    for (ElementTree& child : tree.children) {
        makeReadable(child);
    }
}

// What cannot be had back from the text does not leave.
std::optional<QByteArray> faithfulText(ElementTree root)
{
    makeReadable(root);
    const std::optional<std::string> text = KW::canonicalText(root);
    const QByteArray bytes = text ? QByteArray::fromStdString(*text) : QByteArray();
    const std::optional<ElementTree> again = treeOf(bytes);
    return again && *again == root ? std::make_optional(bytes) : std::nullopt;
}

// No file yet: the root alone.
std::optional<ElementTree> localTree(const QByteArray& local, const ElementTree& like)
{
    return local.isEmpty() ? ElementTree { like.strName, {}, {}, {} } : treeOf(local);
}

} // namespace

std::optional<QByteArray> outgoingText(const QByteArray& live)
{
    std::optional<ElementTree> root = treeOf(live);
    if (!root) {
        return std::nullopt;
    }
    root->children = childrenOf(*root, roams);
    removeLocalOptions(*root, false);
    sortSections(root->children);
    return faithfulText(*root);
}

std::optional<QByteArray> heldText(const QByteArray& live, const QString& section)
{
    std::optional<ElementTree> root = treeOf(live);
    if (!root) {
        return std::nullopt;
    }
    root->children
        = childrenOf(*root, [&](const ElementTree& each) { return each.strName == section; });
    removeLocalOptions(*root, true);
    return root->children.isEmpty() ? std::nullopt : faithfulText(*root);
}

std::optional<QByteArray> arrivedText(const QByteArray& local, const Arrival& arrival)
{
    std::optional<ElementTree> come = treeOf(arrival.text);
    const std::optional<ElementTree> here = come ? localTree(local, *come) : std::nullopt;
    const std::optional<Trees> layouts
        = here ? arrivingLayouts(*here, *come, arrival) : std::nullopt;
    if (!layouts) {
        return std::nullopt;
    }
    removeLocalOptions(*come, false);
    Trees sections = childrenOf(
        *come, [](const ElementTree& each) { return ruleOf(each.strName) == Rule::Roams; });
    giveLocalOptions(sections, localOptions(*here));
    sections += *layouts + childrenOf(*here, [](const auto& each) { return !roams(each); });
    sortSections(sections);
    come->children = sections;
    return liveText(*come);
}

std::optional<QByteArray> withHeld(const QByteArray& local, const QByteArray& held)
{
    std::optional<ElementTree> here = treeOf(local);
    const std::optional<ElementTree> come = treeOf(held);
    if (!here || !come || come->children.isEmpty()) {
        return std::nullopt;
    }
    const QString strSection = come->children.first().strName;
    here->children
        = childrenOf(*here, [&](const ElementTree& each) { return each.strName != strSection; })
        + come->children;
    sortSections(here->children);
    return liveText(*here);
}

} // namespace roaming
