#include "inspect/check.h"

#include "inspect/encodingdefects_p.h"
#include "inspect/fileformat_p.h"
#include "inspect/filterline.h"
#include "inspect/optionvalues.h"
#include "inspect/schema.h"
#include "inspect/screens.h"

#include <format/elementtree.h>
#include <format/layoutwindows.h>
#include <format/sections.h>
#include <format/xmlelements.h>
#include <platform/mvcommon.h>

#include <QMap>
#include <QSet>

#include <algorithm>

namespace inspect {

namespace {

QString quoted(const QDomElement& element, const QString& attribute)
{
    return QStringLiteral("%1=\"%2\"").arg(attribute, element.attribute(attribute));
}

QString pathOf(const QDomElement& element)
{
    QStringList tags;
    for (QDomElement each = element; !each.isNull(); each = each.parentNode().toElement()) {
        tags.prepend(each.tagName());
    }
    return tags.join(QLatin1Char('/'));
}

bool isWord(const QString& value)
{
    static const QStringList s_words { "true", "false", "yes", "no", "on", "off" };
    return s_words.contains(value.toLower());
}

class CChecker {
public:
    CChecker(const QString& text, const QDomDocument& document)
        : m_strText(text)
        , m_positions(text)
        , m_document(document)
        , m_root(document.documentElement())
    {
    }

    void run(CheckedFile& checked);

private:
    struct Place {
        QDomElement element;
        int nIndex;
    };

    void add(const Place& at, const char* pszRule, Effect effect, const QString& text,
             const QString& attribute = {});
    void walkAll(const QDomElement& parent);
    void walk(const QDomElement& element, const ElementRule* pRule);
    void walkDocument();
    void walkRoot();
    void walkChildren(const Place& at, const ElementRule& rule);
    void walkSection(const QDomElement& section);
    TextPosition positionOf(const QDomNode& node);
    void checkContent(const Place& at, const QDomNode& node, const char* pszWhere);
    void checkMissing();
    void checkAttributes(const Place& at, const ElementRule& rule);
    void checkValue(const Place& at, const AttributeRule& rule);
    void checkNeeded(const Place& at, const ElementRule& rule);
    void checkSpecial(const Place& at);
    void checkWindow(const Place& at);
    void checkGroup(const Place& at);
    void checkTemplate(const Place& at);
    void checkStockList(const Place& at);
    void checkOptions(const Place& at);
    void checkFilters(const Place& at);
    void checkUnique(const Place& at, const QString& attribute, const char* pszRule, Effect effect,
                     const QString& text);
    void checkPlace(const Place& at);
    void checkScreens();
    void checkEncoding();
    void checkSchema(CheckedFile& checked);

    QString m_strText;
    CTextPositions m_positions;
    QDomDocument m_document;
    QDomElement m_root;
    int m_nElements = 0; // come by so far, as the two that follow
    int m_nComments = 0;
    int m_nInstructions = 0;
    QVector<Finding> m_findings;
    QVector<Place> m_windows;
    QMap<QString, int> m_seen; // entries of lists by list and name
    QSet<QString> m_misplaced; // sections that are read though they do not stand below the root
};

void CChecker::add(const Place& at, const char* pszRule, Effect effect, const QString& text,
                   const QString& attribute)
{
    const TextPosition position = attribute.isEmpty()
        ? m_positions.ofElement(at.nIndex)
        : m_positions.ofAttribute(at.nIndex, attribute);
    m_findings.append({ position, pszRule, effect, pathOf(at.element), text });
}

void CChecker::run(CheckedFile& checked)
{
    checkEncoding();
    walkDocument();
    checkMissing();
    checkScreens();
    checkSchema(checked);
    std::stable_sort(m_findings.begin(), m_findings.end(), [](const auto& left, const auto& right) {
        return std::pair(left.position.nLine, left.position.nColumn)
            < std::pair(right.position.nLine, right.position.nColumn);
    });
    checked.findings = m_findings;
}

void CChecker::checkEncoding()
{
    const auto defects = encodingDefects(m_strText);
    for (const EncodingDefect& defect : defects) {
        m_findings.append({ m_positions.ofOffset(defect.nOffset), defect.strRule, Effect::Changed,
                            m_root.tagName(), defect.strText });
    }
}

void CChecker::walkDocument()
{
    if (m_positions.ofDocumentType().nLine > 0) {
        m_findings.append({ m_positions.ofDocumentType(), "document-type", Effect::Dropped,
                            m_document.doctype().name(), "a document type is not saved" });
    }
    for (QDomNode node = m_document.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isElement()) {
            walkRoot();
        } else {
            checkContent({ m_root, 0 }, node, "outside the root");
        }
    }
}

void CChecker::walkRoot()
{
    const Place at { m_root, m_nElements++ };
    checkAttributes(at, ElementRule());
    for (QDomNode node = m_root.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isElement()) {
            walkSection(node.toElement());
        } else {
            checkContent(at, node, "between the sections");
        }
    }
}

