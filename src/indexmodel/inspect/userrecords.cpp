#include "inspect/userrecords.h"

#include "inspect/optionvalues.h"
#include "inspect/userfile.h"

#include <format/customstocks.h>
#include <format/optionsettings.h>
#include <format/userdocument.h>
#include <format/userparams.h>
#include <format/xmlelements.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

#include <QMap>
#include <QSet>
#include <QStringList>

namespace inspect {

namespace {

const QSet<QString>& ownSections()
{
    static const QSet<QString> s_names { "DefaultLayout",       "IndexLayout",
                                         "IndexPositionLayout", "LayoutTemplates",
                                         "tradePanelGroup",     "tradeLayoutTemplates",
                                         "ConfigVersion",       "CustomIndex",
                                         "CustomSector",        "Option",
                                         "CustomStock",         "UserParams" };
    return s_names;
}

QDomDocument treeOf(KW::CPanelGroupLayoutConfig& layouts)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(QStringLiteral("layouts"));
    layouts.saveSetting(root, doc);
    doc.appendChild(root);
    return doc;
}

QVector<QDomElement> sectionsOf(const QDomDocument& file)
{
    QVector<QDomElement> sections;
    for (QDomElement each = file.documentElement().firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        if (!isOwnSection(each.tagName())) {
            sections.append(each);
        }
    }
    return sections;
}

bool isEmpty(const QDomElement& element)
{
    return element.attributes().isEmpty() && !element.hasChildNodes();
}

Layout layoutOf(const QString& section, const QString& name, const QDomElement& parent)
{
    Layout layout { section, name, {} };
    for (QDomElement window = parent.firstChildElement(); !window.isNull();
         window = window.nextSiblingElement()) {
        layout.windows.append(windowOf(window));
    }
    return layout;
}

QVector<Layout> namedLayouts(const QDomElement& section, const QString& nameAttribute)
{
    QVector<Layout> layouts;
    for (QDomElement each = section.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        layouts.append(layoutOf(section.tagName(), each.attribute(nameAttribute), each));
    }
    return layouts;
}

void appendOptions(QDomElement& root, QDomDocument& doc, const KW::paramSettingForClient& options)
{
    QDomElement settings = doc.createElement(QStringLiteral("Settings"));
    for (const KW::OptionRow& row : KW::optionTable()) {
        settings.setAttribute(row.strAttribute, optionText(options, row));
    }
    root.appendChild(doc.createElement(QStringLiteral("Option"))).appendChild(settings);
}

} // namespace

UserRecords recordsOf(const QDomDocument& file)
{
    UserRecords records;
    QDomElement root = file.documentElement();
    KW::readOptions(root, records.options);
    KW::readCustomStocks(root, records.stocks);
    records.bFunctionTreeExpand = KW::readFunctionTreeExpand(root, false);
    KW::CPanelGroupLayoutConfig layouts;
    layouts.loadSetting(root);
    records.layouts = treeOf(layouts);
    records.sections = sectionsOf(file);
    records.file = file;
    return records;
}

UserRecords recordsOf(KW::UserConfigInterface& service, const QDomDocument& file)
{
    UserRecords records;
    records.options = service.getParamSettingForClient();
    service.getCustomStockMap(records.stocks);
    records.bFunctionTreeExpand = service.getFormulaFunctionTreeExpand();
    records.layouts = treeOf(*service.getLayoutConfig());
    records.sections = sectionsOf(file);
    records.file = file;
    return records;
}

UserRecords savedForm(const UserRecords& records)
{
    UserRecords saved = records;
    const KW::paramSettingForClient defaults;
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.saved == KW::OptionSaved::No) {
            std::visit([&](auto pField) { saved.options.*pField = defaults.*pField; }, row.field);
        }
    }
    saved.sections.clear();
    QSet<QString> seen;
    for (const QDomElement& section : records.sections) {
        // Managers read the first section of their name.
        if (isKnownSection(section.tagName()) && !seen.contains(section.tagName())) {
            saved.sections.append(section);
            seen.insert(section.tagName());
        }
    }
    // Through text, which leaves out what would make a file unreadable.
    QDomDocument doc = documentOf(saved);
    return recordsOf(KW::parseUserDocument(KW::userDocumentText(doc).strText).document);
}

