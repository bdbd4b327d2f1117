#include "indexuser/cpanelgrouplayoutconfig.h"

#include "format/layouttemplates.h"
#include "format/panelgroups.h"
#include "format/sections.h"

#include <algorithm>

namespace KW {

namespace {

constexpr int c_nLastingPanelGroup = 6000;

// Works on lists and on their const forms alike.
template <typename Templates> auto findTemplate(Templates& templates, const QString& name)
{
    return std::find_if(templates.begin(), templates.end(),
                        [&](const CLayoutTemplate& each) { return each.m_strName == name; });
}

} // namespace

// What tells quote templates from trade templates.
struct CPanelGroupLayoutConfig::TemplateKind {
    TemplateFormat format;
    QVector<CLayoutTemplate> LayoutRecord::*pTemplates;
    CPanelGroupLayoutSetting LayoutRecord::*pCurrent;
};

// What tells formula panel groups from value panel groups.
struct CPanelGroupLayoutConfig::PanelGroupKind {
    QString strTag;
    PanelGroupMap LayoutRecord::*pGroups;
};

const CPanelGroupLayoutConfig::TemplateKind& CPanelGroupLayoutConfig::quoteKind()
{
    static const TemplateKind s_kind { quoteTemplateFormat(), &LayoutRecord::m_quoteTemplates,
                                       &LayoutRecord::m_quoteGroupSetting };
    return s_kind;
}

const CPanelGroupLayoutConfig::TemplateKind& CPanelGroupLayoutConfig::tradeKind()
{
    static const TemplateKind s_kind { tradeTemplateFormat(), &LayoutRecord::m_tradeTemplates,
                                       &LayoutRecord::m_tradeGroupSetting };
    return s_kind;
}

const CPanelGroupLayoutConfig::PanelGroupKind& CPanelGroupLayoutConfig::panelGroupKind(bool formula)
{
    static const PanelGroupKind s_formula { c_szFormulaGroups,
                                            &LayoutRecord::m_formulaPanelSettings };
    static const PanelGroupKind s_value { c_szValueGroups, &LayoutRecord::m_valuePanelSettings };
    return formula ? s_formula : s_value;
}

// --- windows ---

void CPanelGroupLayoutConfig::addQuotePanelSetting(const CLayoutWindow& window)
{
    m_record.m_quoteGroupSetting.m_windows.append(window);
}

void CPanelGroupLayoutConfig::addTradePanelSetting(const CLayoutWindow& window)
{
    m_record.m_tradeGroupSetting.m_windows.append(window);
}

void CPanelGroupLayoutConfig::updateQuotePanelSet(const CLayoutWindow& window)
{
    QVector<CLayoutWindow>& windows = m_record.m_quoteGroupSetting.m_windows;
    const auto it = std::find_if(windows.begin(), windows.end(), [&](const CLayoutWindow& each) {
        return each.m_nPanelGroupId == window.m_nPanelGroupId;
    });
    if (it != windows.end()) {
        *it = window;
    } else {
        windows.append(window);
    }
}

void CPanelGroupLayoutConfig::clearQuoteWindowLayout()
{
    QVector<CLayoutWindow>& windows = m_record.m_quoteGroupSetting.m_windows;
    const auto last = std::remove_if(windows.begin(), windows.end(), [](const auto& window) {
        return window.m_nPanelGroupId != c_nLastingPanelGroup;
    });
    windows.erase(last, windows.end());
}

void CPanelGroupLayoutConfig::clearTradeWindowLayout()
{
    m_record.m_tradeGroupSetting.m_windows.clear();
}

CPanelGroupLayoutSetting CPanelGroupLayoutConfig::getQuoteGroupSetting()
{
    return m_record.m_quoteGroupSetting;
}

CPanelGroupLayoutSetting CPanelGroupLayoutConfig::getTradeGroupSetting()
{
    return m_record.m_tradeGroupSetting;
}

void CPanelGroupLayoutConfig::saveTradeGroupSetting(const CPanelGroupLayoutSetting& setting)
{
    m_record.m_tradeGroupSetting = setting;
}

void CPanelGroupLayoutConfig::loadLayoutFromDefault()
{
    m_record.m_quoteGroupSetting = m_record.m_defaultLayoutSetting;
}

// --- panel groups ---

void CPanelGroupLayoutConfig::add(const PanelGroupKind& kind,
                                  const CPanelGroupLayoutSetting& setting)
{
    if (!setting.m_strKey.isEmpty()) {
        (m_record.*kind.pGroups).insert(setting.m_strKey, setting);
    }
}

bool CPanelGroupLayoutConfig::get(const PanelGroupKind& kind, const QString& key,
                                  CPanelGroupLayoutSetting& setting) const
{
    const PanelGroupMap& groups = m_record.*kind.pGroups;
    const auto it = groups.find(key);
    if (key.isEmpty() || it == groups.end()) {
        return false;
    }
    setting = *it;
    return true;
}

void CPanelGroupLayoutConfig::addFormulaPanelSetting(const CPanelGroupLayoutSetting& setting)
{
    add(panelGroupKind(true), setting);
}

void CPanelGroupLayoutConfig::addValuePanelSetting(const CPanelGroupLayoutSetting& setting)
{
    add(panelGroupKind(false), setting);
}

bool CPanelGroupLayoutConfig::getFormulaPanelGroupSetting(QString key,
                                                          CPanelGroupLayoutSetting& setting) const
{
    return get(panelGroupKind(true), key, setting);
}

bool CPanelGroupLayoutConfig::getValuePanelSetting(QString key,
                                                   CPanelGroupLayoutSetting& setting) const
{
    return get(panelGroupKind(false), key, setting);
}

void CPanelGroupLayoutConfig::removeValuePanelSetting(QString key)
{
    m_record.m_valuePanelSettings.remove(key);
}

// --- templates ---

void CPanelGroupLayoutConfig::restore(const TemplateKind& kind, const QString& name)
{
    const QVector<CLayoutTemplate>& templates = m_record.*kind.pTemplates;
    const auto it = findTemplate(templates, name);
    if (it != templates.end()) {
        (m_record.*kind.pCurrent).m_windows = it->m_windows;
    }
}

void CPanelGroupLayoutConfig::save(const TemplateKind& kind, const QString& name)
{
    remove(kind, name);
    (m_record.*kind.pTemplates).append({ name, (m_record.*kind.pCurrent).m_windows });
}

void CPanelGroupLayoutConfig::rename(const TemplateKind& kind, const QString& oldName,
                                     const QString& newName)
{
    QVector<CLayoutTemplate>& templates = m_record.*kind.pTemplates;
    const auto it = findTemplate(templates, oldName);
    if (it != templates.end()) {
        it->m_strName = newName;
    }
}

void CPanelGroupLayoutConfig::remove(const TemplateKind& kind, const QString& name)
{
    QVector<CLayoutTemplate>& templates = m_record.*kind.pTemplates;
    const auto it = findTemplate(templates, name);
    if (it != templates.end()) {
        templates.erase(it);
    }
}

QList<QString> CPanelGroupLayoutConfig::names(const TemplateKind& kind) const
{
    QList<QString> names;
    for (const CLayoutTemplate& each : m_record.*kind.pTemplates) {
        names.append(each.m_strName);
    }
    return names;
}

void CPanelGroupLayoutConfig::loadLayoutFromTemplate(QString name)
{
    restore(quoteKind(), name);
}

void CPanelGroupLayoutConfig::loadTradeLayoutFromTemplate(QString name)
{
    restore(tradeKind(), name);
}

void CPanelGroupLayoutConfig::saveLayoutToTemplate(QString name)
{
    save(quoteKind(), name);
}

void CPanelGroupLayoutConfig::saveTradeLayoutToTemplate(QString name)
{
    save(tradeKind(), name);
}

void CPanelGroupLayoutConfig::renameTemplate(QString oldName, QString newName)
{
    rename(quoteKind(), oldName, newName);
}

void CPanelGroupLayoutConfig::renameTradeTemplate(QString oldName, QString newName)
{
    rename(tradeKind(), oldName, newName);
}

void CPanelGroupLayoutConfig::deleteTemplate(QString name)
{
    remove(quoteKind(), name);
}

void CPanelGroupLayoutConfig::deleteTradeTemplate(QString name)
{
    remove(tradeKind(), name);
}

QList<QString> CPanelGroupLayoutConfig::getQuoteLayoutTemplate()
{
    return names(quoteKind());
}

QList<QString> CPanelGroupLayoutConfig::getTradeLayoutTemplate()
{
    return names(tradeKind());
}

// --- templates in the file ---

void CPanelGroupLayoutConfig::load(const TemplateKind& kind, const QDomElement& root)
{
    const QDomElement section = MV::getSubElement(root, kind.format.strSectionTag);
    m_record.*kind.pTemplates = readTemplates(section, kind.format);
}

void CPanelGroupLayoutConfig::importFrom(const TemplateKind& kind, const QDomElement& container)
{
    QVector<CLayoutTemplate>& templates = m_record.*kind.pTemplates;
    const auto imported = readTemplates(container, kind.format);
    for (const CLayoutTemplate& each : imported) {
        if (findTemplate(templates, each.m_strName) == templates.end()) {
            templates.append(each);
        }
    }
}

void CPanelGroupLayoutConfig::exportTo(const TemplateKind& kind, const QString& name,
                                       QDomElement& parent, QDomDocument& doc) const
{
    const QVector<CLayoutTemplate>& templates = m_record.*kind.pTemplates;
    const auto it = findTemplate(templates, name);
    if (it != templates.end()) {
        writeTemplate(parent, doc, kind.format, *it);
    }
}

void CPanelGroupLayoutConfig::saveAll(const TemplateKind& kind, QDomElement& section,
                                      QDomDocument& doc) const
{
    writeTemplates(section, doc, kind.format, m_record.*kind.pTemplates);
}

void CPanelGroupLayoutConfig::loadLayoutTemplates(QDomElement& root)
{
    load(quoteKind(), root);
}

void CPanelGroupLayoutConfig::loadTradeLayoutTemplates(QDomElement& root)
{
    load(tradeKind(), root);
}

void CPanelGroupLayoutConfig::saveLayoutTemplates(QDomElement& section, QDomDocument& doc)
{
    saveAll(quoteKind(), section, doc);
}

void CPanelGroupLayoutConfig::saveTradeLayoutTemplates(QDomElement& section, QDomDocument& doc)
{
    saveAll(tradeKind(), section, doc);
}

void CPanelGroupLayoutConfig::loadSingleLayoutTemplates(QString, QDomElement& container)
{
    importFrom(quoteKind(), container);
}

void CPanelGroupLayoutConfig::loadSingleTradeLayoutTemplates(QString, QDomElement& container)
{
    importFrom(tradeKind(), container);
}

void CPanelGroupLayoutConfig::saveSingleLayoutTemplates(QString name, QDomElement& parent,
                                                        QDomDocument& doc)
{
    exportTo(quoteKind(), name, parent, doc);
}

void CPanelGroupLayoutConfig::saveSingleTradeLayoutTemplates(QString name, QDomElement& parent,
                                                             QDomDocument& doc)
{
    exportTo(tradeKind(), name, parent, doc);
}

// --- layouts in the file ---

void CPanelGroupLayoutConfig::loadSetting(QDomElement& root)
{
    loadDefaultLayout(root, m_record.m_defaultLayoutSetting, c_szDefaultLayout);
    loadLayoutTemplates(root);
    loadLayoutSetting(root);
    loadDefaultLayout(root, m_record.m_tradeGroupSetting, c_szTradePanelGroup);
    loadTradeLayoutTemplates(root);
}

void CPanelGroupLayoutConfig::saveSetting(QDomElement& root, QDomDocument& doc)
{
    QDomElement indexLayout = doc.createElement(c_szIndexLayout);
    QDomElement defaultLayout = doc.createElement(c_szDefaultLayout);
    QDomElement positionLayout = doc.createElement(c_szIndexPositionLayout);
    QDomElement templates = doc.createElement(quoteKind().format.strSectionTag);
    QDomElement tradeLayout = doc.createElement(c_szTradePanelGroup);
    QDomElement tradeTemplates = doc.createElement(tradeKind().format.strSectionTag);

    saveDefaultLayout(defaultLayout, doc, m_record.m_defaultLayoutSetting);
    saveLayoutTemplates(templates, doc);
    saveLayoutSetting(indexLayout, positionLayout, doc);
    saveDefaultLayout(tradeLayout, doc, m_record.m_tradeGroupSetting);
    saveTradeLayoutTemplates(tradeTemplates, doc);

    for (const QDomElement& section :
         { defaultLayout, indexLayout, positionLayout, templates, tradeLayout, tradeTemplates }) {
        root.appendChild(section);
    }
}

void CPanelGroupLayoutConfig::loadDefaultLayout(QDomElement& parent,
                                                CPanelGroupLayoutSetting& target, QString tagName)
{
    readWindows(MV::getSubElement(parent, tagName), layoutWindowFormat(), target.m_windows);
}

void CPanelGroupLayoutConfig::saveDefaultLayout(QDomElement& parent, QDomDocument& doc,
                                                CPanelGroupLayoutSetting& source)
{
    writeWindows(parent, doc, layoutWindowFormat(), source.m_windows);
}

void CPanelGroupLayoutConfig::loadLayoutSetting(QDomElement& root)
{
    const QDomElement indexLayout = MV::getSubElement(root, c_szIndexLayout);
    m_record.m_quoteGroupSetting.m_windows
        = indexLayout.isNull() ? QVector<CLayoutWindow>() : readQuoteWindows(indexLayout);
    loadPanelGroupLayoutSetting(root, true);
    loadPanelGroupLayoutSetting(root, false);
}

void CPanelGroupLayoutConfig::saveLayoutSetting(QDomElement& indexLayout,
                                                QDomElement& positionLayout, QDomDocument& doc)
{
    saveDefaultLayout(indexLayout, doc, m_record.m_quoteGroupSetting);
    savePanelGroupLayoutSetting(positionLayout, doc, true);
    savePanelGroupLayoutSetting(positionLayout, doc, false);
}

void CPanelGroupLayoutConfig::loadPanelGroupLayoutSetting(QDomElement& root, bool formula)
{
    const PanelGroupKind& kind = panelGroupKind(formula);
    readPanelGroups(MV::getSubElement(root, c_szIndexPositionLayout), kind.strTag,
                    m_record.*kind.pGroups);
}

void CPanelGroupLayoutConfig::savePanelGroupLayoutSetting(QDomElement& parent, QDomDocument& doc,
                                                          bool formula)
{
    const PanelGroupKind& kind = panelGroupKind(formula);
    writePanelGroups(parent, doc, kind.strTag, m_record.*kind.pGroups);
}

} // namespace KW
