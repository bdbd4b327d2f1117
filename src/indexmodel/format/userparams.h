#pragma once

#include <QDomElement>

namespace KW {

constexpr char c_szExpand[] = "m_bFormulaFunctionTreeExpand";

/// The one user parameter of the section UserParams: whether the function tree is expanded.
/// An absent section or attribute gives \a current.
bool readFunctionTreeExpand(const QDomElement& root, bool current);

/// Sets it in the section; the other makes the section, too.
void setFunctionTreeExpand(QDomElement& section, bool expand);
void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand);

} // namespace KW
