#pragma once

#include <QString>
#include <QStringList>

namespace inspect {

/// ", did you mean 'x'?" for the word of \a known that \a word most likely misspells: a letter in
/// three replaced, added, left out or swapped with its neighbour. Empty when none is near, and for
/// words of one letter.
QString didYouMean(const QString& word, const QStringList& known);

} // namespace inspect
