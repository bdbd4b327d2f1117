#include "format/panelgroups.h"

#include "format/layoutwindows.h"
#include "format/xmlelements.h"

namespace KW {

QVector<ElementRule> panelGroupRules()
{
    const ElementRule group { c_szPanelGroup,
                              ElementKind::Group,
                              { neededText(c_szGroupKey) },
                              { windowRule(layoutWindowFormat()) },
                              c_szGroupKey };
    return { { c_szFormulaGroups, ElementKind::Holder, {}, { group } },
             { c_szValueGroups, ElementKind::Holder, {}, { group } } };
}

void readPanelGroups(const QDomElement& positionLayout, const QString& tag, PanelGroupMap& groups)
{
    const auto sections = descendants(positionLayout, tag);
    for (const QDomElement& section : sections) {
        const auto items = descendants(section, c_szPanelGroup);
        for (const QDomElement& item : items) {
            CPanelGroupLayoutSetting setting;
            setting.m_strKey = item.attribute(c_szGroupKey);
            readWindows(item, layoutWindowFormat(), setting.m_windows);
            if (!setting.m_windows.isEmpty()) {
                groups.insert(setting.m_strKey, setting);
            }
        }
    }
}

void writePanelGroups(QDomElement& positionLayout, QDomDocument& doc, const QString& tag,
                      const PanelGroupMap& groups)
{
    QDomElement section = doc.createElement(tag);
    for (const CPanelGroupLayoutSetting& setting : groups) {
        QDomElement item = doc.createElement(c_szPanelGroup);
        item.setAttribute(c_szGroupKey, setting.m_strKey);
        writeWindows(item, doc, layoutWindowFormat(), setting.m_windows);
        section.appendChild(item);
    }
    positionLayout.appendChild(section);
}

} // namespace KW
