#include "format/elementtree.h"

#include "format/xmlelements.h"

#include <algorithm>

namespace KW {

namespace {

using Attributes = QVector<QPair<QString, QString>>;

QString nameOf(const QDomNode& node)
{
    return node.isProcessingInstruction() ? '?' + node.nodeName()
        : node.isEntityReference()        ? '&' + node.nodeName()
                                          : node.nodeName();
}

Attributes sortedAttributes(const QDomElement& element)
{
    Attributes attributes;
    const QStringList names = attributeNames(element);
    attributes.reserve(names.size());
    for (const QString& name : names) {
        attributes.append({ name, element.attribute(name) });
    }
    std::sort(attributes.begin(), attributes.end());
    return attributes;
}

Attributes::const_iterator find(const Attributes& attributes, const QString& name)
{
    const auto it
        = std::lower_bound(attributes.begin(), attributes.end(), name,
                           [](const auto& each, const QString& key) { return each.first < key; });
    return it != attributes.end() && it->first == name ? it : attributes.end();
}

QDomNode newNode(QDomDocument& doc, const ElementTree& tree)
{
    if (tree.strName == QLatin1String("#text")) {
        return doc.createTextNode(tree.strValue);
    }
    if (tree.strName == QLatin1String("#comment")) {
        return doc.createComment(tree.strValue);
    }
    if (tree.strName == QLatin1String("#cdata-section")) {
        return doc.createCDATASection(tree.strValue);
    }
    if (tree.strName.startsWith(QLatin1Char('?'))) {
        return doc.createProcessingInstruction(tree.strName.mid(1), tree.strValue);
    }
    if (tree.strName.startsWith(QLatin1Char('&'))) {
        return doc.createEntityReference(tree.strName.mid(1));
    }
    return doc.createElement(tree.strName);
}

} // namespace

bool ElementTree::isElement() const
{
    return !isNull() && !QStringLiteral("#?&").contains(strName[0]);
}

QString ElementTree::attribute(const QString& name, const QString& defaultValue) const
{
    const auto it = find(attributes, name);
    return it == attributes.end() ? defaultValue : it->second;
}

bool ElementTree::hasAttribute(const QString& name) const
{
    return find(attributes, name) != attributes.end();
}

QVector<ElementTree> ElementTree::elements() const
{
    QVector<ElementTree> found;
    std::copy_if(children.begin(), children.end(), std::back_inserter(found),
                 [](const ElementTree& child) { return child.isElement(); });
    return found;
}

bool operator==(const ElementTree& left, const ElementTree& right)
{
    return left.strName == right.strName && left.strValue == right.strValue
        && left.attributes == right.attributes && left.children == right.children;
}

ElementTree elementTree(const QDomNode& node)
{
    ElementTree tree { nameOf(node), node.nodeValue(), sortedAttributes(node.toElement()), {} };
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        tree.children.append(elementTree(child));
    }
    return tree;
}

void appendTree(QDomNode& parent, QDomDocument& doc, const ElementTree& tree)
{
    QDomNode node = newNode(doc, tree);
    for (const auto& [strName, strValue] : tree.attributes) {
        node.toElement().setAttribute(strName, strValue);
    }
    for (const ElementTree& child : tree.children) {
        appendTree(node, doc, child);
    }
    parent.appendChild(node);
}

int elementCount(const ElementTree& tree)
{
    int nCount = 0;
    for (const ElementTree& child : tree.children) {
        nCount += child.isElement() ? 1 + elementCount(child) : 0;
    }
    return nCount;
}

// Qt finds no element by the name "*".
int elementCount(const QDomNode& tree)
{
    int nCount = 0;
    for (QDomElement child = tree.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        nCount += 1 + elementCount(child);
    }
    return nCount;
}

} // namespace KW
