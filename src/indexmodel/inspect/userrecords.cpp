#include "inspect/userrecords.h"

#include "format/layoutwindows.h"
#include "format/panelgroups.h"
#include "format/sections.h"

namespace inspect {

namespace {

QVector<Layout> groupsOf(const char* pszTag, const KW::PanelGroupMap& groups)
{
    QVector<Layout> layouts;
    for (const KW::CPanelGroupLayoutSetting& setting : groups) {
        layouts.append({ pszTag, setting.m_strKey, setting.m_windows });
    }
    return layouts;
}

} // namespace

QVector<Layout> layoutsOf(const UserRecords& records)
{
    const KW::LayoutRecord& layouts = records.layouts;
    return QVector<Layout> {
        { KW::c_szDefaultLayout, {}, layouts.m_defaultLayoutSetting.m_windows },
        { KW::c_szIndexLayout, {}, layouts.m_quoteGroupSetting.m_windows },
        { KW::c_szTradePanelGroup, {}, layouts.m_tradeGroupSetting.m_windows },
    }
    + groupsOf(KW::c_szFormulaGroups, layouts.m_formulaPanelSettings)
        + groupsOf(KW::c_szValueGroups, layouts.m_valuePanelSettings);
}

QString layoutSection(LayoutSide side)
{
    return side == LayoutSide::Quote ? KW::c_szIndexLayout : KW::c_szTradePanelGroup;
}

QString templateSection(LayoutSide side)
{
    return side == LayoutSide::Quote ? KW::c_szLayoutTemplates : KW::c_szTradeLayoutTemplates;
}

QVector<Layout> templatesOf(const UserRecords& records, LayoutSide side)
{
    const auto& templates = side == LayoutSide::Quote ? records.layouts.m_quoteTemplates
                                                      : records.layouts.m_tradeTemplates;
    QVector<Layout> layouts;
    for (const KW::CLayoutTemplate& each : templates) {
        layouts.append({ templateSection(side), each.m_strName, each.m_windows });
    }
    return layouts;
}

QRectF areaOf(const KW::CLayoutWindow& window)
{
    const QRect& rect = window.m_rect;
    return QRectF(rect.left(), rect.top(), KW::pixelCount(rect.left(), rect.right()),
                  KW::pixelCount(rect.top(), rect.bottom()));
}

QStringList panelNames(const KW::ElementTree& panels)
{
    QStringList names;
    if (panels.hasAttribute(QStringLiteral("name"))) {
        names.append(panels.attribute(QStringLiteral("name")));
    }
    for (const KW::ElementTree& child : panels.children) {
        names += panelNames(child);
    }
    return names;
}

} // namespace inspect