void CChecker::checkMissing()
{
    for (const KW::Section& section : KW::sections()) {
        const QString& name = section.strName;
        const bool bThere = !m_root.firstChildElement(name).isNull() || m_misplaced.contains(name);
        if (!bThere && section.presence == KW::SectionPresence::Always) {
            m_findings.append({ m_positions.ofElement(0), "missing-section", Effect::Changed,
                                m_root.tagName() + '/' + name,
                                name + " is missing: the next save writes it without content" });
        }
    }
}

void CChecker::walkSection(const QDomElement& section)
{
    const Place at { section, m_nElements };
    if (KW::findSection(section.tagName()) == nullptr) {
        add(at, "section", Effect::Dropped, section.tagName() + " is a section that nobody reads");
        if (section.tagName() == QLatin1String("SectorFilter")) {
            checkFilters(at);
        }
    } else if (m_root.firstChildElement(section.tagName()) != section) {
        add(at, "second-section", Effect::Dropped, "only the first such section is read");
    } else {
        walk(section, ruleOf(section.tagName()));
        return;
    }
    walk(section, nullptr);
}

// Without a rule the content is somebody else's, or lost with its parent.
void CChecker::walk(const QDomElement& element, const ElementRule* pRule)
{
    const Place at { element, m_nElements++ };
    checkPlace(at);
    if (pRule == nullptr) {
        if (element.tagName() == windowTagOf(pathOf(element).section('/', 1, 1))) {
            add(at, "inner-window", Effect::Changed, "is read as one more window of its layout");
        }
        walkAll(element);
        return;
    }
    checkAttributes(at, *pRule);
    checkNeeded(at, *pRule);
    checkSpecial(at);
    walkChildren(at, *pRule);
}

void CChecker::walkAll(const QDomElement& parent)
{
    for (QDomNode node = parent.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isElement()) {
            walk(node.toElement(), nullptr);
        } else {
            positionOf(node);
        }
    }
}

void CChecker::walkChildren(const Place& at, const ElementRule& rule)
{
    // The child of a window is its panel tree, which is somebody else's.
    const bool bWindow = isWindowTag(at.element.tagName()) || isSingleWindow(at.element);
    const bool bOption = at.element.tagName() == QLatin1String("Option");
    for (QDomNode node = at.element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        const QDomElement child = node.toElement();
        if (child.isNull()) {
            checkContent(at, node, "in a section of the service");
        } else if (bOption) {
            walk(child, &settingsRule());
        } else if (rule.children.contains(child.tagName())) {
            walk(child, ruleOf(child.tagName()));
        } else {
            if (!bWindow) {
                add({ child, m_nElements }, "element", Effect::Dropped,
                    child.tagName() + " is not read here");
            }
            walk(child, nullptr);
        }
    }
}

// Comments and instructions are counted here, so each has to come by once.
TextPosition CChecker::positionOf(const QDomNode& node)
{
    return node.isComment()              ? m_positions.ofComment(m_nComments++)
        : node.isProcessingInstruction() ? m_positions.ofInstruction(m_nInstructions++)
                                         : TextPosition();
}

