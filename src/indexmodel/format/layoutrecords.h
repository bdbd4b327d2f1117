#pragma once

#include "format/elementtree.h"
#include "format/indexuserexport.h"
#include "platform/mvcommon.h"

#include <QMap>
#include <QRect>
#include <QString>
#include <QVector>

#include <memory>

namespace KW {

/// One top-level window of a layout; a value that may be copied freely.
class INDEXUSER_EXPORT CLayoutWindow {
public:
    CLayoutWindow() = default;
    CLayoutWindow(const CLayoutWindow&) = default;
    CLayoutWindow& operator=(const CLayoutWindow&) = default;
    virtual ~CLayoutWindow();

    bool m_bIsMain = false;
    int m_nScreenId = 0;
    bool m_bMaximized = false;
    QString m_strNavTree; ///< kept as it is; template windows in the file do not carry it
    QRect m_rect; ///< pixels
    /// The docked-panel tree, shared by all copies of the window and never changed; null for none.
    std::shared_ptr<const MV::ILayoutElement> m_pItemLayout;
    int m_nPanelGroupId = 0; ///< 6000 marks a window that clearQuoteWindowLayout() spares
};

/// A list of windows under a key.
class INDEXUSER_EXPORT CPanelGroupLayoutSetting {
public:
    QString m_strKey; ///< set for formula and value panel groups only
    QVector<CLayoutWindow> m_windows;
};

/// A named copy of a list of windows.
class INDEXUSER_EXPORT CLayoutTemplate {
public:
    QString m_strName; ///< any text, also empty; two templates may share a name
    QVector<CLayoutWindow> m_windows;
};

/// Panel groups by key.
using PanelGroupMap = QMap<QString, CPanelGroupLayoutSetting>;

/// All layouts of a user.
struct LayoutRecord {
    CPanelGroupLayoutSetting m_quoteGroupSetting;
    CPanelGroupLayoutSetting m_defaultLayoutSetting;
    QVector<CLayoutTemplate> m_quoteTemplates;
    CPanelGroupLayoutSetting m_tradeGroupSetting;
    QVector<CLayoutTemplate> m_tradeTemplates;
    PanelGroupMap m_formulaPanelSettings;
    PanelGroupMap m_valuePanelSettings;
};

/// The docked-panel tree of \a window as its own toXml() tells it; null for none. It is what
/// comparing, drawing and checking look at.
ElementTree panelTree(const CLayoutWindow& window);

// By value, docked-panel trees too.
bool operator==(const CLayoutWindow& left, const CLayoutWindow& right);
bool operator==(const CPanelGroupLayoutSetting& left, const CPanelGroupLayoutSetting& right);
bool operator==(const CLayoutTemplate& left, const CLayoutTemplate& right);
bool operator==(const LayoutRecord& left, const LayoutRecord& right);

} // namespace KW
