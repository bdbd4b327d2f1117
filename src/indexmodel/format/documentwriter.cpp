#include "format/documentwriter_p.h"

#include "format/utf8text_p.h"

namespace KW {

namespace {

constexpr int c_nIndent = 4;
// To an attribute by its index Qt goes from the first one on, each time.
constexpr int c_nFewAttributes = 64;

// A node and its kind, which costs a call.
struct TypedNode {
    explicit TypedNode(const QDomNode& dom)
        : node(dom)
        , type(dom.nodeType())
    {
    }

    bool isText() const { return type == QDomNode::TextNode || type == QDomNode::CDATASectionNode; }

    QDomNode node;
    QDomNode::NodeType type;
};

// Qt writes what the declared encoding has no place for as references.
bool isUtf8Declared(const QDomNode& first)
{
    QString strData = first.isProcessingInstruction() ? first.nodeValue().toLower() : QString();
    strData.remove(QLatin1String("encoding=\"utf-8\"")).remove(QLatin1String("encoding='utf-8'"));
    return !strData.contains(QLatin1String("encoding"));
}

class CDocumentWriter {
public:
    explicit CDocumentWriter(int maxDepth)
        : m_nMaxDepth(maxDepth)
    {
    }

    std::optional<std::string> write(const QDomDocument& doc)
    {
        m_bKnown = doc.doctype().name().isEmpty() && isUtf8Declared(doc.firstChild());
        writeChildren(TypedNode(doc.firstChild()), 0);
        return isPlain() ? std::make_optional(m_text.take()) : std::nullopt;
    }

private:
    bool isPlain() const { return m_bKnown && m_text.isReadable(); }

    template <typename... Parts> void put(const Parts&... parts) { (m_text.append(parts), ...); }

    // True when the last one is a text. Beside a text neither blanks nor a line end are added.
    bool writeChildren(TypedNode child, int depth)
    {
        bool bAfterText = false;
        while (isPlain() && !child.node.isNull()) {
            const TypedNode next(child.node.nextSibling());
            if (child.isText()) {
                writeText(child, depth);
            } else if (child.type == QDomNode::ProcessingInstructionNode) {
                put("<?", child.node.nodeName(), " ", child.node.nodeValue(), "?>\n");
            } else {
                m_text.appendBlanks(bAfterText ? 0 : c_nIndent * depth);
                writeBlock(child, depth);
                put(next.isText() ? "" : "\n");
            }
            bAfterText = child.isText();
            child = next;
        }
        return bAfterText;
    }

    // Outside of all elements a text is written in another way.
    void writeText(const TypedNode& text, int depth)
    {
        m_bKnown = m_bKnown && depth > 0;
        if (text.type == QDomNode::TextNode) {
            m_text.append(text.node.nodeValue(), CUtf8Text::Escapes::Text);
        } else {
            put("<![CDATA[", text.node.nodeValue(), "]]>");
        }
    }

    void writeBlock(const TypedNode& block, int depth)
    {
        if (block.type == QDomNode::ElementNode && depth < m_nMaxDepth) {
            writeElement(block.node, depth);
        } else if (block.type == QDomNode::CommentNode) {
            const QString strComment = block.node.nodeValue();
            put("<!--", strComment, strComment.endsWith(QLatin1Char('-')) ? " -->" : "-->");
        } else {
            m_bKnown = false;
        }
    }

    void writeElement(const QDomNode& element, int depth)
    {
        const QString strName = nameOf(element);
        put("<", strName);
        writeAttributes(element.attributes());
        const TypedNode first(element.firstChild());
        if (first.node.isNull()) {
            put("/>");
            return;
        }
        put(first.isText() ? ">" : ">\n");
        if (!writeChildren(first, depth + 1)) {
            m_text.appendBlanks(c_nIndent * depth);
        }
        put("</", strName, ">");
    }

    void writeAttributes(const QDomNamedNodeMap& attributes)
    {
        const int nCount = attributes.size();
        m_bKnown = m_bKnown && nCount <= c_nFewAttributes;
        for (int i = 0; m_bKnown && i < nCount; ++i) {
            const QDomNode attribute = attributes.item(i);
            put(" ", nameOf(attribute), "=\"");
            m_text.append(attribute.nodeValue(), CUtf8Text::Escapes::Attribute);
            put("\"");
        }
    }

    // Only what was made with a namespace, be it none, has a local name.
    QString nameOf(const QDomNode& node)
    {
        m_bKnown = m_bKnown && node.localName().isNull();
        return node.nodeName();
    }

    const int m_nMaxDepth;
    bool m_bKnown = true;
    CUtf8Text m_text;
};

} // namespace

std::optional<std::string> writtenDocument(const QDomDocument& doc, int maxDepth)
{
    return CDocumentWriter(maxDepth).write(doc);
}

} // namespace KW
