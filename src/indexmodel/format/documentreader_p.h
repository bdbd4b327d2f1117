#pragma once

#include <QDomDocument>
#include <QString>

#include <optional>

namespace KW {

/// The tree that QDomDocument::setContent() makes of \a text, in half of its time. Nothing for a
/// text of which that is not certain, malformed ones among them: only Qt tells what is wrong, and
/// where. Certain are elements and attributes with names in ASCII, nested at most \a maxDepth deep,
/// text with the predefined and numeric references, comments, CDATA, a plain declaration. Equal
/// values may share their text, but none refers to \a text. Any thread. The nodes differ from Qt's
/// in one thing: their lineNumber() and columnNumber() are -1.
///
///     const std::optional<QDomDocument> document = readDocument(text, c_nMaxDepth);
std::optional<QDomDocument> readDocument(const QString& text, int maxDepth);

} // namespace KW
