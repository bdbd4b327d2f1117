#include "format/elementrule.h"

#include <algorithm>

namespace KW {

namespace {

template <typename List, typename Matches>
const typename List::value_type* first(const List& list, Matches matches)
{
    const auto it = std::find_if(list.begin(), list.end(), matches);
    return it == list.end() ? nullptr : &*it;
}

} // namespace

const AttributeRule* ElementRule::attribute(const QString& name) const
{
    return first(attributes, [&](const AttributeRule& each) { return each.strName == name; });
}

const ElementRule* ElementRule::child(const QString& tag) const
{
    return first(children, [&](const ElementRule& each) {
        return each.kind == ElementKind::Options || each.strTag == tag;
    });
}

AttributeRule neededText(const QString& name)
{
    return { name, ValueKind::Text, Presence::Needed };
}

} // namespace KW
