#pragma once

#include "format/indexuserexport.h"
#include "format/layoutrecords.h"

#include <QList>
#include <QString>

namespace KW {

/// All layouts of one user: current, default and saved ones.
///
/// Getters return copies and setters take copies. Unknown names and keys are no-ops; operations
/// that look a name up act on the first template of that name. One thread at a time: the thread
/// that owns the manager.
///
///     KW::CPanelGroupLayoutConfig* pLayouts = pConfig->getLayoutConfig();
///     pLayouts->saveLayoutToTemplate(QStringLiteral("morning"));
class INDEXUSER_EXPORT CPanelGroupLayoutConfig {
public:
    /// All of it as a value.
    const LayoutRecord& record() const { return m_record; }

    /// Reads the layout sections of a user's file. Replaced: the quote windows and both template
    /// lists. Added to: the default and trade windows. Merged by key: both panel-group maps.
    void loadSetting(QDomElement& root);
    /// Appends the six layout sections to \a root, empty ones too.
    void saveSetting(QDomElement& root, QDomDocument& doc);

    void addQuotePanelSetting(const CLayoutWindow& window);
    void addTradePanelSetting(const CLayoutWindow& window);
    /// Overwrites the first quote window with the same m_nPanelGroupId; appends if there is none.
    void updateQuotePanelSet(const CLayoutWindow& window);
    /// Removes all quote windows but those of panel group 6000.
    void clearQuoteWindowLayout();
    /// Removes all trade windows, without exception.
    void clearTradeWindowLayout();
    CPanelGroupLayoutSetting getQuoteGroupSetting();
    CPanelGroupLayoutSetting getTradeGroupSetting();
    void saveTradeGroupSetting(const CPanelGroupLayoutSetting& setting);
    /// The default layout becomes the quote layout.
    void loadLayoutFromDefault();

    // Formula and value panel groups by key. Adding under an empty key does nothing; a miss or an
    // empty key returns false and leaves \a setting alone.
    void addFormulaPanelSetting(const CPanelGroupLayoutSetting& setting);
    void addValuePanelSetting(const CPanelGroupLayoutSetting& setting);
    bool getFormulaPanelGroupSetting(QString key, CPanelGroupLayoutSetting& setting) const;
    bool getValuePanelSetting(QString key, CPanelGroupLayoutSetting& setting) const;
    void removeValuePanelSetting(QString key);

    // Templates: restore into the current layout, save from it (a name already there moves to the
    // end of the list), rename, delete, list.
    void loadLayoutFromTemplate(QString name);
    void loadTradeLayoutFromTemplate(QString name);
    void saveLayoutToTemplate(QString name);
    void saveTradeLayoutToTemplate(QString name);
    void renameTemplate(QString oldName, QString newName);
    void renameTradeTemplate(QString oldName, QString newName);
    void deleteTemplate(QString name);
    void deleteTradeTemplate(QString name);
    QList<QString> getQuoteLayoutTemplate();
    QList<QString> getTradeLayoutTemplate();

    /// Imports the templates found below \a container, \a container itself excluded, save those
    /// whose name is taken. \a ignored has no effect.
    void loadSingleLayoutTemplates(QString ignored, QDomElement& container);
    void loadSingleTradeLayoutTemplates(QString ignored, QDomElement& container);
    /// Exports the template as a child of \a parent.
    void saveSingleLayoutTemplates(QString name, QDomElement& parent, QDomDocument& doc);
    void saveSingleTradeLayoutTemplates(QString name, QDomElement& parent, QDomDocument& doc);

protected:
    void loadDefaultLayout(QDomElement& parent, CPanelGroupLayoutSetting& target, QString tagName);
    void saveDefaultLayout(QDomElement& parent, QDomDocument& doc,
                           CPanelGroupLayoutSetting& source);
    void loadLayoutSetting(QDomElement& root);
    void saveLayoutSetting(QDomElement& indexLayout, QDomElement& positionLayout,
                           QDomDocument& doc);
    /// \a formula chooses the formula panel groups, its absence the value panel groups.
    void loadPanelGroupLayoutSetting(QDomElement& root, bool formula);
    void savePanelGroupLayoutSetting(QDomElement& parent, QDomDocument& doc, bool formula);
    void loadLayoutTemplates(QDomElement& root);
    void loadTradeLayoutTemplates(QDomElement& root);
    void saveLayoutTemplates(QDomElement& section, QDomDocument& doc);
    void saveTradeLayoutTemplates(QDomElement& section, QDomDocument& doc);

private:
    struct TemplateKind;
    struct PanelGroupKind;

    static const TemplateKind& quoteKind();
    static const TemplateKind& tradeKind();
    static const PanelGroupKind& panelGroupKind(bool formula);

    void add(const PanelGroupKind& kind, const CPanelGroupLayoutSetting& setting);
    bool get(const PanelGroupKind& kind, const QString& key,
             CPanelGroupLayoutSetting& setting) const;
    void restore(const TemplateKind& kind, const QString& name);
    void save(const TemplateKind& kind, const QString& name);
    void rename(const TemplateKind& kind, const QString& oldName, const QString& newName);
    void remove(const TemplateKind& kind, const QString& name);
    QList<QString> names(const TemplateKind& kind) const;
    void load(const TemplateKind& kind, const QDomElement& root);
    void saveAll(const TemplateKind& kind, QDomElement& section, QDomDocument& doc) const;
    void importFrom(const TemplateKind& kind, const QDomElement& container);
    void exportTo(const TemplateKind& kind, const QString& name, QDomElement& parent,
                  QDomDocument& doc) const;

    LayoutRecord m_record;
};

} // namespace KW
