#include "indexuser/xmlelements_p.h"

namespace KW {

namespace {

QDomNode nextBelow(const QDomNode& top, QDomNode node)
{
    if (node.hasChildNodes()) {
        return node.firstChild();
    }
    while (node != top && node.nextSibling().isNull()) {
        node = node.parentNode();
    }
    return node == top ? QDomNode() : node.nextSibling();
}

} // namespace

int intAttribute(const QDomElement& element, const QString& name)
{
    return element.attribute(name).toInt();
}

QVector<QDomElement> descendants(const QDomElement& parent, const QString& name)
{
    QVector<QDomElement> found;
    for (QDomNode node = nextBelow(parent, parent); !node.isNull();
         node = nextBelow(parent, node)) {
        if (node.isElement() && node.nodeName() == name) {
            found.append(node.toElement());
        }
    }
    return found;
}

} // namespace KW
