#include "inspect/fileformat.h"

#include "inspect/optionvalues.h"

#include <format/sections.h>

#include <QHash>
#include <QMap>

#include <algorithm>

namespace inspect {

namespace {

using Rules = QHash<QString, ElementRule>;

// Entries are looked for at any depth below the element that holds them.
struct Entry {
    QString strSection;
    QString strHolder;
    QString strTag;
    InnerRule rule;
};

InnerRule innerWindow()
{
    return { "inner-window", "is read as one more window of its layout" };
}

InnerRule innerTemplate()
{
    return { "inner-template", "is read as one more template" };
}

InnerRule innerGroup()
{
    return { "inner-group", "is read as one more panel group" };
}

const QVector<Entry>& entries()
{
    static const QVector<Entry> s_entries {
        { "DefaultLayout", "DefaultLayout", "LayoutWindow", innerWindow() },
        { "IndexLayout", "IndexLayout", "LayoutWindow", innerWindow() },
        { "tradePanelGroup", "tradePanelGroup", "LayoutWindow", innerWindow() },
        { "IndexPositionLayout", "itemLayout", "LayoutWindow", innerWindow() },
        { "IndexPositionLayout", "FormulaPanelGroupLayout", "itemLayout", innerGroup() },
        { "IndexPositionLayout", "ValuePanelGroupLayout", "itemLayout", innerGroup() },
        { "LayoutTemplates", "LayoutTemplates", "LayoutTemplate", innerTemplate() },
        { "LayoutTemplates", "LayoutTemplate", "LayoutWindowTemplate", innerWindow() },
        { "tradeLayoutTemplates", "tradeLayoutTemplates", "tradeLayoutTemplate", innerTemplate() },
        { "tradeLayoutTemplates", "tradeLayoutTemplate", "tradeWindowTemplate", innerWindow() },
        { "CustomStock", "Customs", "Custom", { "inner-list", "is read as one more stock list" } },
        { "CustomStock", "Custom", "Stock", { "inner-stock", "is read as a stock of its list" } },
    };
    return s_entries;
}

bool isWithin(const QDomElement& element, const QString& tag)
{
    QDomNode each = element.parentNode();
    while (!each.isNull() && each.nodeName() != tag) {
        each = each.parentNode();
    }
    return !each.isNull();
}

bool hasWindows(const QDomElement& element)
{
    return !element.elementsByTagName(QStringLiteral("LayoutWindow")).isEmpty();
}

ElementRule windowRule(const QVector<AttributeRule>& more)
{
    ElementRule rule;
    for (const char* pszName : { "screen_id", "left", "top", "width", "height", "panelgroup_id" }) {
        rule.attributes.append({ pszName, ValueKind::Integer, Presence::Needed });
    }
    for (const char* pszName : { "is_main", "maximized" }) {
        rule.attributes.append({ pszName, ValueKind::Switch, Presence::Needed });
    }
    rule.attributes += more;
    return rule;
}

AttributeRule text(const char* pszName)
{
    return { pszName, ValueKind::Text, Presence::Needed };
}

void addLayoutRules(Rules& rules)
{
    const AttributeRule navTree { "navtree", ValueKind::Text, Presence::Optional };
    rules["LayoutWindow"] = windowRule({ navTree });
    for (const char* pszTag : { "LayoutWindowTemplate", "tradeWindowTemplate" }) {
        rules[pszTag] = windowRule({});
    }
    for (const char* pszTag : { "DefaultLayout", "IndexLayout", "tradePanelGroup" }) {
        rules[pszTag] = { {}, { "LayoutWindow" } };
    }
    rules["IndexPositionLayout"] = { {}, { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" } };
    for (const char* pszTag : { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" }) {
        rules[pszTag] = { {}, { "itemLayout" } };
    }
    rules["itemLayout"] = { { text("key") }, { "LayoutWindow" } };
    rules["LayoutTemplates"] = { {}, { "LayoutTemplate" } };
    rules["LayoutTemplate"] = { { text("name") }, { "LayoutWindowTemplate" } };
    rules["tradeLayoutTemplates"] = { {}, { "tradeLayoutTemplate" } };
    rules["tradeLayoutTemplate"] = { { text("name") }, { "tradeWindowTemplate" } };
}

Rules allRules()
{
    Rules rules;
    addLayoutRules(rules);
    rules["ConfigVersion"] = { { { "version_id", ValueKind::Integer, Presence::Optional } }, {} };
    rules["CustomIndex"] = {};
    rules["CustomSector"] = {};
    rules["Option"] = {};
    rules["CustomStock"] = { {}, { "Customs" } };
    rules["Customs"] = { {}, { "Custom" } };
    rules["Custom"] = { { { "type", ValueKind::Integer, Presence::Needed } }, { "Stock" } };
    rules["Stock"] = { { text("market"), text("code"), text("name") }, {} };
    rules["UserParams"]
        = { { { "m_bFormulaFunctionTreeExpand", ValueKind::Switch, Presence::Optional } }, {} };
    return rules;
}

ElementRule optionsRule()
{
    ElementRule rule;
    for (const KW::OptionRow& row : KW::optionTable()) {
        const OptionKind kind = kindOf(row);
        rule.attributes.append({ row.strAttribute,
                                 kind == OptionKind::Text         ? ValueKind::Text
                                     : kind == OptionKind::Switch ? ValueKind::Switch
                                                                  : ValueKind::Integer,
                                 Presence::Optional });
    }
    return rule;
}

} // namespace

const AttributeRule* ElementRule::attribute(const QString& name) const
{
    for (const AttributeRule& each : attributes) {
        if (each.strName == name) {
            return &each;
        }
    }
    return nullptr;
}

const ElementRule* ruleOf(const QString& tag)
{
    static const Rules s_rules = allRules();
    const auto it = s_rules.find(tag);
    return it == s_rules.end() ? nullptr : &*it;
}

const ElementRule& settingsRule()
{
    static const ElementRule s_rule = optionsRule();
    return s_rule;
}

bool isWindowTag(const QString& tag)
{
    const auto& all = KW::sections();
    return !tag.isEmpty() && std::any_of(all.begin(), all.end(), [&](const KW::Section& section) {
        return section.strWindowTag == tag;
    });
}

QStringList namesOfAnyPlace()
{
    QStringList names { QStringLiteral("Customs") };
    for (const KW::Section& section : KW::sections()) {
        if (section.place == KW::SectionPlace::Anywhere) {
            names.append(section.strName);
        }
    }
    return names;
}

QDomElement placeOf(const QString& section, const QDomElement& root)
{
    return section == QLatin1String("Customs")
        ? root.firstChildElement(QStringLiteral("CustomStock"))
        : root;
}

InnerRule innerRuleOf(const QDomElement& element, const QString& section)
{
    const QString strTag = element.tagName();
    for (const Entry& entry : entries()) {
        if (entry.strTag == strTag && entry.strSection == section
            && isWithin(element, entry.strHolder)) {
            // A group without windows is passed over.
            const bool bRead = strTag != QLatin1String("itemLayout") || hasWindows(element);
            return bRead ? entry.rule : InnerRule();
        }
    }
    return {};
}

QStringList missingContent(const QDomElement& section)
{
    static const QMap<QString, QStringList> s_attributes {
        { "ConfigVersion", { "version_id" } },
        { "UserParams", { "m_bFormulaFunctionTreeExpand" } },
    };
    static const QMap<QString, QStringList> s_children {
        { "CustomStock", { "Customs" } },
        { "IndexPositionLayout", { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" } },
    };
    QStringList missing;
    // The child of Option may have any name.
    if (section.tagName() == QLatin1String("Option") && section.firstChildElement().isNull()) {
        missing.append(QStringLiteral("Settings"));
    }
    for (const QString& name : s_attributes.value(section.tagName())) {
        missing += section.hasAttribute(name) ? QStringList() : QStringList(name);
    }
    for (const QString& name : s_children.value(section.tagName())) {
        missing += section.firstChildElement(name).isNull() ? QStringList(name) : QStringList();
    }
    return missing;
}

bool isSingleWindow(const QDomElement& element)
{
    return element.tagName() == QLatin1String("IndexLayout") && !hasWindows(element);
}

} // namespace inspect
