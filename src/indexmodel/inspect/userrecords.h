#pragma once

#include <indexuser/userconfiginterface.h>

#include <QDomDocument>
#include <QDomElement>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <QVector>

namespace inspect {

/// All that a user's file holds, as the service would hold it after a load.
struct UserRecords {
    KW::paramSettingForClient options;
    KW::CustomStockMap stocks;
    bool bFunctionTreeExpand = false;
    QDomDocument layouts; ///< the six layout sections, as a save writes them, below one root
    QVector<QDomElement> sections; ///< those of other managers and those of nobody, as they stand
    QDomDocument file; ///< where the sections are, and has to live as long as they
};

/// Reads \a file with the readers of the service, without asking the service. Any thread.
///
///     const inspect::UserRecords records =
///     inspect::recordsOf(inspect::readUserFile(path).document);
UserRecords recordsOf(const QDomDocument& file);

/// What \a service holds now; the sections of others are those of \a file.
UserRecords recordsOf(KW::UserConfigInterface& service, const QDomDocument& file);

/// What a save of \a records and the load after it leave: no read-only options, no section that
/// nobody reads, no panel group without windows.
UserRecords savedForm(const UserRecords& records);

/// A document that holds all of \a records, read-only options too; for comparing, not for saving.
QDomDocument documentOf(const UserRecords& records);

/// All that a save writes below the root, in its order. Only strategyAlgoTrade may be left out, by
/// its manager.
const QStringList& savedSections();
bool isKnownSection(const QString& name);
/// Those that the service keeps itself.
bool isOwnSection(const QString& name);

/// One window of a layout or template.
struct Window {
    int nScreenId = 0;
    bool bMain = false;
    bool bMaximized = false;
    QRectF rect; ///< pixels
    QString strNavTree;
    int nPanelGroupId = 0;
    QDomElement panels; ///< the docked-panel tree; null for none
};

/// The window that \a element describes, with the rules of the file's readers.
Window windowOf(const QDomElement& element);

/// A list of windows, under the name of its section and, if it has one, its key or name.
struct Layout {
    QString strSection;
    QString strName;
    QVector<Window> windows;
};

/// The default, quote and trade layout and the panel groups, in the order of the file.
QVector<Layout> layoutsOf(const UserRecords& records);

enum class LayoutSide { Quote, Trade };

/// The section of the current windows of a side, and that of its templates.
QString layoutSection(LayoutSide side);
QString templateSection(LayoutSide side);

/// The templates of one side, in their order.
QVector<Layout> templatesOf(const UserRecords& records, LayoutSide side);

/// The names of all panels below \a panels, in document order.
QStringList panelNames(const QDomElement& panels);

} // namespace inspect
