#include "roaming/policy.h"

#include <format/optionsettings.h>
#include <format/sections.h>

#include <algorithm>
#include <iterator>

namespace roaming {

namespace {

struct SectionRow {
    const char* pszSection;
    Rule rule;
};

// Where nothing is said of a section of this format it roams.
constexpr SectionRow c_sections[] = {
    { KW::c_szDefaultLayout, Rule::ByArrangement },
    { KW::c_szIndexLayout, Rule::ByArrangement },
    { KW::c_szIndexPositionLayout, Rule::ByArrangement },
    { KW::c_szTradePanelGroup, Rule::ByArrangement },
    { KW::c_szStrategyTrade, Rule::Held },
    { KW::c_szStrategyAlgoTrade, Rule::Held },
    { KW::c_szSpecialStrategyData, Rule::Held },
    { KW::c_szInterfaceTrade, Rule::Held },
};

// Besides the secrets.
constexpr const char* c_localOptions[]
    = { "oaAddress", "oaUser", "oaTableName", "updateF10DateTime" };

struct SettingRow {
    const char* pszSection;
    const char* pszKey; ///< null: all of the section
};

// The mirror of the user's file is the file, secrets and all.
constexpr SettingRow c_localSettings[] = {
    { "", nullptr },
    { "Machine", nullptr },
    { "UiSettingConfig", "windowGeometry" },
    { "UiSettingConfig", "lastExportDir" },
};

QStringList secretOptions()
{
    QStringList names;
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.meaning == KW::OptionMeaning::Secret) {
            names.append(row.strAttribute);
        }
    }
    return names;
}

QStringList localOptions()
{
    QStringList names = secretOptions();
    for (const char* const pszName : c_localOptions) {
        names.append(pszName);
    }
    return names;
}

} // namespace

Rule ruleOf(const QString& section)
{
    const auto pRow
        = std::find_if(std::begin(c_sections), std::end(c_sections), [&](const SectionRow& row) {
              return section == QLatin1String(row.pszSection);
          });
    if (pRow != std::end(c_sections)) {
        return pRow->rule;
    }
    return KW::findSection(section) != nullptr ? Rule::Roams : Rule::Local;
}

QStringList sectionsWith(Rule rule)
{
    QStringList names;
    for (const KW::Section& section : KW::sections()) {
        if (ruleOf(section.strName) == rule) {
            names.append(section.strName);
        }
    }
    return names;
}

bool isSecretName(const QString& name)
{
    static const QStringList s_secrets = secretOptions();
    return s_secrets.contains(name, Qt::CaseInsensitive);
}

bool isLocalOption(const QString& attribute)
{
    static const QStringList s_names = localOptions();
    return s_names.contains(attribute);
}

bool isLocalSetting(const QString& section, const QString& key)
{
    return isSecretName(key)
        || std::any_of(std::begin(c_localSettings), std::end(c_localSettings),
                       [&](const SettingRow& row) {
                           return section == QLatin1String(row.pszSection)
                               && (row.pszKey == nullptr || key == QLatin1String(row.pszKey));
                       });
}

} // namespace roaming
