#include "inspect/checker_p.h"

#include "inspect/encodingdefects_p.h"
#include "inspect/schema.h"
#include "inspect/textdefects_p.h"

#include <format/sectorfiltertext.h>
#include <platform/mvcommon.h>

#include <algorithm>

namespace inspect {

namespace {

QString pathOf(const QDomElement& element)
{
    QStringList tags;
    for (QDomElement each = element; !each.isNull(); each = each.parentNode().toElement()) {
        tags.prepend(each.tagName());
    }
    return tags.join(QLatin1Char('/'));
}

} // namespace

CChecker::CChecker(const QString& text, const QDomDocument& document)
    : m_strText(text)
    , m_positions(text)
    , m_document(document)
    , m_root(document.documentElement())
{
    for (const QString& name : namesOfAnyPlace()) {
        m_read.insert(name, MV::getSubElement(m_root, name));
    }
}

void CChecker::add(const Place& at, const QString& rule, Effect effect, const QString& text,
                   const QString& attribute)
{
    const TextPosition position = attribute.isEmpty()
        ? m_positions.ofElement(at.nIndex)
        : m_positions.ofAttribute(at.nIndex, attribute);
    m_findings.append({ position, rule, effect, pathOf(at.element), text });
}

void CChecker::add(const Place& at, const Doubt& doubt, const QString& attribute)
{
    if (!doubt.isNull()) {
        add(at, doubt.strRule, Effect::Kept, doubt.strText, attribute);
    }
}

void CChecker::run(CheckedFile& checked)
{
    walkDocument();
    checkText();
    checkMissing();
    checkScreens();
    checkSchema(checked);
    std::stable_sort(m_findings.begin(), m_findings.end(), [](const auto& left, const auto& right) {
        return std::pair(left.position.nLine, left.position.nColumn)
            < std::pair(right.position.nLine, right.position.nColumn);
    });
    checked.findings = m_findings;
}

void CChecker::checkText()
{
    const auto add = [this](int offset, const QString& rule, Effect effect, const QString& text) {
        m_findings.append({ m_positions.ofOffset(offset), rule, effect, m_root.tagName(), text });
    };
    for (const EncodingDefect& defect : encodingDefects(m_strText)) {
        add(defect.nOffset, defect.strRule, Effect::Changed, defect.strText);
    }
    for (const TextDefect& defect : textDefects(m_strText, m_positions, m_foreign)) {
        add(defect.nOffset, defect.strRule, defect.effect, defect.strText);
        if (defect.nElement >= 0) {
            m_explained.insert(m_positions.ofElement(defect.nElement).nLine);
            m_explained.insert(m_positions.ofOffset(defect.nOffset).nLine);
        }
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
    checkAttributes(at, KW::ElementRule());
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
    m_pSection = nullptr;
    const KW::Section* const pFound = KW::findSection(section.tagName());
    if (pFound == nullptr) {
        add(at, "section", Effect::Dropped, section.tagName() + " is a section that nobody reads");
        if (section.tagName() == KW::c_szSectorFilter) {
            checkFilters(at);
        }
    } else if (m_root.firstChildElement(section.tagName()) != section) {
        add(at, "second-section", Effect::Dropped, "only the first such section is read");
    } else {
        m_pSection = pFound;
        checkContentOf(at, pFound->rule);
        walk(section, pFound->owner == KW::SectionOwner::Managers ? nullptr : &pFound->rule);
        return;
    }
    walk(section, nullptr);
}

// Without a rule the content is somebody else's, or lost with its parent.
void CChecker::walk(const QDomElement& element, const KW::ElementRule* pRule)
{
    const Place at { element, m_nElements++ };
    checkPlace(at);
    if (pRule == nullptr) {
        checkEntry(at);
        walkAll(element);
        return;
    }
    checkAttributes(at, *pRule);
    checkNeeded(at, *pRule);
    checkSpecial(at, *pRule);
    walkChildren(at, *pRule);
}

void CChecker::walkAll(const QDomElement& parent)
{
    for (QDomNode node = parent.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isElement()) {
            walk(node.toElement(), nullptr);
        } else {
            checkInstruction(node, positionOf(node));
        }
    }
}

// A line break is written behind it, which is read as the beginning of the text.
void CChecker::checkInstruction(const QDomNode& node, const TextPosition& position)
{
    const QDomNode next = node.nextSibling();
    if (m_pSection != nullptr && node.isProcessingInstruction() && next.isText()
        && !next.isCDATASection()) {
        m_findings.append({ position, "mixed-text", Effect::Changed,
                            pathOf(node.parentNode().toElement()),
                            "the text behind the instruction is saved with a line break" });
    }
}

void CChecker::walkChildren(const Place& at, const KW::ElementRule& rule)
{
    const bool bSingle = isSingleWindow(at.element);
    for (QDomNode node = at.element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        const QDomElement child = node.toElement();
        if (child.isNull()) {
            checkContent(at, node, "in a section of the service");
        } else if (const KW::ElementRule* const pRule = rule.child(child.tagName())) {
            walk(child, pRule);
        } else {
            if (bSingle) {
                m_explained.insert(m_positions.ofElement(m_nElements).nLine);
            } else if (rule.kind != KW::ElementKind::Window && !isInner(child)) {
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

// Readers take the first element of their name, wherever it stands.
void CChecker::checkPlace(const Place& at)
{
    const QString strName = at.element.tagName();
    const QDomElement read = m_read.value(strName);
    if (!read.isNull() && read == at.element && read.parentNode() != placeOf(strName, m_root)) {
        m_misplaced.insert(strName);
        add(at, "section-place", Effect::Changed, "is read as the section of that name");
    }
}

// What stands in a line of which nothing else is known.
void CChecker::checkSchema(CheckedFile& checked)
{
    // Of these the schema knows nothing.
    static const QSet<QString> s_beside {
        "comment",    "instruction", "document-type",       "declared-encoding", "missing-section",
        "standalone", "blank-text",  "character-reference", "mixed-text"
    };
    QSet<int> known = m_explained;
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
    return check(readUserFile(path, OtherBytes::Replaced));
}

CheckedFile check(const UserFile& file)
{
    CheckedFile checked;
    checked.file = file;
    if (checked.file.state == FileState::Whole) {
        CChecker(checked.file.strText, checked.file.document).run(checked);
    }
    return checked;
}

} // namespace inspect
