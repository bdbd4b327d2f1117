#pragma once

#include <QString>

/// The number of a list as a word of the command line; throws CFailure for any other word.
int listNumber(const QString& word);
