#include "inspect/plaintext.h"

#include <algorithm>

namespace inspect {

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar c) { return c.category() == QChar::Other_Control; });
}

} // namespace inspect
