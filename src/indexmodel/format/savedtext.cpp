#include "format/savedtext_p.h"

#include "format/layouttemplates.h"
#include "format/panelgroups.h"
#include "format/readabletext.h"
#include "format/sections.h"
#include "format/userdocument.h"
#include "platform/mvcommon.h"

#include <QSet>

#include <algorithm>

namespace KW {

namespace {

// Readers look for these at any depth.
const QSet<QString>& lookedFor()
{
    static const QSet<QString> s_names = [] {
        QSet<QString> names { c_szFormulaGroups,
                              c_szValueGroups,
                              c_szPanelGroup,
                              c_szStockLists,
                              quoteTemplateFormat().strTemplateTag,
                              tradeTemplateFormat().strTemplateTag };
        for (const Section& section : sections()) {
            if (section.read != nullptr) {
                names += { section.strName, section.strWindowTag };
            }
        }
        // Not every section has windows, and a section's content goes without a name here.
        names.remove(QString());
        return names;
    }();
    return s_names;
}

bool isKept(const QString& text)
{
    return readableText(text) == text;
}

bool isKept(const std::string& text)
{
    const QString strText = MV::sToQs(text);
    return isKept(strText) && strText.toStdString() == text;
}

bool isKept(int)
{
    return true;
}

// White space alone is how a file is indented; behind an instruction the writer breaks the line,
// and what follows is read with that.
bool isKept(const ElementTree& tree)
{
    const bool bIndent
        = tree.strName == QLatin1String("#text") && tree.strValue.trimmed().isEmpty();
    const bool bInstruction = tree.strName.startsWith(QLatin1Char('?'));
    return !bIndent && !bInstruction && !lookedFor().contains(tree.strName) && isKept(tree.strValue)
        && std::all_of(tree.attributes.begin(), tree.attributes.end(),
                       [](const auto& each) { return isKept(each.second); })
        && std::all_of(tree.children.begin(), tree.children.end(),
                       [](const ElementTree& child) { return isKept(child); });
}

bool isKept(const QVector<CLayoutWindow>& windows)
{
    return std::all_of(windows.begin(), windows.end(), [](const CLayoutWindow& window) {
        return isKept(window.m_strNavTree) && isKept(panelTree(window));
    });
}

bool isKept(const PanelGroupMap& groups)
{
    return std::all_of(groups.begin(), groups.end(), [](const CPanelGroupLayoutSetting& each) {
        return isKept(each.m_strKey) && isKept(each.m_windows);
    });
}

bool isKept(const QVector<CLayoutTemplate>& templates)
{
    return std::all_of(templates.begin(), templates.end(), [](const CLayoutTemplate& each) {
        return isKept(each.m_strName) && isKept(each.m_windows);
    });
}

bool isKept(const LayoutRecord& layouts)
{
    return isKept(layouts.m_defaultLayoutSetting.m_windows)
        && isKept(layouts.m_quoteGroupSetting.m_windows)
        && isKept(layouts.m_tradeGroupSetting.m_windows) && isKept(layouts.m_formulaPanelSettings)
        && isKept(layouts.m_valuePanelSettings) && isKept(layouts.m_quoteTemplates)
        && isKept(layouts.m_tradeTemplates);
}

bool isKept(const InstrumentList& list)
{
    return std::all_of(list.begin(), list.end(), [](const auto& pDetail) {
        return isKept(pDetail->market) && isKept(pDetail->code) && isKept(pDetail->name);
    });
}

bool isKept(const paramSettingForClient& options)
{
    return std::all_of(optionTable().begin(), optionTable().end(), [&](const OptionRow& row) {
        return std::visit([&](auto pField) { return isKept(options.*pField); }, row.field);
    });
}

} // namespace

bool isReadBackAsItIs(const UserRecords& records)
{
    // The name of a section is its own.
    const auto isKeptBelow = [](const ElementTree& section) {
        ElementTree content = section;
        content.strName.clear();
        return isKept(content);
    };
    return isKept(records.options)
        && std::all_of(records.stocks.begin(), records.stocks.end(),
                       [](const InstrumentList& list) { return isKept(list); })
        && isKept(records.layouts)
        && std::all_of(records.sections.begin(), records.sections.end(), isKeptBelow);
}

} // namespace KW
