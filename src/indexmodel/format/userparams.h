#pragma once

#include "format/elementrule.h"

#include <QDomElement>

namespace KW {

constexpr char c_szExpand[] = "m_bFormulaFunctionTreeExpand";

/// The section, with what is read of it.
ElementRule userParamsRule();

/// The one user parameter of the section UserParams: whether the function tree is expanded.
/// An absent section or attribute gives \a current.
bool readFunctionTreeExpand(const QDomElement& root, bool current);

/// Sets it in the section; the other makes the section, too.
void setFunctionTreeExpand(QDomElement& section, bool expand);
void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand);

} // namespace KW
