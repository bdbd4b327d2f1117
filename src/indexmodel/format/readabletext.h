#pragma once

#include <QString>

namespace KW {

/// \a text without the characters that prevent reading a file again: NUL, U+FFFE, U+FFFF and lone
/// surrogates.
QString readableText(const QString& text);

} // namespace KW