void CChecker::checkContent(const Place& at, const QDomNode& node, const char* pszWhere)
{
    const TextPosition position = positionOf(node);
    const QString strPath = pathOf(at.element);
    if (node.isComment()) {
        m_findings.append({ position, "comment", Effect::Dropped, strPath,
                            QStringLiteral("a comment ") + pszWhere });
    } else if (node.isProcessingInstruction() && node.nodeName() != QLatin1String("xml")) {
        m_findings.append({ position, "instruction", Effect::Dropped, strPath,
                            QStringLiteral("an instruction ") + pszWhere });
    } else if (node.isText() && !node.nodeValue().trimmed().isEmpty()) {
        add(at, "text", Effect::Dropped, "text that is not read here");
    }
}

void CChecker::checkAttributes(const Place& at, const ElementRule& rule)
{
    const QStringList names = KW::attributeNames(at.element);
    for (const QString& strName : names) {
        const AttributeRule* const pRule = rule.attribute(strName);
        if (pRule == nullptr) {
            add(at, "attribute", Effect::Dropped, strName + " is not read here", strName);
        } else {
            checkValue(at, *pRule);
        }
    }
}

void CChecker::checkValue(const Place& at, const AttributeRule& rule)
{
    const QString strValue = at.element.attribute(rule.strName);
    const QString strText = quoted(at.element, rule.strName);
    bool bOk = false;
    const int nValue = strValue.toInt(&bOk);
    if (rule.kind == ValueKind::Text) {
        return;
    }
    if (!bOk && rule.kind == ValueKind::Switch && isWord(strValue)) {
        add(at, "word-boolean", Effect::Changed, strText + " is a word and reads as 0",
            rule.strName);
    } else if (!bOk) {
        add(at, "number", Effect::Changed, strText + " is no number and reads as 0", rule.strName);
    } else if (rule.kind == ValueKind::Switch && nValue != 0 && nValue != 1) {
        add(at, "switch", Effect::Changed, strText + " reads as 1", rule.strName);
    }
}

void CChecker::checkNeeded(const Place& at, const ElementRule& rule)
{
    QStringList missing;
    for (const AttributeRule& each : rule.attributes) {
        if (each.presence == Presence::Needed && !at.element.hasAttribute(each.strName)) {
            missing.append(each.strName);
        }
    }
    if (!missing.isEmpty()) {
        add(at, "missing", Effect::Changed,
            missing.join(QStringLiteral(", ")) + ": missing, which reads as 0 or an empty text");
    }
}

void CChecker::checkSpecial(const Place& at)
{
    using Check = void (CChecker::*)(const Place&);
    static const QMap<QString, Check> s_checks {
        { "LayoutWindow", &CChecker::checkWindow },
        { "LayoutWindowTemplate", &CChecker::checkWindow },
        { "tradeWindowTemplate", &CChecker::checkWindow },
        { "itemLayout", &CChecker::checkGroup },
        { "LayoutTemplate", &CChecker::checkTemplate },
        { "tradeLayoutTemplate", &CChecker::checkTemplate },
        { "Custom", &CChecker::checkStockList },
    };
    const auto it = s_checks.find(at.element.tagName());
    if (it != s_checks.end()) {
        (this->**it)(at);
    } else if (at.element.parentNode().nodeName() == QLatin1String("Option")) {
        checkOptions(at);
    } else if (at.element.attribute(QStringLiteral("version_id"), "11").toInt() != 11) {
        add(at, "version", Effect::Changed, "the version is saved as 11", "version_id");
    } else if (isSingleWindow(at.element)) {
        add(at, "single-window", Effect::Changed, "becomes one maximized main window on screen 1");
    }
}

void CChecker::checkWindow(const Place& at)
{
    m_windows.append(at);
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
    checkUnique(at, "key", "double-key", Effect::Merged, "the last panel group of this key wins");
    if (at.element.elementsByTagName("LayoutWindow").isEmpty()) {
        add(at, "no-windows", Effect::Dropped, "a panel group without windows");
    }
}

void CChecker::checkTemplate(const Place& at)
{
    checkUnique(at, "name", "double-name", Effect::Kept,
                "a second template of this name: only the first can be restored");
}

void CChecker::checkStockList(const Place& at)
{
    checkUnique(at, "type", "double-type", Effect::Merged, "the last list of this type wins");
    if (at.element.attribute("type").toInt() < 0) {
        add(at, "negative-type", Effect::Dropped, "lists of negative types are not read", "type");
    }
}

