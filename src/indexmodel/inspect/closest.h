#pragma once

#include <QString>
#include <QStringList>

namespace inspect {

/// ", did you mean 'x'?" for the word of \a known that \a word most likely misspells; empty when
/// none is near.
QString didYouMean(const QString& word, const QStringList& known);

} // namespace inspect
