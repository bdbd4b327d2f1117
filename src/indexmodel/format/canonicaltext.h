#pragma once

#include "format/elementtree.h"

#include <optional>
#include <string>

namespace KW {

/// The text of a document with \a root, in UTF-8: the same for the same tree in every process, so
/// that texts can be known by their digests. Attributes stand by name, the children of the root at
/// the beginning of their lines. Nothing for a tree with characters that no file is read again
/// with.
///
///     const std::optional<std::string> text = canonicalText(elementTree(doc.documentElement()));
std::optional<std::string> canonicalText(const ElementTree& root);

} // namespace KW