void CChecker::checkUnique(const Place& at, const QString& attribute, const char* pszRule,
                           Effect effect, const QString& text)
{
    const QString strValue = at.element.attribute(attribute);
    // Texts that are no numbers all mean list 0.
    const QString strEntry
        = attribute == QLatin1String("type") ? QString::number(strValue.toInt()) : strValue;
    const QString strList = at.element.parentNode().nodeName() + '/';
    if (++m_seen[strList + strEntry] == 2) {
        add(at, pszRule, effect, quoted(at.element, attribute) + ": " + text, attribute);
    }
}

void CChecker::checkOptions(const Place& at)
{
    if (at.element.tagName() != QLatin1String("Settings")) {
        add(at, "settings-name", Effect::Changed, "is saved as Settings");
    }
    if (!at.element.previousSiblingElement().isNull()) {
        add(at, "second-settings", Effect::Merged, "its options override those before");
    }
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.saved == KW::OptionSaved::No && at.element.hasAttribute(row.strAttribute)) {
            add(at, "read-only-option", Effect::Dropped,
                row.strAttribute + " is read, but never saved", row.strAttribute);
        }
    }
    const QString strFirst = at.element.attribute("graphDisplay");
    if (at.element.hasAttribute("m_graphDisplay") && !strFirst.isNull()
        && at.element.attribute("m_graphDisplay") != strFirst) {
        add(at, "graph-display", Effect::Merged, "m_graphDisplay wins over graphDisplay",
            "graphDisplay");
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

// Readers take the first element of their name, wherever it stands.
void CChecker::checkPlace(const Place& at)
{
    const QString strName = at.element.tagName();
    const KW::Section* const pSection = KW::findSection(strName);
    if (pSection != nullptr && pSection->place == KW::SectionPlace::Anywhere
        && at.element.parentNode() != m_root && MV::getSubElement(m_root, strName) == at.element) {
        m_misplaced.insert(strName);
        add(at, "section-place", Effect::Changed, "is read as the section of that name");
    }
}

void CChecker::checkScreens()
{
    QVector<KW::CLayoutWindow> windows;
    for (const Place& at : qAsConst(m_windows)) {
        windows.append(KW::readWindowFrame(at.element, KW::NavTree::LeftOut));
    }
    const QVector<Screen> screens = screensOf(windows);
    for (int i = 0; i < windows.size(); ++i) {
        if (isOffScreen(windows[i], screens)) {
            const QRectF rect = areaOf(windows[i]);
            add(m_windows[i], "off-screen", Effect::Kept,
                QStringLiteral("the window at %1,%2, %3x%4, lies off every screen")
                    .arg(rect.x())
                    .arg(rect.y())
                    .arg(rect.width())
                    .arg(rect.height()));
        }
    }
}

// What stands in a line of which nothing else is known.
void CChecker::checkSchema(CheckedFile& checked)
{
    // Of these the schema knows nothing.
    static const QSet<QString> s_beside { "comment", "instruction", "document-type",
                                          "declared-encoding", "missing-section" };
    QSet<int> known;
    for (const Finding& finding : qAsConst(m_findings)) {
        if (!s_beside.contains(finding.strRule)) {
            known.insert(finding.position.nLine);
        }
    }
    const SchemaAnswer answer = askSchema(m_strText.toUtf8());
    for (const SchemaError& error : answer.errors) {
        if (!known.contains(error.nLine) && !known.contains(0)) {
            m_findings.append(
                { { error.nLine, 1 }, "schema", Effect::Changed, m_root.tagName(), error.strText });
        }
    }
    if (!answer.strFailure.isEmpty()) {
        checked.strFailure = "not checked against the schema: " + answer.strFailure;
    }
}

} // namespace

QString effectName(Effect effect)
{
    static const QMap<Effect, QString> s_names { { Effect::Dropped, "dropped" },
                                                 { Effect::Changed, "changed" },
                                                 { Effect::Merged, "merged" },
                                                 { Effect::Kept, "kept" } };
    return s_names.value(effect);
}

CheckedFile check(const QString& path)
{
    CheckedFile checked;
    checked.file = readUserFile(path);
    if (checked.file.state == FileState::Whole) {
        CChecker(checked.file.strText, checked.file.document).run(checked);
    }
    return checked;
}

} // namespace inspect
