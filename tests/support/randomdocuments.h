#pragma once

#include <QDomDocument>
#include <QString>

#include <functional>

/// Documents and texts of all that XML has, and of what breaks it. The same choices give the same
/// ones: a seeded generator's in the tests, an input's bytes in the fuzzers.
namespace randomdocuments {

/// A number from 0 on, below the bound.
using Choose = std::function<int(int bound)>;

/// A tree as somebody may build it: with and without a declaration, with characters that no file
/// can hold, namespaces, document types, seldom \a deep levels and up to 20 more.
QDomDocument tree(const Choose& choose, int deep = 500);

/// A text that is mostly well-formed, written in all manners of quotes, blanks and references.
QString text(const Choose& choose);

/// \a text after a few changes, most of which break it.
QString changed(QString text, const Choose& choose);

} // namespace randomdocuments
