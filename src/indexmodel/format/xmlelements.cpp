#include "format/xmlelements.h"

namespace KW {

int intAttribute(const QDomElement& element, const QString& name)
{
    return element.attribute(name).toInt();
}

QVector<QDomElement> descendants(const QDomElement& parent, const QString& name)
{
    const QDomNodeList nodes = parent.elementsByTagName(name);
    QVector<QDomElement> found(nodes.size());
    for (int i = 0; i < found.size(); ++i) {
        found[i] = nodes.at(i).toElement();
    }
    return found;
}

} // namespace KW
