#pragma once

#include "format/optionsettings.h"

#include <QString>

namespace inspect {

/// What speaks against \a value as what \a row means, put so that the value goes before it: "is not
/// 0 or 1"; empty for nothing. Whether it is of the option's kind is not asked.
QString meaningError(const KW::OptionRow& row, const QString& value);

/// The rule that such a value breaks: "negative", "flag", "time-of-day", "date", "number-list" or
/// "address"; empty where any value makes sense.
QString meaningRule(KW::OptionMeaning meaning);

} // namespace inspect
