#include "inspect/fileformat_p.h"

#include "inspect/optionvalues.h"

#include <format/sections.h>

#include <QHash>

#include <algorithm>

namespace inspect {

namespace {

using Rules = QHash<QString, ElementRule>;

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

bool isSingleWindow(const QDomElement& element)
{
    return element.tagName() == QLatin1String("IndexLayout")
        && element.elementsByTagName(QStringLiteral("LayoutWindow")).isEmpty();
}

QString windowTagOf(const QString& section)
{
    const KW::Section* const pSection = KW::findSection(section);
    return pSection == nullptr ? QString() : pSection->strWindowTag;
}

} // namespace inspect
