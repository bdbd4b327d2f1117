#pragma once

#include <QByteArray>

namespace standalone {

/// How a file is called that is to take the place of another: this, and six letters or digits.
constexpr char c_szReplacement[] = ".new-";

/// Removes what writes that were cut short have left in one folder; see removeLeftovers().
void removeLeftoversIn(const QByteArray& directory);

} // namespace standalone
