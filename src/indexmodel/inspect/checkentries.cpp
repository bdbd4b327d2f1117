#include "inspect/checker_p.h"

#include "inspect/filterline.h"
#include "inspect/optionvalues.h"
#include "inspect/screens.h"
#include "inspect/windowchanges.h"

#include <format/elementtree.h>
#include <format/layouttemplates.h>
#include <format/panelgroups.h>
#include <format/xmlelements.h>

namespace inspect {

namespace {

QString quoted(const QDomElement& element, const QString& attribute)
{
    return QStringLiteral("%1=\"%2\"").arg(attribute, element.attribute(attribute));
}

bool isWord(const QString& value)
{
    static const QStringList s_words { "true", "false", "yes", "no", "on", "off" };
    return s_words.contains(value.toLower());
}

} // namespace

void CChecker::checkAttributes(const Place& at, const KW::ElementRule& rule)
{
    const QStringList names = KW::attributeNames(at.element);
    for (const QString& strName : names) {
        const KW::AttributeRule* const pRule = rule.attribute(strName);
        if (pRule == nullptr) {
            add(at, "attribute", Effect::Dropped, strName + " is not read here", strName);
        } else {
            checkValue(at, *pRule);
        }
    }
}

void CChecker::checkValue(const Place& at, const KW::AttributeRule& rule)
{
    const QString strValue = at.element.attribute(rule.strName);
    const QString strText = quoted(at.element, rule.strName);
    bool bOk = false;
    const int nValue = strValue.toInt(&bOk);
    if (rule.kind == KW::ValueKind::Text) {
        return;
    }
    if (!bOk && rule.kind == KW::ValueKind::Switch && isWord(strValue)) {
        add(at, "word-boolean", Effect::Changed, strText + " is a word and reads as 0",
            rule.strName);
    } else if (!bOk) {
        add(at, "number", Effect::Changed, strText + " is no number and reads as 0", rule.strName);
    } else if (rule.kind == KW::ValueKind::Switch && nValue != 0 && nValue != 1) {
        add(at, "switch", Effect::Changed, strText + " reads as 1", rule.strName);
    }
}

void CChecker::checkNeeded(const Place& at, const KW::ElementRule& rule)
{
    // What a section lacks is told with its content.
    if (rule.kind == KW::ElementKind::Section) {
        return;
    }
    QStringList missing;
    for (const KW::AttributeRule& each : rule.attributes) {
        if (each.presence == KW::Presence::Needed && !at.element.hasAttribute(each.strName)) {
            missing.append(each.strName);
        }
    }
    if (!missing.isEmpty()) {
        add(at, "missing", Effect::Changed,
            missing.join(QStringLiteral(", ")) + ": missing, which reads as 0 or an empty text");
    }
}

void CChecker::checkContentOf(const Place& section, const KW::ElementRule& rule)
{
    const QStringList missing = missingContent(section.element, rule);
    if (!missing.isEmpty()) {
        add(section, "missing-content", Effect::Changed,
            missing.join(QStringLiteral(", ")) + ": missing, the next save writes it");
    }
}

void CChecker::checkSpecial(const Place& at, const KW::ElementRule& rule)
{
    using Check = void (CChecker::*)(const Place&);
    static const QMap<KW::ElementKind, Check> s_checks {
        { KW::ElementKind::Section, &CChecker::checkSection },
        { KW::ElementKind::Options, &CChecker::checkOptions },
        { KW::ElementKind::Window, &CChecker::checkWindow },
        { KW::ElementKind::Group, &CChecker::checkGroup },
        { KW::ElementKind::Template, &CChecker::checkTemplate },
        { KW::ElementKind::StockList, &CChecker::checkStockList },
        { KW::ElementKind::Stock, &CChecker::checkStock },
    };
    const auto it = s_checks.find(rule.kind);
    if (it != s_checks.end()) {
        (this->**it)(at);
    }
}

void CChecker::checkSection(const Place& at)
{
    const QString strVersion = QString::number(KW::c_nVersion);
    if (at.element.attribute(KW::c_szVersionId, strVersion).toInt() != KW::c_nVersion) {
        add(at, "version", Effect::Changed, "the version is saved as " + strVersion,
            KW::c_szVersionId);
    } else if (isSingleWindow(at.element)) {
        add(at, "single-window", Effect::Changed, "becomes one maximized main window on screen 1");
        checkPanels(at);
    }
}

void CChecker::checkWindow(const Place& at)
{
    m_windows.append(at);
    checkPanels(at);
}

void CChecker::checkPanels(const Place& at)
{
    const QDomNode child = at.element.firstChild();
    if (!child.isNull() && !child.nextSibling().isNull()) {
        add(at, "window-children", Effect::Dropped,
            "the window has more than one child, so its panels are not read");
    } else if (!child.isNull() && !child.isElement()) {
        add(at, "window-children", Effect::Dropped, "the child of the window is no panel tree");
    }
}

void CChecker::checkGroup(const Place& at)
{
    const QString strEntry = entryOf(at, KW::c_szGroupKey);
    if (hasWindows(at.element)) {
        // The schema counts those without windows, too.
        if (m_passedOver.contains(strEntry)) {
            m_explained.insert(m_positions.ofElement(at.nIndex).nLine);
        }
        checkUnique(at, KW::c_szGroupKey, "double-key", Effect::Merged,
                    "the last panel group of this key wins");
    } else {
        m_passedOver.insert(strEntry);
        add(at, "no-windows", Effect::Dropped, "a panel group without windows");
    }
}

void CChecker::checkTemplate(const Place& at)
{
    checkUnique(at, KW::c_szTemplateName, "double-name", Effect::Kept,
                "a second template of this name: only the first can be restored");
}

void CChecker::checkStockList(const Place& at)
{
    m_stocks.clear();
    if (KW::intAttribute(at.element, KW::c_szListType) < 0) {
        add(at, "negative-type", Effect::Dropped, "lists of negative types are not read",
            KW::c_szListType);
    } else {
        checkUnique(at, KW::c_szListType, "double-type", Effect::Merged,
                    "the last list of this type wins");
    }
}

// What a stock lacks is told with its attributes, and of a list that is dropped all goes.
void CChecker::checkStock(const Place& at)
{
    if (KW::intAttribute(at.element.parentNode().toElement(), KW::c_szListType) < 0) {
        return;
    }
    const QString strMarket = at.element.attribute("market");
    const QString strCode = at.element.attribute("code");
    if (at.element.hasAttribute("market")) {
        add(at, marketDoubt(strMarket), "market");
    }
    if (at.element.hasAttribute("code")) {
        add(at, codeDoubt(strCode), "code");
    }
    if (m_stocks.contains({ strMarket, strCode })) {
        add(at, doubleDoubt(strMarket, strCode));
    }
    m_stocks.insert({ strMarket, strCode });
}

QString CChecker::entryOf(const Place& at, const QString& attribute)
{
    const QString strValue = at.element.attribute(attribute);
    // Texts that are no numbers all mean list 0.
    const QString strEntry
        = attribute == KW::c_szListType ? QString::number(strValue.toInt()) : strValue;
    return at.element.parentNode().nodeName() + '/' + strEntry;
}

void CChecker::checkUnique(const Place& at, const QString& attribute, const QString& rule,
                           Effect effect, const QString& text)
{
    if (++m_seen[entryOf(at, attribute)] == 2) {
        add(at, rule, effect, quoted(at.element, attribute) + ": " + text, attribute);
    }
}

void CChecker::checkOptions(const Place& at)
{
    if (at.element.tagName() != KW::c_szSettings) {
        add(at, "settings-name", Effect::Changed,
            QStringLiteral("is saved as ") + KW::c_szSettings);
    }
    if (!at.element.previousSiblingElement().isNull()) {
        add(at, "second-settings", Effect::Merged, "its options override those before");
    }
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (at.element.hasAttribute(row.strAttribute)) {
            checkOptionValue(at, row);
        }
    }
    const QString strFirst = at.element.attribute("graphDisplay");
    if (at.element.hasAttribute("m_graphDisplay") && !strFirst.isNull()
        && at.element.attribute("m_graphDisplay") != strFirst) {
        add(at, "graph-display", Effect::Merged, "m_graphDisplay wins over graphDisplay",
            "graphDisplay");
    }
}

