#pragma once

#include <QString>

namespace KW {

/// \a value with three decimals, in the form that all figures of the file and of exports have.
QString decimalText(double value);

} // namespace KW
