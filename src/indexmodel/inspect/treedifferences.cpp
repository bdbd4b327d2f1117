#include "inspect/treedifferences.h"

#include "inspect/entries_p.h"

namespace inspect {

namespace {

using KW::ElementTree;

// What tells the entries of a list apart.
QString keyOf(const ElementTree& tree)
{
    for (const char* pszName : { "key", "name", "id" }) {
        if (tree.hasAttribute(pszName)) {
            return tree.attribute(pszName);
        }
    }
    return {};
}

void compareAttributes(const Difference& entry, const ElementTree& left, const ElementTree& right,
                       QVector<Difference>& found)
{
    for (const auto& [strName, strValue] : left.attributes) {
        compareField(entry, strName, strValue,
                     right.hasAttribute(strName) ? std::make_optional(right.attribute(strName))
                                                 : std::nullopt,
                     found);
    }
    for (const auto& [strName, strValue] : right.attributes) {
        if (!left.hasAttribute(strName)) {
            compareField(entry, strName, std::nullopt, strValue, found);
        }
    }
}

} // namespace

void compareTrees(const Difference& parent, const QVector<ElementTree>& left,
                  const QVector<ElementTree>& right, QVector<Difference>& found)
{
    if (left == right) {
        return;
    }
    compareLists(
        parent, left, right,
        [](const ElementTree& tree) {
            return EntryName { tree.strName, keyOf(tree), tree.strValue };
        },
        [&found](const Difference& entry, const ElementTree& one, const ElementTree& other) {
            compareField(entry, {}, one.strValue, other.strValue, found);
            compareAttributes(entry, one, other, found);
            compareTrees(entry, one.children, other.children, found);
        },
        found);
}

} // namespace inspect
