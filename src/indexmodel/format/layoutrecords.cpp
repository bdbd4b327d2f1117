#include "format/layoutrecords.h"

#include <QDomDocument>

namespace KW {

CLayoutWindow::~CLayoutWindow() = default;

ElementTree panelTree(const CLayoutWindow& window)
{
    if (!window.m_pItemLayout) {
        return {};
    }
    QDomDocument doc;
    QDomElement parent = doc.createElement(QStringLiteral("window"));
    window.m_pItemLayout->toXml(parent, doc);
    return elementTree(parent.firstChild());
}

bool operator==(const CLayoutWindow& left, const CLayoutWindow& right)
{
    return left.m_nPanelGroupId == right.m_nPanelGroupId && left.m_nScreenId == right.m_nScreenId
        && left.m_bIsMain == right.m_bIsMain && left.m_bMaximized == right.m_bMaximized
        && left.m_rect == right.m_rect && left.m_strNavTree == right.m_strNavTree
        && (left.m_pItemLayout == right.m_pItemLayout || panelTree(left) == panelTree(right));
}

bool operator==(const CPanelGroupLayoutSetting& left, const CPanelGroupLayoutSetting& right)
{
    return left.m_strKey == right.m_strKey && left.m_windows == right.m_windows;
}

bool operator==(const CLayoutTemplate& left, const CLayoutTemplate& right)
{
    return left.m_strName == right.m_strName && left.m_windows == right.m_windows;
}

bool operator==(const LayoutRecord& left, const LayoutRecord& right)
{
    return left.m_defaultLayoutSetting == right.m_defaultLayoutSetting
        && left.m_quoteGroupSetting == right.m_quoteGroupSetting
        && left.m_tradeGroupSetting == right.m_tradeGroupSetting
        && left.m_formulaPanelSettings == right.m_formulaPanelSettings
        && left.m_valuePanelSettings == right.m_valuePanelSettings
        && left.m_quoteTemplates == right.m_quoteTemplates
        && left.m_tradeTemplates == right.m_tradeTemplates;
}

} // namespace KW
