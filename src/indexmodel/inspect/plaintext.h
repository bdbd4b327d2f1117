#pragma once

#include <QString>

namespace inspect {

/// Whether \a text holds a control character, which no name or option that somebody types has.
bool hasControlCharacter(const QString& text);

} // namespace inspect
