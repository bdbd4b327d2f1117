#include "commands.h"

#include "failure.h"
#include "texttable.h"
#include "userstate.h"

#include <indexuser/optionsettings.h>
#include <indexuser/userconfigfactory.h>
#include <inspect/treefields.h>

#include <functional>

namespace {

struct ShownUser {
    QDomDocument file;
    CUserState state;
};

struct ShowPart {
    QString strName;
    std::function<void(const ShownUser&)> print;
};

void showOptions(const ShownUser& user)
{
    CTextTable table({ "option", "value", "saved" });
    const auto& rows = KW::optionTable();
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const KW::OptionRow& row = rows[static_cast<std::size_t>(i)];
        table.add({ row.strAttribute, shownOption(user.state.options, i),
                    row.saved == KW::OptionSaved::Yes ? "yes" : "no" });
    }
    table.print("Options");
}

void showStocks(const ShownUser& user)
{
    CTextTable table({ "type", "count", "stocks" });
    for (auto it = user.state.stocks.begin(); it != user.state.stocks.end(); ++it) {
        table.add({ QString::number(it.key()), QString::number(it->size()), stockText(*it) });
    }
    table.print("Custom stock lists");
}

int panelCount(const QDomElement& window)
{
    int nCount = 0;
    const inspect::TreeFields fields = inspect::fieldsOf(window, inspect::FieldNames::ByPosition);
    for (auto it = fields.begin(); it != fields.end(); ++it) {
        nCount += it.key().contains(QLatin1Char('/')) && !it.key().contains(QLatin1Char('@'));
    }
    return nCount;
}

QString yesNo(const QDomElement& element, const QString& attribute)
{
    return element.attribute(attribute) == QLatin1String("1") ? "yes" : "no";
}

void addWindows(CTextTable& table, const QString& owner, const QDomElement& parent)
{
    for (QDomElement window = parent.firstChildElement(); !window.isNull();
         window = window.nextSiblingElement()) {
        table.add({ owner, window.attribute("screen_id"), yesNo(window, "is_main"),
                    yesNo(window, "maximized"),
                    QStringLiteral("%1,%2 %3x%4")
                        .arg(window.attribute("left"), window.attribute("top"),
                             window.attribute("width"), window.attribute("height")),
                    window.attribute("panelgroup_id"), QString::number(panelCount(window)),
                    window.attribute("navtree") });
    }
}

CTextTable windowTable(const QString& owner)
{
    return CTextTable(
        { owner, "screen", "main", "maximized", "place and size", "group", "panels", "navtree" });
}

void showLayouts(const ShownUser& user)
{
    CTextTable table = windowTable("layout");
    const QDomElement root = user.state.layouts.documentElement();
    for (const char* pszLayout : { "DefaultLayout", "IndexLayout", "tradePanelGroup" }) {
        addWindows(table, pszLayout, root.firstChildElement(pszLayout));
    }
    const QDomElement groups = root.firstChildElement("IndexPositionLayout");
    for (const char* pszGroups : { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" }) {
        for (QDomElement item = groups.firstChildElement(pszGroups).firstChildElement();
             !item.isNull(); item = item.nextSiblingElement()) {
            addWindows(table, QStringLiteral("%1 %2").arg(pszGroups, item.attribute("key")), item);
        }
    }
    table.print("Layouts");
}

void showTemplates(const ShownUser& user)
{
    CTextTable table = windowTable("template");
    const QDomElement root = user.state.layouts.documentElement();
    for (const char* pszSection : { "LayoutTemplates", "tradeLayoutTemplates" }) {
        for (QDomElement each = root.firstChildElement(pszSection).firstChildElement();
             !each.isNull(); each = each.nextSiblingElement()) {
            const QString strLabel = pszSection + (' ' + each.attribute("name"));
            if (!each.hasChildNodes()) {
                table.add({ strLabel, "none" });
            }
            addWindows(table, strLabel, each);
        }
    }
    table.print("Layout templates");
}

void showSections(const ShownUser& user)
{
    CTextTable table({ "section", "fields" });
    for (const QString& name : foreignSections(user.file)) {
        const QDomElement section = user.file.documentElement().firstChildElement(name);
        table.add({ name,
                    QString::number(
                        inspect::fieldsOf(section, inspect::FieldNames::ByPosition).size()) });
    }
    table.print("Sections of other managers");
}

const QVector<ShowPart>& showParts()
{
    static const QVector<ShowPart> s_parts { { "options", showOptions },
                                             { "stocks", showStocks },
                                             { "layouts", showLayouts },
                                             { "templates", showTemplates },
                                             { "sections", showSections } };
    return s_parts;
}

} // namespace

ExitStatus show(const QString& configDir, const QStringList& parts)
{
    QStringList known;
    for (const ShowPart& part : showParts()) {
        known.append(part.strName);
    }
    for (const QString& part : parts) {
        if (!known.contains(part)) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("show: unknown part '%1'; parts are %2")
                               .arg(part, known.join(QStringLiteral(", "))));
        }
    }
    ShownUser user { readUserFile(configDir), {} };
    KW::UserConfigInterface* const pService = KW::UserConfigFactory::getIndexUserConfig();
    pService->loadSettings();
    user.state = stateOf(*pService);
    for (const ShowPart& part : showParts()) {
        if (parts.isEmpty() || parts.contains(part.strName)) {
            part.print(user);
        }
    }
    return ExitStatus::Ok;
}
