#include "format/sections.h"

#include "format/layouttemplates.h"
#include "format/panelgroups.h"
#include "format/userparams.h"
#include "platform/mvcommon.h"

#include <algorithm>

namespace KW {

namespace {

using Setting = CPanelGroupLayoutSetting LayoutRecord::*;
using Templates = QVector<CLayoutTemplate> LayoutRecord::*;

template <const char* pszName, Setting pSetting>
void readLayout(const QDomElement& root, UserRecords& records)
{
    QVector<CLayoutWindow>& windows = (records.layouts.*pSetting).m_windows;
    windows.clear();
    readWindows(MV::getSubElement(root, pszName), layoutWindowFormat(), windows);
}

template <Setting pSetting>
void writeLayout(QDomElement& section, QDomDocument& doc, const UserRecords& records)
{
    writeWindows(section, doc, layoutWindowFormat(), (records.layouts.*pSetting).m_windows);
}

void readQuoteLayout(const QDomElement& root, UserRecords& records)
{
    const QDomElement section = MV::getSubElement(root, c_szIndexLayout);
    if (!section.isNull()) {
        records.layouts.m_quoteGroupSetting.m_windows = readQuoteWindows(section);
    }
}

template <const TemplateFormat& (*format)(), Templates pTemplates>
void readAllTemplates(const QDomElement& root, UserRecords& records)
{
    records.layouts.*pTemplates
        = readTemplates(MV::getSubElement(root, format().strSectionTag), format());
}

template <const TemplateFormat& (*format)(), Templates pTemplates>
void writeAllTemplates(QDomElement& section, QDomDocument& doc, const UserRecords& records)
{
    writeTemplates(section, doc, format(), records.layouts.*pTemplates);
}

void readAllGroups(const QDomElement& root, UserRecords& records)
{
    const QDomElement section = MV::getSubElement(root, c_szIndexPositionLayout);
    records.layouts.m_formulaPanelSettings.clear();
    records.layouts.m_valuePanelSettings.clear();
    readPanelGroups(section, c_szFormulaGroups, records.layouts.m_formulaPanelSettings);
    readPanelGroups(section, c_szValueGroups, records.layouts.m_valuePanelSettings);
}

void writeAllGroups(QDomElement& section, QDomDocument& doc, const UserRecords& records)
{
    writePanelGroups(section, doc, c_szFormulaGroups, records.layouts.m_formulaPanelSettings);
    writePanelGroups(section, doc, c_szValueGroups, records.layouts.m_valuePanelSettings);
}

constexpr auto BelowRoot = SectionPlace::BelowRoot;
constexpr auto Anywhere = SectionPlace::Anywhere;
constexpr auto Always = SectionPresence::Always;

using Read = decltype(Section::read);
using Write = decltype(Section::write);

// The windows of a layout stand in its section, or in what holds them there.
ElementRule ruleOf(const char* pszName, const QVector<ElementRule>& children)
{
    return { pszName, ElementKind::Section, {}, children };
}

Section layout(const char* pszName, UserPart part, const QString& windowTag,
               const QVector<ElementRule>& children, Read read, Write write)
{
    return { pszName,   SectionOwner::Layouts,     Anywhere, Always, part,
             windowTag, ruleOf(pszName, children), read,     write };
}

Section own(const ElementRule& rule, SectionPlace place, UserPart part, Read read, Write write)
{
    return { rule.strTag, SectionOwner::Service, place, Always, part, {}, rule, read, write };
}

Section other(const char* pszName, SectionPresence presence = Always)
{
    return {
        pszName, SectionOwner::Managers, BelowRoot, presence, UserPart::Sections, {}, {}, nullptr,
        nullptr
    };
}

Section unread(const ElementRule& rule, Write write = nullptr)
{
    return {
        rule.strTag, SectionOwner::Nobody, BelowRoot, Always, UserPart::Sections, {}, rule, nullptr,
        write
    };
}

template <const char* pszName, Setting pSetting> Section windowSection(Read read)
{
    const WindowFormat& format = layoutWindowFormat();
    return layout(pszName, UserPart::Layouts, format.strTag, { windowRule(format) }, read,
                  writeLayout<pSetting>);
}

template <const TemplateFormat& (*format)(), Templates pTemplates> Section templateSection()
{
    return layout(format().strSectionTag.toLatin1().constData(), UserPart::Templates,
                  format().window.strTag, { templateRule(format()) },
                  readAllTemplates<format, pTemplates>, writeAllTemplates<format, pTemplates>);
}

std::vector<Section> layoutSections()
{
    using R = LayoutRecord;
    return {
        windowSection<c_szDefaultLayout, &R::m_defaultLayoutSetting>(
            readLayout<c_szDefaultLayout, &R::m_defaultLayoutSetting>),
        windowSection<c_szIndexLayout, &R::m_quoteGroupSetting>(readQuoteLayout),
        layout(c_szIndexPositionLayout, UserPart::Layouts, layoutWindowFormat().strTag,
               panelGroupRules(), readAllGroups, writeAllGroups),
        templateSection<quoteTemplateFormat, &R::m_quoteTemplates>(),
        windowSection<c_szTradePanelGroup, &R::m_tradeGroupSetting>(
            readLayout<c_szTradePanelGroup, &R::m_tradeGroupSetting>),
        templateSection<tradeTemplateFormat, &R::m_tradeTemplates>(),
    };
}

Section optionSection()
{
    return own(
        ruleOf(c_szOption, { settingsRule() }), Anywhere, UserPart::Options,
        [](const QDomElement& root, UserRecords& records) {
            records.options = {};
            readOptions(root, records.options);
        },
        [](QDomElement& section, QDomDocument& doc, const UserRecords& records) {
            writeOptions(section, doc, records.options);
        });
}

// Its reader looks for what is in it.
Section stockSection()
{
    return own(
        ruleOf(c_szCustomStock, { stockListsRule() }), BelowRoot, UserPart::Stocks,
        [](const QDomElement& root, UserRecords& records) {
            readCustomStocks(root, records.stocks);
        },
        [](QDomElement& section, QDomDocument& doc, const UserRecords& records) {
            writeCustomStocks(section, doc, records.stocks);
        });
}

Section userParamSection()
{
    return own(
        userParamsRule(), Anywhere, UserPart::Options,
        [](const QDomElement& root, UserRecords& records) {
            records.bFunctionTreeExpand = readFunctionTreeExpand(root, false);
        },
        [](QDomElement& section, QDomDocument&, const UserRecords& records) {
            setFunctionTreeExpand(section, records.bFunctionTreeExpand);
        });
}

Section versionSection()
{
    return unread({ c_szConfigVersion,
                    ElementKind::Section,
                    { { c_szVersionId, ValueKind::Integer, Presence::Needed } } },
                  [](QDomElement& section, QDomDocument&, const UserRecords&) {
                      section.setAttribute(c_szVersionId, c_nVersion);
                  });
}

std::vector<Section> allSections()
{
    std::vector<Section> all = layoutSections();
    for (const Section& section : {
             versionSection(),
             unread({ "CustomIndex" }),
             unread({ "CustomSector" }),
             other(c_szFormulaCatalog),
             optionSection(),
             other(c_szGroupIndex),
             other(c_szExtendDataCatalog),
             stockSection(),
             other(c_szExternalDataCatalog),
             other(c_szDrawGraph),
             other(c_szStrategyTrade),
             other(c_szStrategyAlgoTrade, SectionPresence::Optional),
             other(c_szWindDataCatalog),
             other(c_szInterfaceTrade),
             other(c_szSpecialStrategyData),
             userParamSection(),
         }) {
        all.push_back(section);
    }
    return all;
}

const ElementRule* findBelow(const ElementRule& rule, const QString& tag)
{
    const ElementRule* pFound = rule.strTag == tag ? &rule : nullptr;
    for (auto it = rule.children.begin(); pFound == nullptr && it != rule.children.end(); ++it) {
        pFound = findBelow(*it, tag);
    }
    return pFound;
}

} // namespace

const std::vector<Section>& sections()
{
    static const std::vector<Section> s_sections = allSections();
    return s_sections;
}

const Section* findSection(const QString& name)
{
    const auto it = std::find_if(sections().begin(), sections().end(),
                                 [&](const Section& section) { return section.strName == name; });
    return it == sections().end() ? nullptr : &*it;
}

const ElementRule* findRule(const QString& tag)
{
    const ElementRule* pFound = nullptr;
    for (auto it = sections().begin(); pFound == nullptr && it != sections().end(); ++it) {
        pFound = findBelow(it->rule, tag);
    }
    return pFound;
}

QString partName(UserPart part)
{
    static const QStringList s_names { "options", "stocks", "layouts", "templates", "sections" };
    return s_names[static_cast<int>(part)];
}

} // namespace KW
