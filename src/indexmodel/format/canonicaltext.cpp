#include "format/canonicaltext.h"

#include "format/utf8text_p.h"

#include <algorithm>

namespace KW {

namespace {

class CCanonicalWriter {
public:
    std::optional<std::string> write(const ElementTree& root)
    {
        put("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
        writeElement(root, 0);
        put("\n");
        return m_text.isReadable() ? std::make_optional(m_text.take()) : std::nullopt;
    }

private:
    template <typename... Parts> void put(const Parts&... parts) { (m_text.append(parts), ...); }

    void writeNode(const ElementTree& node, int depth)
    {
        if (node.isElement()) {
            writeElement(node, depth);
        } else if (node.strName == QLatin1String("#text")) {
            m_text.append(node.strValue, CUtf8Text::Escapes::Text);
        } else if (node.strName == QLatin1String("#cdata-section")) {
            put("<![CDATA[", node.strValue, "]]>");
        } else if (node.strName == QLatin1String("#comment")) {
            put("<!--", node.strValue, "-->");
        } else if (node.strName.startsWith(QLatin1Char('?'))) {
            put("<", node.strName, " ", node.strValue, "?>");
        } else {
            put(node.strName, ";");
        }
    }

    void writeElement(const ElementTree& element, int depth)
    {
        put("<", element.strName);
        for (const auto& [strName, strValue] : element.attributes) {
            put(" ", strName, "=\"");
            m_text.append(strValue, CUtf8Text::Escapes::Attribute);
            put("\"");
        }
        if (element.children.isEmpty()) {
            put("/>");
            return;
        }
        put(">");
        writeChildren(element.children, depth);
        put("</", element.strName, ">");
    }

    // A line each, unless there are texts, to which blanks would belong.
    void writeChildren(const QVector<ElementTree>& children, int depth)
    {
        const bool bLines = std::all_of(children.begin(), children.end(),
                                        [](const ElementTree& child) { return child.isElement(); });
        for (const ElementTree& child : children) {
            put(bLines ? "\n" : "");
            m_text.appendBlanks(bLines ? depth : 0);
            writeNode(child, depth + 1);
        }
        put(bLines ? "\n" : "");
        m_text.appendBlanks(bLines ? std::max(depth - 1, 0) : 0);
    }

    CUtf8Text m_text;
};

} // namespace

std::optional<std::string> canonicalText(const ElementTree& root)
{
    return CCanonicalWriter().write(root);
}

} // namespace KW
