#pragma once

#include <QDomElement>
#include <QString>
#include <QVector>

namespace KW {

/// Base 10; 0 for a missing attribute and for text that is not a 32-bit number.
int intAttribute(const QDomElement& element, const QString& name);

/// All elements named \a name below \a parent, at any depth, in document order: what
/// elementsByTagName() finds, but as a list that stays as it is and never looks again.
QVector<QDomElement> descendants(const QDomElement& parent, const QString& name);

} // namespace KW
