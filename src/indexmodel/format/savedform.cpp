#include "format/userrecords.h"

#include "format/layouttemplates.h"
#include "format/panelgroups.h"
#include "format/readabletext.h"
#include "format/sections.h"
#include "platform/limits.h"
#include "platform/mvcommon.h"

#include <QSet>

#include <algorithm>

namespace KW {

namespace {

using Trees = QVector<ElementTree>;

// --- texts ---

std::string savedText(const std::string& text)
{
    return readableText(MV::sToQs(text)).toStdString();
}

// Most texts are ASCII, and a file has many.
bool isSaved(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c > '\0' && c < '\x7f'; })
        || savedText(text) == text;
}

bool isSaved(const rxservice::CInstrumentDetail& detail)
{
    return std::all_of(stockFields().begin(), stockFields().end(),
                       [&](const StockField& field) { return isSaved(detail.*field.pField); });
}

InstrumentList savedTexts(InstrumentList list)
{
    for (int i = 0; i < list.size(); ++i) {
        if (!isSaved(*qAsConst(list)[i])) {
            const auto pSaved = std::make_shared<rxservice::CInstrumentDetail>(*qAsConst(list)[i]);
            for (const StockField& field : stockFields()) {
                (*pSaved).*field.pField = savedText((*pSaved).*field.pField);
            }
            list[i] = pSaved;
        }
    }
    return list;
}

paramSettingForClient savedTexts(paramSettingForClient options)
{
    for (const OptionRow& row : optionTable()) {
        if (const auto ppText = std::get_if<QString paramSettingForClient::*>(&row.field)) {
            options.*(*ppText) = readableText(options.*(*ppText));
        }
    }
    return options;
}

// --- trees ---

Trees savedTrees(const Trees& trees, int depth);

ElementTree savedTree(ElementTree tree, int depth)
{
    tree.strValue = readableText(tree.strValue);
    for (auto& [strName, strValue] : tree.attributes) {
        strValue = readableText(strValue);
    }
    tree.children = savedTrees(tree.children, depth + 1);
    return tree;
}

void appendText(Trees& trees, const QString& text)
{
    const QString strReadable = readableText(text);
    if (!strReadable.trimmed().isEmpty()) {
        trees.append({ QStringLiteral("#text"), strReadable, {}, {} });
    }
}

// What stands side by side at \a depth. Texts that meet are one. White space alone is how a file is
// indented; behind an instruction the line is broken, and what follows is read with that.
Trees savedTrees(const Trees& trees, int depth)
{
    Trees saved;
    QString strText;
    for (const ElementTree& tree : trees) {
        const bool bCut = tree.isElement() && depth > c_nMaxDepth;
        if (tree.strName == QLatin1String("#text")) {
            strText += tree.strValue;
        } else if (!bCut) {
            appendText(saved, strText);
            strText = tree.strName.startsWith(QLatin1Char('?')) ? QStringLiteral("\n") : QString();
            saved.append(savedTree(tree, depth));
        }
    }
    appendText(saved, strText);
    return saved;
}

// --- trees that hold what readers look for at any depth ---

const QSet<QString>& lookedFor()
{
    static const QSet<QString> s_names = [] {
        QSet<QString> names;
        const auto add = [&names](const ElementRule& rule, const auto& addBelow) -> void {
            names.insert(rule.strTag);
            for (const ElementRule& child : rule.children) {
                addBelow(child, addBelow);
            }
        };
        for (const Section& section : sections()) {
            if (section.read != nullptr) {
                add(section.rule, add);
            }
        }
        return names;
    }();
    return s_names;
}

bool isLookedInto(const ElementTree& tree)
{
    return lookedFor().contains(tree.strName)
        || std::any_of(tree.children.begin(), tree.children.end(), isLookedInto);
}

const ElementTree* findElement(const ElementTree& tree, const QString& tag)
{
    const ElementTree* pFound = tree.strName == tag ? &tree : nullptr;
    for (auto it = tree.children.begin(); pFound == nullptr && it != tree.children.end(); ++it) {
        pFound = findElement(*it, tag);
    }
    return pFound;
}