QDomDocument documentOf(const UserRecords& records)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(rootTag());
    doc.appendChild(root);
    for (QDomElement layout = records.layouts.documentElement().firstChildElement();
         !layout.isNull(); layout = layout.nextSiblingElement()) {
        root.appendChild(doc.importNode(layout, true));
    }
    appendOptions(root, doc, records.options);
    QDomElement stocks = doc.createElement(QStringLiteral("CustomStock"));
    KW::writeCustomStocks(stocks, doc, records.stocks);
    root.appendChild(stocks);
    KW::writeFunctionTreeExpand(root, doc, records.bFunctionTreeExpand);
    for (const QDomElement& section : records.sections) {
        // An empty section says no more than a missing one: a save writes all of them.
        if (!isEmpty(section)) {
            root.appendChild(doc.importNode(section, true));
        }
    }
    return doc;
}

const QStringList& savedSections()
{
    static const QStringList s_names {
        "DefaultLayout",     "IndexLayout",     "IndexPositionLayout",
        "LayoutTemplates",   "tradePanelGroup", "tradeLayoutTemplates",
        "ConfigVersion",     "CustomIndex",     "CustomSector",
        "FormulaCatalog",    "Option",          "GroupIndex",
        "ExtendDataCatalog", "CustomStock",     "externalDataCatalog",
        "drawGraph",         "strategyTrade",   "strategyAlgoTrade",
        "WindDataCatalog",   "interfaceTrade",  "specialstrategydata",
        "UserParams"
    };
    return s_names;
}

bool isKnownSection(const QString& name)
{
    return savedSections().contains(name);
}

bool isOwnSection(const QString& name)
{
    return ownSections().contains(name);
}

Window windowOf(const QDomElement& element)
{
    const auto number = [&](const char* pszName) { return KW::intAttribute(element, pszName); };
    Window window;
    window.nScreenId = number("screen_id");
    window.bMain = number("is_main") != 0;
    window.bMaximized = number("maximized") != 0;
    window.rect = QRectF(number("left"), number("top"), number("width"), number("height"));
    window.strNavTree = element.attribute(QStringLiteral("navtree"));
    window.nPanelGroupId = number("panelgroup_id");
    window.panels = element.firstChildElement();
    return window;
}

QVector<Layout> layoutsOf(const UserRecords& records)
{
    const QDomElement root = records.layouts.documentElement();
    QVector<Layout> layouts;
    for (const char* pszSection : { "DefaultLayout", "IndexLayout", "tradePanelGroup" }) {
        layouts.append(layoutOf(pszSection, QString(), root.firstChildElement(pszSection)));
    }
    const QDomElement groups = root.firstChildElement(QStringLiteral("IndexPositionLayout"));
    for (QDomElement group = groups.firstChildElement(); !group.isNull();
         group = group.nextSiblingElement()) {
        layouts += namedLayouts(group, QStringLiteral("key"));
    }
    return layouts;
}

QString layoutSection(LayoutSide side)
{
    return side == LayoutSide::Quote ? QStringLiteral("IndexLayout")
                                     : QStringLiteral("tradePanelGroup");
}

QString templateSection(LayoutSide side)
{
    return side == LayoutSide::Quote ? QStringLiteral("LayoutTemplates")
                                     : QStringLiteral("tradeLayoutTemplates");
}

QVector<Layout> templatesOf(const UserRecords& records, LayoutSide side)
{
    return namedLayouts(records.layouts.documentElement().firstChildElement(templateSection(side)),
                        QStringLiteral("name"));
}

QStringList panelNames(const QDomElement& panels)
{
    QStringList names;
    if (panels.hasAttribute(QStringLiteral("name"))) {
        names.append(panels.attribute(QStringLiteral("name")));
    }
    for (QDomElement child = panels.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        names += panelNames(child);
    }
    return names;
}

} // namespace inspect
