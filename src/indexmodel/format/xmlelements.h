#pragma once

#include <QDomElement>
#include <QString>
#include <QStringList>
#include <QVector>

namespace KW {

/// Base 10; 0 for a missing attribute and for text that is not a 32-bit number.
int intAttribute(const QDomElement& element, const QString& name);

/// The same as element.setAttribute(name, value), without Qt's way through a locale.
void setIntAttribute(QDomElement& element, const QString& name, int value);

/// All elements named \a name below \a parent, at any depth, in document order: what
/// elementsByTagName() finds, but as a list that stays as it is and never looks again.
QVector<QDomElement> descendants(const QDomElement& parent, const QString& name);

/// The names of all attributes, in no order; in a time that grows with their number.
QStringList attributeNames(const QDomElement& element);

} // namespace KW