// Of a number what a load makes of it.
void CChecker::checkOptionValue(const Place& at, const KW::OptionRow& row)
{
    const QString& name = row.strAttribute;
    if (row.saved == KW::OptionSaved::No) {
        add(at, "read-only-option", Effect::Dropped, name + " is read, but never saved", name);
    } else if (kindOf(row) == KW::ValueKind::Integer) {
        add(at, optionDoubt(row, QString::number(KW::intAttribute(at.element, name))), name);
    } else if (kindOf(row) == KW::ValueKind::Text) {
        add(at, optionDoubt(row, at.element.attribute(name)), name);
    }
}

void CChecker::checkFilters(const Place& at)
{
    int nIndex = at.nIndex + 1;
    for (QDomElement child = at.element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString strError = filterLineError(child.attribute("param"));
        if (child.hasAttribute("param") && !strError.isEmpty()) {
            add({ child, nIndex }, "filter", Effect::Changed, strError, "param");
        }
        nIndex += 1 + KW::elementCount(child);
    }
}

void CChecker::checkEntry(const Place& at)
{
    if (m_pSection == nullptr) {
        return;
    }
    m_foreign.insert(at.nIndex);
    const InnerRule rule = innerRuleOf(at.element, *m_pSection);
    if (!rule.strRule.isEmpty()) {
        add(at, rule.strRule, Effect::Changed, rule.strText);
    }
}

bool CChecker::isInner(const QDomElement& element) const
{
    return !innerRuleOf(element, *m_pSection).strRule.isEmpty();
}

void CChecker::checkScreens()
{
    QVector<KW::CLayoutWindow> windows;
    for (const Place& at : qAsConst(m_windows)) {
        windows.append(KW::readWindowFrame(at.element, KW::NavTree::LeftOut));
    }
    for (int i = 0; i < windows.size(); ++i) {
        add(m_windows[i], windowDoubt(windows[i]));
    }
    for (const int nWindow : offScreen(windows, screensOf(windows))) {
        if (!windowDoubt(windows[nWindow]).isNull()) {
            continue; // its size is told
        }
        add(m_windows[nWindow], "off-screen", Effect::Kept,
            "the window " + geometryText(areaOf(windows[nWindow])) + " lies off every screen");
    }
}

} // namespace inspect
