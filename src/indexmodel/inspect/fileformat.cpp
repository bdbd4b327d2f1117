#include "inspect/fileformat.h"

#include <format/layoutwindows.h>

#include <QMap>

namespace inspect {

namespace {

using KW::ElementKind;
using KW::ElementRule;

// Entries are looked for at any depth below the element that holds them.
const QMap<ElementKind, InnerRule>& innerRules()
{
    static const QMap<ElementKind, InnerRule> s_rules {
        { ElementKind::Window, { "inner-window", "is read as one more window of its layout" } },
        { ElementKind::Group, { "inner-group", "is read as one more panel group" } },
        { ElementKind::Template, { "inner-template", "is read as one more template" } },
        { ElementKind::StockList, { "inner-list", "is read as one more stock list" } },
        { ElementKind::Stock, { "inner-stock", "is read as a stock of its list" } },
    };
    return s_rules;
}

bool isWithin(const QDomElement& element, const QString& tag)
{
    QDomNode each = element.parentNode();
    while (!each.isNull() && each.nodeName() != tag) {
        each = each.parentNode();
    }
    return !each.isNull();
}

// What an element is to the readers of whatever \a holder says they look for in it.
InnerRule innerRuleBelow(const ElementRule& holder, const QDomElement& element)
{
    for (const ElementRule& each : holder.children) {
        const bool bRead = each.strTag == element.tagName() && isWithin(element, holder.strTag);
        // A group without windows is passed over.
        if (bRead && (each.kind != ElementKind::Group || hasWindows(element))) {
            return innerRules().value(each.kind);
        }
        const InnerRule below = innerRuleBelow(each, element);
        if (!below.strRule.isEmpty()) {
            return below;
        }
    }
    return {};
}

bool isThere(const QDomElement& section, const ElementRule& rule)
{
    return !section.firstChildElement(rule.kind == ElementKind::Options ? QString() : rule.strTag)
                .isNull();
}

} // namespace

QStringList namesOfAnyPlace()
{
    QStringList names { KW::c_szStockLists };
    for (const KW::Section& section : KW::sections()) {
        if (section.place == KW::SectionPlace::Anywhere) {
            names.append(section.strName);
        }
    }
    return names;
}

QDomElement placeOf(const QString& section, const QDomElement& root)
{
    return section == KW::c_szStockLists ? root.firstChildElement(KW::c_szCustomStock) : root;
}

InnerRule innerRuleOf(const QDomElement& element, const KW::Section& section)
{
    return innerRuleBelow(section.rule, element);
}

QStringList missingContent(const QDomElement& section, const ElementRule& rule)
{
    QStringList missing;
    for (const KW::AttributeRule& each : rule.attributes) {
        missing += section.hasAttribute(each.strName) ? QStringList() : QStringList(each.strName);
    }
    for (const ElementRule& each : rule.children) {
        const bool bWritten = each.kind == ElementKind::Holder || each.kind == ElementKind::Options;
        missing += bWritten && !isThere(section, each) ? QStringList(each.strTag) : QStringList();
    }
    return missing;
}

bool hasWindows(const QDomElement& element)
{
    return !element.elementsByTagName(KW::layoutWindowFormat().strTag).isEmpty();
}

bool isSingleWindow(const QDomElement& element)
{
    return element.tagName() == KW::c_szIndexLayout && !hasWindows(element);
}

} // namespace inspect
