#include "mend/holders_p.h"

#include <format/layouttemplates.h>
#include <format/panelgroups.h>
#include <format/sections.h>

#include <algorithm>

namespace mend {

namespace {

using KW::LayoutRecord;
using KW::UserRecords;
using Setting = KW::CPanelGroupLayoutSetting LayoutRecord::*;
using Groups = KW::PanelGroupMap LayoutRecord::*;
using Templates = QVector<KW::CLayoutTemplate> LayoutRecord::*;

template <typename List, typename NameOf> QStringList namesIn(const List& list, NameOf nameOf)
{
    QStringList names;
    std::transform(list.begin(), list.end(), std::back_inserter(names), nameOf);
    return names;
}

template <typename List> void takeFrom(const List& from, const QVector<bool>& chosen, List& to)
{
    for (int i = 0; i < from.size(); ++i) {
        if (chosen[i]) {
            to.append(from[i]);
        }
    }
}

template <typename Key, typename Value>
void takeFrom(const QMap<Key, Value>& from, const QVector<bool>& chosen, QMap<Key, Value>& to)
{
    int i = 0;
    for (auto it = from.begin(); it != from.end(); ++it) {
        if (chosen[i++] && !to.contains(it.key())) {
            to.insert(it.key(), *it);
        }
    }
}

template <Setting pSetting> EntryHolder windows(const char* pszSection)
{
    return { pszSection,
             pszSection,
             KW::layoutWindowFormat().strTag.toUtf8(),
             "panelgroup_id",
             EntryKind::Window,
             [](const UserRecords& records) {
                 return namesIn((records.layouts.*pSetting).m_windows, [](const auto& window) {
                     return QString::number(window.m_nPanelGroupId);
                 });
             },
             [](UserRecords& to, const UserRecords& from, const QVector<bool>& chosen) {
                 takeFrom((from.layouts.*pSetting).m_windows, chosen,
                          (to.layouts.*pSetting).m_windows);
             } };
}

template <Groups pGroups> EntryHolder groups(const char* pszName)
{
    return { KW::c_szIndexPositionLayout,
             pszName,
             KW::c_szPanelGroup,
             "key",
             EntryKind::Group,
             [](const UserRecords& records) {
                 return QStringList((records.layouts.*pGroups).keys());
             },
             [](UserRecords& to, const UserRecords& from, const QVector<bool>& chosen) {
                 takeFrom(from.layouts.*pGroups, chosen, to.layouts.*pGroups);
             } };
}

template <Templates pTemplates> EntryHolder templates(const KW::TemplateFormat& format)
{
    return { format.strSectionTag,
             format.strSectionTag.toUtf8(),
             format.strTemplateTag.toUtf8(),
             "name",
             EntryKind::Template,
             [](const UserRecords& records) {
                 return namesIn(records.layouts.*pTemplates,
                                [](const auto& each) { return each.m_strName; });
             },
             [](UserRecords& to, const UserRecords& from, const QVector<bool>& chosen) {
                 takeFrom(from.layouts.*pTemplates, chosen, to.layouts.*pTemplates);
             } };
}

EntryHolder stockLists()
{
    return { KW::c_szCustomStock,
             KW::c_szStockLists,
             KW::c_szStockList,
             "type",
             EntryKind::List,
             [](const UserRecords& records) {
                 return namesIn(records.stocks.keys(),
                                [](int type) { return QString::number(type); });
             },
             [](UserRecords& to, const UserRecords& from, const QVector<bool>& chosen) {
                 takeFrom(from.stocks, chosen, to.stocks);
             } };
}

Holders makeHolders()
{
    Holders holders { { KW::c_szRoot, {} } };
    for (const KW::Section& section : KW::sections()) {
        holders.insert(section.strName.toUtf8(), { KW::c_szRoot });
    }
    for (const EntryHolder& each : entryHolders()) {
        if (!holders.contains(each.name)) {
            holders.insert(each.name, { KW::c_szRoot, each.strSection.toUtf8() });
        }
    }
    return holders;
}

} // namespace

QString EntryHolder::path() const
{
    const QString strName = QString::fromUtf8(name);
    return strName == strSection || kind == EntryKind::List ? strSection
                                                            : strSection + '/' + strName;
}

const std::vector<EntryHolder>& entryHolders()
{
    static const std::vector<EntryHolder> s_holders {
        windows<&LayoutRecord::m_defaultLayoutSetting>(KW::c_szDefaultLayout),
        windows<&LayoutRecord::m_quoteGroupSetting>(KW::c_szIndexLayout),
        groups<&LayoutRecord::m_formulaPanelSettings>(KW::c_szFormulaGroups),
        groups<&LayoutRecord::m_valuePanelSettings>(KW::c_szValueGroups),
        templates<&LayoutRecord::m_quoteTemplates>(KW::quoteTemplateFormat()),
        windows<&LayoutRecord::m_tradeGroupSetting>(KW::c_szTradePanelGroup),
        templates<&LayoutRecord::m_tradeTemplates>(KW::tradeTemplateFormat()),
        stockLists(),
    };
    return s_holders;
}

bool holdsEntries(const QByteArray& name, const QByteArray& tag)
{
    return std::any_of(entryHolders().begin(), entryHolders().end(), [&](const EntryHolder& each) {
        return each.name == name && each.tag == tag;
    });
}

const Holders& allHolders()
{
    static const Holders s_holders = makeHolders();
    return s_holders;
}

} // namespace mend
