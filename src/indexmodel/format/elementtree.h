#pragma once

#include <QDomElement>
#include <QPair>
#include <QString>
#include <QVector>

namespace KW {

/// A tree of the file as a value: an element with all that is in it. The order of attributes does
/// not count. Copies are shared; it holds no document.
///
///     const bool bSame = KW::elementTree(left) == KW::elementTree(right);
struct ElementTree {
    /// The tag; "#text", "#comment" or "#cdata-section"; "?" and the target of an instruction; "&"
    /// and the name of a reference to an entity that the file does not declare.
    QString strName;
    QString strValue; ///< the text of what is no element
    QVector<QPair<QString, QString>> attributes; ///< by name
    QVector<ElementTree> children;

    bool isNull() const { return strName.isEmpty(); }
    bool isElement() const;
    QString attribute(const QString& name, const QString& defaultValue = {}) const;
    bool hasAttribute(const QString& name) const;
    QVector<ElementTree> elements() const; ///< the children that are elements
};

bool operator==(const ElementTree& left, const ElementTree& right);
inline bool operator!=(const ElementTree& left, const ElementTree& right)
{
    return !(left == right);
}

/// \a node with all that is below it; null for a null node.
ElementTree elementTree(const QDomNode& node);

/// Appends \a tree to \a parent.
void appendTree(QDomNode& parent, QDomDocument& doc, const ElementTree& tree);

/// The elements below \a tree, at any depth; it does not count itself.
int elementCount(const ElementTree& tree);
int elementCount(const QDomNode& tree);

} // namespace KW
