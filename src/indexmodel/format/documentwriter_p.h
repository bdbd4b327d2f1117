#pragma once

#include <QDomDocument>

#include <optional>
#include <string>

namespace KW {

/// The UTF-8 of what \a doc.toString(4) writes, in a fifth of its time. Nothing for a document of
/// which that is not certain: deeper than \a maxDepth elements, with characters that no file is
/// read again with, with a document type, namespaces, references to entities, or another declared
/// encoding. Reads the document only. Any thread that may read \a doc.
///
///     const std::optional<std::string> written = writtenDocument(doc, c_nMaxDepth);
std::optional<std::string> writtenDocument(const QDomDocument& doc, int maxDepth);

} // namespace KW
