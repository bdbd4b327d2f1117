#include "treecomparison.h"

#include <QDomDocument>

namespace {

// Null and empty are told apart.
QString shown(const QString& text)
{
    return text.isNull() ? QStringLiteral("(null)") : '\'' + text + '\'';
}

QString documentType(const QDomNode& node)
{
    const QDomDocumentType type = node.toDocument().doctype();
    return shown(type.name()) + shown(type.publicId()) + shown(type.systemId())
        + shown(type.internalSubset())
        + QString("%1 %2 %3")
              .arg(type.isNull())
              .arg(type.entities().size())
              .arg(type.notations().size());
}

QString ownFacts(const QDomNode& node)
{
    const QString strKind = QString("type %1 document %2 attr %3 specified %4 owner %5")
                                .arg(node.nodeType())
                                .arg(node.ownerDocument().isNull())
                                .arg(node.isAttr())
                                .arg(node.toAttr().specified())
                                .arg(node.isAttr() && node.toAttr().ownerElement().isNull());
    return strKind + " name " + shown(node.nodeName()) + " value " + shown(node.nodeValue())
        + " prefix " + shown(node.prefix()) + " local " + shown(node.localName()) + " namespace "
        + shown(node.namespaceURI()) + " doctype " + documentType(node);
}

QString attributesDifference(const QDomNode& left, const QDomNode& right)
{
    const QDomNamedNodeMap ours = left.attributes();
    const QDomNamedNodeMap theirs = right.attributes();
    if (ours.size() != theirs.size()) {
        return QString(": %1 attributes, %2").arg(ours.size()).arg(theirs.size());
    }
    QString strDifference;
    for (int i = 0; i < ours.size() && strDifference.isEmpty(); ++i) {
        strDifference = treeDifference(ours.item(i), theirs.item(i));
    }
    return strDifference;
}

QString brokenLinks(const QDomNode& parent, const QDomNode& previous, const QDomNode& child)
{
    const bool bWhole = child.parentNode() == parent && child.previousSibling() == previous
        && (!child.nextSibling().isNull() || parent.lastChild() == child);
    return bWhole ? QString() : ": broken links at " + child.nodeName();
}

QString childrenDifference(const QDomNode& left, const QDomNode& right)
{
    QString strDifference;
    QDomNode before;
    QDomNode ours = left.firstChild();
    QDomNode theirs = right.firstChild();
    while (strDifference.isEmpty() && !(ours.isNull() && theirs.isNull())) {
        strDifference = ours.isNull() || theirs.isNull() ? ": another number of children"
                                                         : brokenLinks(left, before, ours);
        strDifference += strDifference.isEmpty() ? treeDifference(ours, theirs) : QString();
        before = ours;
        ours = ours.nextSibling();
        theirs = theirs.nextSibling();
    }
    return strDifference;
}

} // namespace

QString treeDifference(const QDomNode& left, const QDomNode& right)
{
    QString strDifference;
    if (ownFacts(left) != ownFacts(right)) {
        strDifference = ": " + ownFacts(left) + " / " + ownFacts(right);
    }
    strDifference += strDifference.isEmpty() ? attributesDifference(left, right) : QString();
    strDifference += strDifference.isEmpty() ? childrenDifference(left, right) : QString();
    return strDifference.isEmpty() ? QString() : '/' + left.nodeName() + strDifference;
}
