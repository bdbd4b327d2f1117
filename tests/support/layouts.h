#pragma once

#include "indexuser/cpanelgrouplayoutconfig.h"

#include <QList>

/// A window of a panel group and nothing else.
inline KW::CLayoutWindow windowOf(int panelGroup)
{
    KW::CLayoutWindow window;
    window.m_nPanelGroupId = panelGroup;
    return window;
}

inline KW::CPanelGroupLayoutSetting groupOf(const QString& key, const QList<int>& panelGroups)
{
    KW::CPanelGroupLayoutSetting setting;
    setting.m_strKey = key;
    for (const int nPanelGroup : panelGroups) {
        setting.m_windows.append(windowOf(nPanelGroup));
    }
    return setting;
}

/// The panel groups of the windows of \a setting, in order.
inline QList<int> panelGroups(const KW::CPanelGroupLayoutSetting& setting)
{
    QList<int> groups;
    for (const KW::CLayoutWindow& window : setting.m_windows) {
        groups.append(window.m_nPanelGroupId);
    }
    return groups;
}
