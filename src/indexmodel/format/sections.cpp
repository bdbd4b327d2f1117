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
    readWindows(MV::getSubElement(root, pszName), layoutWindowFormat(),
                (records.layouts.*pSetting).m_windows);
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

Section layout(const char* pszName, UserPart part, const QString& windowTag,
               decltype(Section::read) read, decltype(Section::write) write)
{
    return { pszName, SectionOwner::Layouts, Anywhere, Always, part, windowTag, read, write };
}

Section own(const char* pszName, SectionPlace place, UserPart part, decltype(Section::read) read,
            decltype(Section::write) write)
{
    return { pszName, SectionOwner::Service, place, Always, part, {}, read, write };
}

Section other(const char* pszName, SectionPresence presence = Always)
{
    return { pszName, SectionOwner::Managers, BelowRoot, presence, UserPart::Sections, {}, nullptr,
             nullptr };
}

Section unread(const char* pszName, decltype(Section::write) write = nullptr)
{
    return { pszName, SectionOwner::Nobody, BelowRoot, Always, UserPart::Sections, {}, nullptr,
             write };
}

std::vector<Section> layoutSections()
{
    using R = LayoutRecord;
    const QString strTag = layoutWindowFormat().strTag;
    return {
        layout(c_szDefaultLayout, UserPart::Layouts, strTag,
               readLayout<c_szDefaultLayout, &R::m_defaultLayoutSetting>,
               writeLayout<&R::m_defaultLayoutSetting>),
        layout(c_szIndexLayout, UserPart::Layouts, strTag, readQuoteLayout,
               writeLayout<&R::m_quoteGroupSetting>),
        layout(c_szIndexPositionLayout, UserPart::Layouts, strTag, readAllGroups, writeAllGroups),
        layout(c_szLayoutTemplates, UserPart::Templates, quoteTemplateFormat().window.strTag,
               readAllTemplates<quoteTemplateFormat, &R::m_quoteTemplates>,
               writeAllTemplates<quoteTemplateFormat, &R::m_quoteTemplates>),
        layout(c_szTradePanelGroup, UserPart::Layouts, strTag,
               readLayout<c_szTradePanelGroup, &R::m_tradeGroupSetting>,
               writeLayout<&R::m_tradeGroupSetting>),
        layout(c_szTradeLayoutTemplates, UserPart::Templates, tradeTemplateFormat().window.strTag,
               readAllTemplates<tradeTemplateFormat, &R::m_tradeTemplates>,
               writeAllTemplates<tradeTemplateFormat, &R::m_tradeTemplates>),
    };
}

Section optionSection()
{
    return own(
        c_szOption, Anywhere, UserPart::Options,
        [](const QDomElement& root, UserRecords& records) { readOptions(root, records.options); },
        [](QDomElement& section, QDomDocument& doc, const UserRecords& records) {
            writeOptions(section, doc, records.options);
        });
}

// Its reader looks for what is in it.
Section stockSection()
{
    return own(
        c_szCustomStock, BelowRoot, UserPart::Stocks,
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
        c_szUserParams, Anywhere, UserPart::Options,
        [](const QDomElement& root, UserRecords& records) {
            records.bFunctionTreeExpand = readFunctionTreeExpand(root, records.bFunctionTreeExpand);
        },
        [](QDomElement& section, QDomDocument&, const UserRecords& records) {
            setFunctionTreeExpand(section, records.bFunctionTreeExpand);
        });
}

void writeVersion(QDomElement& section, QDomDocument&, const UserRecords&)
{
    section.setAttribute(QStringLiteral("version_id"), c_nVersion);
}

std::vector<Section> allSections()
{
    std::vector<Section> all = layoutSections();
    for (const Section& section : {
             unread("ConfigVersion", writeVersion),
             unread("CustomIndex"),
             unread("CustomSector"),
             other("FormulaCatalog"),
             optionSection(),
             other("GroupIndex"),
             other("ExtendDataCatalog"),
             stockSection(),
             other("externalDataCatalog"),
             other("drawGraph"),
             other("strategyTrade"),
             other("strategyAlgoTrade", SectionPresence::Optional),
             other("WindDataCatalog"),
             other("interfaceTrade"),
             other("specialstrategydata"),
             userParamSection(),
         }) {
        all.push_back(section);
    }
    return all;
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

QString partName(UserPart part)
{
    static const QStringList s_names { "options", "stocks", "layouts", "templates", "sections" };
    return s_names[static_cast<int>(part)];
}

} // namespace KW
