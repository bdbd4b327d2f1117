#pragma once

#include <QString>

namespace KW {

/// Whether \a word stands at \a position of \a text.
inline bool standsAt(const QString& text, int position, QLatin1String word)
{
    return text.midRef(position, word.size()) == word;
}

/// Behind the first \a end from \a from on; the end of \a text where there is none.
inline int positionAfter(const QString& text, QLatin1String end, int from)
{
    const int nFound = text.indexOf(end, from);
    return nFound < 0 ? text.size() : nFound + end.size();
}

} // namespace KW
