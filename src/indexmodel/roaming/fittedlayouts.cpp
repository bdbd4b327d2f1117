#include "roaming/fittedlayouts_p.h"

#include <format/sections.h>
#include <inspect/layoutfit.h>

namespace roaming {

namespace {

using Screens = QVector<inspect::Screen>;

// Whether a window has gone anywhere.
bool fitWindows(QVector<KW::CLayoutWindow>& windows, const Screens& screens)
{
    const QVector<inspect::FittedWindow> fitted = inspect::fitted(windows, screens);
    const bool bFit = inspect::allFit(fitted);
    for (int i = 0; !bFit && i < windows.size(); ++i) {
        windows[i] = fitted[i].after;
    }
    return !bFit;
}

bool fitGroups(KW::PanelGroupMap& groups, const Screens& screens)
{
    bool bMoved = false;
    for (KW::CPanelGroupLayoutSetting& group : groups) {
        bMoved = fitWindows(group.m_windows, screens) || bMoved;
    }
    return bMoved;
}

bool fitLayouts(KW::LayoutRecord& layouts, const Screens& screens)
{
    bool bMoved = false;
    for (auto pSetting :
         { &KW::LayoutRecord::m_defaultLayoutSetting, &KW::LayoutRecord::m_quoteGroupSetting,
           &KW::LayoutRecord::m_tradeGroupSetting }) {
        bMoved = fitWindows((layouts.*pSetting).m_windows, screens) || bMoved;
    }
    bMoved = fitGroups(layouts.m_formulaPanelSettings, screens) || bMoved;
    return fitGroups(layouts.m_valuePanelSettings, screens) || bMoved;
}

} // namespace

// Read alone: a reader takes the first section of its name, wherever it stands.
KW::ElementTree fittedSection(const KW::ElementTree& root, const KW::ElementTree& section,
                              const Screens& screens)
{
    QDomDocument doc;
    KW::appendTree(doc, doc, { root.strName, {}, root.attributes, { section } });
    KW::UserRecords records;
    const KW::Section& format = *KW::findSection(section.strName);
    format.read(doc.documentElement(), records);
    if (!fitLayouts(records.layouts, screens)) {
        return section;
    }
    QDomElement made = doc.createElement(section.strName);
    format.write(made, doc, records);
    return KW::elementTree(made);
}

} // namespace roaming
