#pragma once

#include "inspect/check.h"

#include <QSet>
#include <QVector>

namespace inspect {

struct TextDefect {
    int nOffset;
    QString strRule; ///< "standalone", "character-reference" or "blank-text"
    Effect effect;
    QString strText;
    int nElement = -1; ///< the index of the element in which it stands; -1 for none
};

/// What of the text of a file its tree does not show, since the parser loses it. \a foreign are the
/// elements, by index, whose content is kept for somebody else: there blanks may say something.
QVector<TextDefect> textDefects(const QString& text, const CTextPositions& positions,
                                const QSet<int>& foreign);

} // namespace inspect
