#include "inspect/treefields.h"

namespace inspect {

namespace {

QString nodeName(const QDomNode& node)
{
    return node.isElement() ? node.nodeName() : QStringLiteral("#%1").arg(node.nodeType());
}

void collect(const QDomNode& node, const QString& path, TreeFields& fields)
{
    fields.insert(path, node.nodeValue());
    const QDomNamedNodeMap attributes = node.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        const QDomNode attribute = attributes.item(i);
        fields.insert(path + QLatin1Char('@') + attribute.nodeName(), attribute.nodeValue());
    }
    int nChild = 0;
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        collect(child,
                QStringLiteral("%1/%2[%3]").arg(path, nodeName(child), QString::number(++nChild)),
                fields);
    }
}

QString shown(const TreeFields& fields, const QString& path)
{
    return fields.contains(path) ? QLatin1Char('"') + fields.value(path) + QLatin1Char('"')
                                 : QStringLiteral("(absent)");
}

} // namespace

TreeFields fieldsOf(const QDomElement& tree)
{
    TreeFields fields;
    if (!tree.isNull()) {
        collect(tree, tree.tagName(), fields);
    }
    return fields;
}

QStringList differences(const TreeFields& left, const TreeFields& right)
{
    QStringList found;
    TreeFields all = left;
    for (auto it = right.begin(); it != right.end(); ++it) {
        all.insert(it.key(), it.value());
    }
    for (auto it = all.begin(); it != all.end(); ++it) {
        const QString strLeft = shown(left, it.key());
        const QString strRight = shown(right, it.key());
        if (strLeft != strRight) {
            found.append(QStringLiteral("%1: %2 -> %3").arg(it.key(), strLeft, strRight));
        }
    }
    return found;
}

} // namespace inspect