// A file of nothing but \a tree.
QDomDocument fileOf(const ElementTree& tree)
{
    QDomDocument doc;
    appendTree(doc, doc, { c_szRoot, {}, {}, { tree } });
    return doc;
}

QDomDocument fileOf(const QString& tag, const Trees& trees)
{
    return fileOf({ tag, {}, {}, trees });
}

class CSavedForm {
public:
    explicit CSavedForm(const UserRecords& records)
    {
        m_saved.options = savedTexts(savedOptions(records.options));
        m_saved.bFunctionTreeExpand = records.bFunctionTreeExpand;
        const CustomStockMap stocks = savedStocks(records.stocks);
        for (auto it = stocks.begin(); it != stocks.end(); ++it) {
            m_saved.stocks.insert(it.key(), savedTexts(*it));
        }
        saveLayouts(records.layouts);
        saveSections(records.sections);
    }

    UserRecords records()
    {
        for (const Section& section : sections()) {
            if (section.read != nullptr && !m_before.isEmpty()) {
                readElsewhere(section);
            }
        }
        return m_saved;
    }

private:
    using Windows = QVector<CLayoutWindow>;

    // A tree into which readers look, and the section that it stands in.
    struct Looked {
        QString strSection;
        ElementTree tree;
    };

    void saveLayouts(const LayoutRecord& layouts)
    {
        LayoutRecord& saved = m_saved.layouts;
        saved.m_defaultLayoutSetting.m_windows
            = savedLayout(c_szDefaultLayout, layouts.m_defaultLayoutSetting);
        saved.m_quoteGroupSetting.m_windows
            = savedLayout(c_szIndexLayout, layouts.m_quoteGroupSetting);
        if (saved.m_quoteGroupSetting.m_windows.isEmpty()) {
            // No windows are the older form of one.
            saved.m_quoteGroupSetting.m_windows = readQuoteWindows(QDomElement());
        }
        saveGroups(layouts);
        saved.m_quoteTemplates = savedTemplates(quoteTemplateFormat(), layouts.m_quoteTemplates);
        saved.m_tradeGroupSetting.m_windows
            = savedLayout(c_szTradePanelGroup, layouts.m_tradeGroupSetting);
        saved.m_tradeTemplates = savedTemplates(tradeTemplateFormat(), layouts.m_tradeTemplates);
    }

    Windows savedLayout(const QString& section, const CPanelGroupLayoutSetting& setting)
    {
        return savedWindows(section, layoutWindowFormat(), setting.m_windows, 3);
    }

    // At \a depth; of each window what is read again, with those that its panels hold.
    Windows savedWindows(const QString& section, const WindowFormat& format, const Windows& windows,
                         int depth)
    {
        Windows saved;
        for (const CLayoutWindow& window : windows) {
            const Trees written = panelsOf(window);
            const Trees read = savedTrees(written, depth + 1);
            const int nFirst = saved.size();
            if (std::any_of(read.begin(), read.end(), isLookedInto) || read != written) {
                const QDomDocument doc = fileOf(format.strTag, read);
                readWindows(doc.documentElement(), format, saved);
                note(section, read);
            } else {
                saved.append(window);
            }
            takeFrame(window, format, saved[nFirst]);
        }
        return saved;
    }

    static Trees panelsOf(const CLayoutWindow& window)
    {
        QDomDocument doc;
        QDomElement element = doc.createElement(QStringLiteral("window"));
        if (window.m_pItemLayout) {
            window.m_pItemLayout->toXml(element, doc);
        }
        return elementTree(element).children;
    }

    static void takeFrame(const CLayoutWindow& window, const WindowFormat& format,
                          CLayoutWindow& saved)
    {
        const auto pItemLayout = saved.m_pItemLayout;
        saved = window;
        saved.m_pItemLayout = pItemLayout;
        saved.m_strNavTree
            = format.navTree == NavTree::Kept ? readableText(window.m_strNavTree) : QString();
    }

