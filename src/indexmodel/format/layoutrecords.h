#pragma once

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

} // namespace KW
