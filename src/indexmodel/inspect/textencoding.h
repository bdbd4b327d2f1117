#pragma once

#include "inspect/textpositions.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace inspect {

/// What a text may be written in on the client's machines. GBK is the code page 936 of Windows.
enum class TextEncoding { Utf8, Gbk, Gb18030, Utf16LittleEndian, Utf16BigEndian };

/// "utf-8", "gbk", "gb18030", "utf-16le", "utf-16be".
QString encodingName(TextEncoding encoding);
QStringList encodingNames();

/// The encoding of a name as encodingName() gives it, in any case; nothing for another word.
std::optional<TextEncoding> encodingOf(const QString& name);

/// The text of \a bytes without its byte order mark; nothing when they are not valid in
/// \a encoding, which is when that text would not give the same bytes again.
///
///     if (const auto text = inspect::decoded(bytes, inspect::TextEncoding::Gbk)) { ... }
std::optional<QString> decoded(const QByteArray& bytes, TextEncoding encoding);

/// Bytes that are no UTF-8.
struct EncodingFault {
    TextPosition at; ///< of the first of them
    std::optional<TextEncoding> probable; ///< nothing where they look like a damaged UTF-8
};

/// Nothing when \a bytes are UTF-8.
std::optional<EncodingFault> encodingFault(const QByteArray& bytes);

} // namespace inspect
