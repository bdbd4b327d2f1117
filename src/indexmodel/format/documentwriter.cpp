#include "format/documentwriter_p.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace KW {

namespace {

constexpr int c_nIndent = 4;
// To an attribute by its index Qt goes from the first one on, each time.
constexpr int c_nFewAttributes = 64;

// What stands for a character below 0x80; null for the character itself.
using Escapes = std::array<const char*, 0x80>;

constexpr Escapes textEscapes()
{
    Escapes escapes {};
    escapes['<'] = "&lt;";
    escapes['&'] = "&amp;";
    escapes['>'] = "&gt;";
    escapes['\r'] = "&#xd;";
    return escapes;
}

constexpr Escapes attributeEscapes()
{
    Escapes escapes = textEscapes();
    escapes['"'] = "&quot;";
    escapes['\n'] = "&#xa;";
    escapes['\t'] = "&#x9;";
    return escapes;
}

constexpr Escapes c_noEscapes {};
constexpr Escapes c_textEscapes = textEscapes();
constexpr Escapes c_attributeEscapes = attributeEscapes();

// The bytes so far. What no file can hold makes them unreadable, for good.
class CUtf8Text {
public:
    bool isReadable() const { return m_bReadable; }

    std::string take()
    {
        flush();
        return std::move(m_strBytes);
    }

    void append(const char* pszText)
    {
        const std::size_t nSize = std::strlen(pszText);
        m_pNext = copy(room(nSize), pszText, nSize);
    }

    void appendBlanks(int count)
    {
        std::memset(room(count), ' ', count);
        m_pNext += count;
    }

    void append(const QString& text, const Escapes& escapes = c_noEscapes)
    {
        const QChar* const pEnd = text.constEnd();
        for (const QChar* p = text.constBegin(); p != pEnd;) {
            const QChar* const pStop = p + std::min<std::ptrdiff_t>(pEnd - p, c_nSlice);
            char* pOut = room(c_nLongest * c_nSlice);
            while (p < pStop) {
                p = p->unicode() < 0x80 ? appendAscii(p, text, escapes, pOut)
                                        : appendWide(p, pEnd, pOut);
            }
            m_pNext = pOut;
        }
    }

private:
    static constexpr int c_nLongest = 6; // "&quot;"
    static constexpr int c_nSlice = 256;

    static char* copy(char* pOut, const char* pText, std::size_t size)
    {
        std::memcpy(pOut, pText, size);
        return pOut + size;
    }

    char* room(std::size_t size)
    {
        if (size > static_cast<std::size_t>(m_piece.end() - m_pNext)) {
            flush();
        }
        return m_pNext;
    }

    void flush()
    {
        m_strBytes.append(m_piece.data(), m_pNext);
        m_pNext = m_piece.data();
    }

    // Of '>', only that of "]]>" is written as a reference.
    const QChar* appendAscii(const QChar* p, const QString& text, const Escapes& escapes,
                             char*& pOut)
    {
        const char* const pszEscape = escapes[p->unicode()];
        const bool bPlain = pszEscape == nullptr
            || (*p == QLatin1Char('>')
                && !(p - text.constBegin() >= 2 && p[-1] == QLatin1Char(']')
                     && p[-2] == QLatin1Char(']')));
        if (bPlain) {
            m_bReadable = m_bReadable && !p->isNull();
            *pOut++ = static_cast<char>(p->unicode());
        } else {
            pOut = copy(pOut, pszEscape, std::strlen(pszEscape));
        }
        return p + 1;
    }

    const QChar* appendWide(const QChar* p, const QChar* pEnd, char*& pOut)
    {
        const bool bPair = p->isHighSurrogate() && p + 1 != pEnd && p[1].isLowSurrogate();
        const uint n = bPair ? QChar::surrogateToUcs4(p[0], p[1]) : p->unicode();
        m_bReadable = m_bReadable && (bPair || !(p->isSurrogate() || n >= 0xfffe));
        if (n >= 0x10000) {
            *pOut++ = static_cast<char>(0xf0 | n >> 18);
            *pOut++ = tail(n >> 12);
        } else if (n >= 0x800) {
            *pOut++ = static_cast<char>(0xe0 | n >> 12);
        }
        if (n >= 0x800) {
            *pOut++ = tail(n >> 6);
        } else {
            *pOut++ = static_cast<char>(0xc0 | n >> 6);
        }
        *pOut++ = tail(n);
        return p + (bPair ? 2 : 1);
    }

    static char tail(uint n) { return static_cast<char>(0x80 | (n & 0x3f)); }

    std::string m_strBytes;
    std::array<char, 16 * 1024> m_piece; // before m_strBytes, since a string grows by copying
    char* m_pNext = m_piece.data();
    bool m_bReadable = true;
};

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

    // True when the last one is a text. Beside a text neither blanks nor a line end are added.
    bool writeChildren(TypedNode child, int depth)
    {
        bool bAfterText = false;
        while (isPlain() && !child.node.isNull()) {
            const TypedNode next(child.node.nextSibling());
            if (child.isText()) {
                writeText(child, depth);
            } else if (child.type == QDomNode::ProcessingInstructionNode) {
                writeInstruction(child.node);
            } else {
                m_text.appendBlanks(bAfterText ? 0 : c_nIndent * depth);
                writeBlock(child, depth);
                m_text.append(next.isText() ? "" : "\n");
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
            m_text.append(text.node.nodeValue(), c_textEscapes);
        } else {
            m_text.append("<![CDATA[");
            m_text.append(text.node.nodeValue());
            m_text.append("]]>");
        }
    }

    void writeInstruction(const QDomNode& instruction)
    {
        m_text.append("<?");
        m_text.append(instruction.nodeName());
        m_text.append(" ");
        m_text.append(instruction.nodeValue());
        m_text.append("?>\n");
    }

    void writeBlock(const TypedNode& block, int depth)
    {
        if (block.type == QDomNode::ElementNode && depth < m_nMaxDepth) {
            writeElement(block.node, depth);
        } else if (block.type == QDomNode::CommentNode) {
            const QString strComment = block.node.nodeValue();
            m_text.append("<!--");
            m_text.append(strComment);
            m_text.append(strComment.endsWith(QLatin1Char('-')) ? " -->" : "-->");
        } else {
            m_bKnown = false;
        }
    }

    void writeElement(const QDomNode& element, int depth)
    {
        const QString strName = nameOf(element);
        m_text.append("<");
        m_text.append(strName);
        writeAttributes(element.attributes());
        const TypedNode first(element.firstChild());
        if (first.node.isNull()) {
            m_text.append("/>");
            return;
        }
        m_text.append(first.isText() ? ">" : ">\n");
        if (!writeChildren(first, depth + 1)) {
            m_text.appendBlanks(c_nIndent * depth);
        }
        m_text.append("</");
        m_text.append(strName);
        m_text.append(">");
    }

    void writeAttributes(const QDomNamedNodeMap& attributes)
    {
        const int nCount = attributes.size();
        m_bKnown = m_bKnown && nCount <= c_nFewAttributes;
        for (int i = 0; m_bKnown && i < nCount; ++i) {
            const QDomNode attribute = attributes.item(i);
            m_text.append(" ");
            m_text.append(nameOf(attribute));
            m_text.append("=\"");
            m_text.append(attribute.nodeValue(), c_attributeEscapes);
            m_text.append("\"");
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
