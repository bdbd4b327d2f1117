#include "inspect/userdifferences.h"

#include "inspect/entries_p.h"
#include "inspect/optionvalues.h"
#include "inspect/treedifferences.h"

#include "format/layouttemplates.h"
#include "format/panelgroups.h"
#include "format/userparams.h"

namespace inspect {

namespace {

using Found = QVector<Difference>;

Difference place(KW::UserPart part, const QString& what)
{
    Difference place;
    place.part = part;
    place.strWhat = what;
    return place;
}

void compareOptions(const UserRecords& left, const UserRecords& right, Found& found)
{
    if (left.options == right.options && left.bFunctionTreeExpand == right.bFunctionTreeExpand) {
        return;
    }
    const Difference settings = place(KW::UserPart::Options, settingsPath());
    for (const KW::OptionRow& row : KW::optionTable()) {
        compareField(settings, row.strAttribute, optionText(left.options, row),
                     optionText(right.options, row), found);
    }
    const auto number = [](bool bExpand) { return QString::number(bExpand ? 1 : 0); };
    compareField(place(KW::UserPart::Options, KW::c_szUserParams), KW::c_szExpand,
                 number(left.bFunctionTreeExpand), number(right.bFunctionTreeExpand), found);
}

// --- stocks ---

using Instrument = KW::InstrumentList::value_type;

EntryName nameOf(const Instrument& pDetail)
{
    return { KW::c_szStock,
             pDetail ? QString::fromStdString(KW::instrumentKey(*pDetail)) : QString() };
}

void compareStock(const Difference& entry, const Instrument& pLeft, const Instrument& pRight,
                  Found& found)
{
    if (pLeft == pRight || !pLeft || !pRight) {
        return;
    }
    for (const KW::StockField& field : KW::stockFields()) {
        if ((*pLeft).*field.pField != (*pRight).*field.pField) {
            compareField(entry, field.strAttribute, QString::fromStdString((*pLeft).*field.pField),
                         QString::fromStdString((*pRight).*field.pField), found);
        }
    }
}

void compareStocks(const KW::CustomStockMap& left, const KW::CustomStockMap& right, Found& found)
{
    const Difference lists = place(KW::UserPart::Stocks,
                                   KW::c_szCustomStock + QStringLiteral("/") + KW::c_szStockLists);
    compareLists(
        lists, left.keys(), right.keys(),
        [](int type) {
            return EntryName { KW::c_szStockList, QString::number(type) };
        },
        [&](const Difference& entry, int type, int) {
            if (!KW::sameInstruments(left[type], right[type])) {
                compareLists(
                    entry, left[type], right[type], nameOf,
                    [&](const Difference& stock, const Instrument& pLeft,
                        const Instrument& pRight) { compareStock(stock, pLeft, pRight, found); },
                    found);
            }
        },
        found);
}

// --- layouts ---

using Windows = QVector<KW::CLayoutWindow>;
using Values = QVector<QPair<QString, QString>>;

Values valuesOf(const KW::CLayoutWindow& window)
{
    const auto number = [](int nNumber) { return QString::number(nNumber); };
    const QRectF rect = areaOf(window);
    return { { "screen_id", number(window.m_nScreenId) },
             { "is_main", number(window.m_bIsMain ? 1 : 0) },
             { "maximized", number(window.m_bMaximized ? 1 : 0) },
             { "left", number(static_cast<int>(rect.x())) },
             { "top", number(static_cast<int>(rect.y())) },
             { "width", number(static_cast<int>(rect.width())) },
             { "height", number(static_cast<int>(rect.height())) },
             { "navtree", window.m_strNavTree } };
}

QVector<KW::ElementTree> panelsOf(const KW::CLayoutWindow& window)
{
    const KW::ElementTree tree = KW::panelTree(window);
    return tree.isNull() ? QVector<KW::ElementTree>() : QVector<KW::ElementTree> { tree };
}

void compareWindows(const Difference& parent, const QString& tag, const Windows& left,
                    const Windows& right, Found& found)
{
    if (left == right) {
        return;
    }
    compareLists(
        parent, left, right,
        [&](const KW::CLayoutWindow& window) {
            return EntryName { tag, QString::number(window.m_nPanelGroupId) };
        },
        [&](const Difference& entry, const KW::CLayoutWindow& one, const KW::CLayoutWindow& other) {
            const Values values = valuesOf(one);
            const Values others = valuesOf(other);
            for (int i = 0; i < values.size(); ++i) {
                compareField(entry, values[i].first, values[i].second, others[i].second, found);
            }
            compareTrees(entry, panelsOf(one), panelsOf(other), found);
        },
        found);
}

void compareGroups(const char* pszTag, const KW::PanelGroupMap& left,
                   const KW::PanelGroupMap& right, Found& found)
{
    if (left == right) {
        return;
    }
    using Setting = KW::CPanelGroupLayoutSetting;
    compareLists(
        place(KW::UserPart::Layouts,
              KW::c_szIndexPositionLayout + QStringLiteral("/") + QString(pszTag)),
        left.values(), right.values(),
        [](const Setting& setting) {
            return EntryName { KW::c_szPanelGroup, setting.m_strKey };
        },
        [&](const Difference& entry, const Setting& one, const Setting& other) {
            compareWindows(entry, KW::layoutWindowFormat().strTag, one.m_windows, other.m_windows,
                           found);
        },
        found);
}

void compareTemplates(const KW::TemplateFormat& format, const QVector<KW::CLayoutTemplate>& left,
                      const QVector<KW::CLayoutTemplate>& right, Found& found)
{
    if (left == right) {
        return;
    }
    using Template = KW::CLayoutTemplate;
    compareLists(
        place(KW::UserPart::Templates, format.strSectionTag), left, right,
        [&](const Template& each) {
            return EntryName { format.strTemplateTag, each.m_strName };
        },
        [&](const Difference& entry, const Template& one, const Template& other) {
            compareWindows(entry, format.window.strTag, one.m_windows, other.m_windows, found);
        },
        found);
}

void compareLayouts(const KW::LayoutRecord& left, const KW::LayoutRecord& right, Found& found)
{
    const auto compare = [&](const char* pszSection, auto pSetting) {
        compareWindows(place(KW::UserPart::Layouts, pszSection), KW::layoutWindowFormat().strTag,
                       (left.*pSetting).m_windows, (right.*pSetting).m_windows, found);
    };
    compare(KW::c_szDefaultLayout, &KW::LayoutRecord::m_defaultLayoutSetting);
    compare(KW::c_szIndexLayout, &KW::LayoutRecord::m_quoteGroupSetting);
    compare(KW::c_szTradePanelGroup, &KW::LayoutRecord::m_tradeGroupSetting);
    compareGroups(KW::c_szFormulaGroups, left.m_formulaPanelSettings, right.m_formulaPanelSettings,
                  found);
    compareGroups(KW::c_szValueGroups, left.m_valuePanelSettings, right.m_valuePanelSettings,
                  found);
    compareTemplates(KW::quoteTemplateFormat(), left.m_quoteTemplates, right.m_quoteTemplates,
                     found);
    compareTemplates(KW::tradeTemplateFormat(), left.m_tradeTemplates, right.m_tradeTemplates,
                     found);
}

} // namespace

QVector<Difference> differences(const UserRecords& left, const UserRecords& right)
{
    Found found;
    compareOptions(left, right, found);
    compareStocks(left.stocks, right.stocks, found);
    compareLayouts(left.layouts, right.layouts, found);
    compareTrees(place(KW::UserPart::Sections, {}), KW::contents(left.sections),
                 KW::contents(right.sections), found);
    return found;
}

} // namespace inspect
