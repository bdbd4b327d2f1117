#pragma once

#include <QString>

namespace inspect {

/// Whether \a text holds a control character, which no name or option that somebody types has: C0,
/// DEL and C1, separators of lines and paragraphs, and what turns the direction of writing.
bool hasControlCharacter(const QString& text);

/// Why \a text cannot be stored as it is, put so that a name goes before it; empty when it can. A
/// control character in it was not meant, and NUL, U+FFFE, U+FFFF and lone surrogates are in no
/// file that can be read again.
///
///     if (!inspect::textError("a\nb").isEmpty()) { ... } // "holds a control character"
QString textError(const QString& text);

enum class LineEnds { Shown, Kept };

/// The text with each control character as \uXXXX: what may go to a terminal. Line feeds, too,
/// unless they are kept. Of a JSON text with its line feeds this makes the same JSON.
QString harmless(const QString& text, LineEnds lineEnds = LineEnds::Shown);

/// The same for a text of XML: control characters become character references, tabs and line feeds
/// stay, and a reader finds the same values.
QString withReferences(const QString& xml);

/// Why \a name, with a date and .csv behind it, can name no file, put so that the name goes before
/// it; empty when it can.
///
///     if (!inspect::fileNameError("..").isEmpty()) { ... } // "begins with a dot"
QString fileNameError(const QString& name);

} // namespace inspect
