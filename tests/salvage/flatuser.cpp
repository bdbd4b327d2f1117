#include "flatuser.h"

#include <format/sections.h>

#include <QTextStream>

#include <algorithm>

namespace truth {

namespace {

QString textOf(const QDomElement& element)
{
    QString strText;
    QTextStream stream(&strText);
    element.save(stream, 0);
    return strText;
}

void addEntries(const QDomElement& holder, const char* pszKey, QVector<FlatEntry>& entries)
{
    for (QDomElement each = holder.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        entries.append({ each.attribute(pszKey), textOf(each) });
    }
}

void addAttributes(const QDomElement& element, QVector<FlatEntry>& entries)
{
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        entries.append({ attributes.item(i).nodeName(), attributes.item(i).nodeValue() });
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& left, const auto& right) { return left.strName < right.strName; });
}

void makeOlder(QVector<KW::CLayoutWindow>& windows)
{
    for (KW::CLayoutWindow& each : windows) {
        each.m_rect.setHeight(each.m_rect.height() + 1);
    }
}

template <typename List, typename Entry> void changeLength(List& list, const Entry& more)
{
    if (list.size() > 1) {
        list.erase(list.begin() + 1);
    }
    list.append(more);
}

KW::CLayoutWindow oldWindow()
{
    KW::CLayoutWindow window;
    window.m_nPanelGroupId = 990001;
    return window;
}

void makeOlder(KW::PanelGroupMap& groups)
{
    for (KW::CPanelGroupLayoutSetting& each : groups) {
        makeOlder(each.m_windows);
    }
    if (groups.size() > 1) {
        groups.erase(groups.begin() + 1);
    }
    groups.insert("旧", { "旧", { oldWindow() } });
}

void makeOlder(QVector<KW::CLayoutTemplate>& templates)
{
    for (KW::CLayoutTemplate& each : templates) {
        makeOlder(each.m_windows);
    }
    changeLength(templates, KW::CLayoutTemplate { "旧", { oldWindow() } });
}

void makeOlder(KW::CustomStockMap& stocks)
{
    const rxservice::CInstrumentDetail old { "OLD", "1", "旧" };
    for (KW::InstrumentList& list : stocks) {
        list.append(std::make_shared<rxservice::CInstrumentDetail>(old));
    }
    if (stocks.size() > 1) {
        stocks.erase(stocks.begin() + 1);
    }
    stocks.insert(990001, { std::make_shared<rxservice::CInstrumentDetail>(old) });
}

void makeOlder(KW::LayoutRecord& layouts)
{
    for (KW::CPanelGroupLayoutSetting* pSetting :
         { &layouts.m_defaultLayoutSetting, &layouts.m_quoteGroupSetting,
           &layouts.m_tradeGroupSetting }) {
        makeOlder(pSetting->m_windows);
        changeLength(pSetting->m_windows, oldWindow());
    }
    makeOlder(layouts.m_formulaPanelSettings);
    makeOlder(layouts.m_valuePanelSettings);
    makeOlder(layouts.m_quoteTemplates);
    makeOlder(layouts.m_tradeTemplates);
}

void makeOlder(KW::paramSettingForClient& options)
{
    // One field has two names, of which the first is passed over.
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.strAttribute == QLatin1String("graphDisplay")) {
            continue;
        }
        if (auto ppText = std::get_if<QString KW::paramSettingForClient::*>(&row.field)) {
            options.*(*ppText) += "旧";
        } else if (auto ppFlag = std::get_if<bool KW::paramSettingForClient::*>(&row.field)) {
            options.*(*ppFlag) = !(options.*(*ppFlag));
        } else {
            options.*std::get<std::int32_t KW::paramSettingForClient::*>(row.field) += 7;
        }
    }
}

} // namespace

bool operator==(const FlatEntry& left, const FlatEntry& right)
{
    return left.strName == right.strName && left.strContent == right.strContent;
}

FlatUser flatUser(const KW::UserRecords& records)
{
    FlatUser user;
    const QDomDocument doc = KW::documentOf(records);
    for (QDomElement section = doc.documentElement().firstChildElement(); !section.isNull();
         section = section.nextSiblingElement()) {
        const QString strName = section.tagName();
        QVector<FlatEntry>& entries = user[strName];
        if (strName == KW::c_szOption) {
            addAttributes(section.firstChildElement(), entries);
        } else if (strName == KW::c_szCustomStock) {
            addEntries(section.firstChildElement(), "type", entries);
        } else if (strName == KW::c_szIndexPositionLayout) {
            for (const char* pszGroups : { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" }) {
                addEntries(section.firstChildElement(pszGroups), "key",
                           user[strName + '/' + pszGroups]);
            }
        } else if (strName.endsWith("LayoutTemplates")) {
            addEntries(section, "name", entries);
        } else if (KW::findSection(strName)->owner == KW::SectionOwner::Layouts) {
            addEntries(section, "panelgroup_id", entries);
        } else {
            entries.append({ strName, textOf(section) });
        }
    }
    for (const char* pszNone :
         { "IndexPositionLayout", "ConfigVersion", "CustomIndex", "CustomSector" }) {
        user.remove(pszNone);
    }
    return user;
}

KW::UserRecords olderCopy(const KW::UserRecords& records)
{
    KW::UserRecords older = records;
    makeOlder(older.options);
    makeOlder(older.stocks);
    older.bFunctionTreeExpand = !records.bFunctionTreeExpand;
    makeOlder(older.layouts);
    for (KW::ElementTree& each : older.sections) {
        each.attributes.prepend({ "a", "旧" });
    }
    return older;
}

} // namespace truth
