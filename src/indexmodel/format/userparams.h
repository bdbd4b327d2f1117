#pragma once

#include <QDomElement>

namespace KW {

/// The one user parameter of the section UserParams: whether the function tree is expanded.
/// An absent section or attribute gives \a current.
bool readFunctionTreeExpand(const QDomElement& root, bool current);

void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand);

} // namespace KW