    void note(const QString& section, const Trees& trees)
    {
        for (const ElementTree& tree : trees) {
            if (isLookedInto(tree)) {
                m_before.append({ section, tree });
            }
        }
    }

    // Those that stand in \a section and were noted from \a first on.
    Trees noted(int first) const
    {
        Trees trees;
        for (int i = first; i < m_before.size(); ++i) {
            trees.append(m_before[i].tree);
        }
        return trees;
    }

    // Groups in panels are read where they stand: of the values, those in formula panels before
    // their own.
    void saveGroups(const LayoutRecord& layouts)
    {
        PanelGroupMap& formulas = m_saved.layouts.m_formulaPanelSettings;
        PanelGroupMap& values = m_saved.layouts.m_valuePanelSettings;
        const int nFormulas = m_before.size();
        formulas = savedGroups(c_szFormulaGroups, layouts.m_formulaPanelSettings, {});
        const int nValues = m_before.size();
        values = savedGroups(c_szValueGroups, layouts.m_valuePanelSettings,
                             groupsIn(nFormulas, c_szValueGroups, {}));
        formulas = groupsIn(nFormulas, c_szFormulaGroups, formulas);
        values = groupsIn(nValues, c_szValueGroups, values);
    }

    PanelGroupMap groupsIn(int first, const QString& tag, PanelGroupMap groups) const
    {
        const QDomDocument doc = fileOf(c_szIndexPositionLayout, noted(first));
        readPanelGroups(doc.documentElement(), tag, groups);
        return groups;
    }

    PanelGroupMap savedGroups(const QString& tag, const PanelGroupMap& groups, PanelGroupMap saved)
    {
        for (const CPanelGroupLayoutSetting& group : groups) {
            const int nFirst = m_before.size();
            const QString strKey = readableText(group.m_strKey);
            const Windows windows
                = savedWindows(c_szIndexPositionLayout, layoutWindowFormat(), group.m_windows, 5);
            if (!windows.isEmpty()) {
                saved.insert(strKey, { strKey, windows });
            }
            const QDomDocument doc = fileOf(tag, noted(nFirst));
            readPanelGroups(doc.documentElement(), tag, saved);
        }
        return saved;
    }

    QVector<CLayoutTemplate> savedTemplates(const TemplateFormat& format,
                                            const QVector<CLayoutTemplate>& templates)
    {
        QVector<CLayoutTemplate> saved;
        for (const CLayoutTemplate& each : templates) {
            const int nFirst = m_before.size();
            const Windows windows
                = savedWindows(format.strSectionTag, format.window, each.m_windows, 4);
            saved.append({ readableText(each.m_strName), windows });
            const QDomDocument doc = fileOf(format.strSectionTag, noted(nFirst));
            saved += readTemplates(doc.documentElement(), format);
        }
        return saved;
    }

    // Managers read the first section of their name.
    void saveSections(const Trees& trees)
    {
        for (const Section& section : sections()) {
            const auto it = std::find_if(trees.begin(), trees.end(), [&](const auto& each) {
                return each.strName == section.strName;
            });
            if (section.owner == SectionOwner::Managers && it != trees.end()) {
                m_saved.sections.append(savedTree(*it, 2));
                note(section.strName, m_saved.sections.last().children);
            }
        }
    }

    // The reader of a section takes the first element of its name, also in a section before it.
    void readElsewhere(const Section& section)
    {
        const bool bAnywhere = section.place == SectionPlace::Anywhere;
        const QString strTag = (bAnywhere ? section.rule : section.rule.children.first()).strTag;
        for (const Looked& each : qAsConst(m_before)) {
            const ElementTree* const pFound = findElement(each.tree, strTag);
            if (pFound != nullptr && findSection(each.strSection) < &section) {
                section.read(fileOf(*pFound).documentElement(), m_saved);
                return;
            }
        }
    }

    UserRecords m_saved;
    QVector<Looked> m_before; // in the order of the file
};

} // namespace

UserRecords savedForm(const UserRecords& records)
{
    return CSavedForm(records).records();
}

} // namespace KW
