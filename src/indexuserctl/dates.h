#pragma once

#include <QString>

/// A word where a date goes: "today", "yesterday" and "latest", the newest dated copy in
/// \a configDir, become a date like "2024-01-31"; any other word is what it was. Throws CFailure
/// for the latest where there is none.
///
///     datedWord("yesterday", configDir) // "2024-01-30"
QString datedWord(const QString& word, const QString& configDir);

/// The words that stand for a date.
QStringList dateWords();
