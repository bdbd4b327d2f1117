#pragma once

#include <QString>

#include <optional>

namespace KW {

/// Where a text is nested too deeply, and what of it.
struct DepthExcess {
    QString strWhat; ///< such as "elements"
    int nLine; ///< from 1
    int nColumn;
};

/// The first place at which QDomDocument's parser would go below \a maxDepth levels of \a text,
/// with all of its entities; nothing when it never would, be it for an error of the text. Elements
/// and the brackets of a document type recurse there. Any thread; a hostile text costs no stack.
///
///     const bool bHarmless = !depthExcess(text, 512);
std::optional<DepthExcess> depthExcess(const QString& text, int maxDepth);

} // namespace KW
