#include "inspect/shortened.h"

#include <QTextBoundaryFinder>

namespace inspect {

namespace {

constexpr QChar c_ellipsis(0x2026);

// In shares of the font's size, those of the widest common fonts.
qreal shareOf(QChar c)
{
    if (c.isLowSurrogate() || c.category() == QChar::Mark_NonSpacing) {
        return 0;
    }
    if (c.unicode() >= 0x1100 || QStringLiteral("mwMWO@%").contains(c)) {
        return 1;
    }
    if (QStringLiteral("ijl.,:;'|! ()[]ft/").contains(c)) {
        return 0.4;
    }
    return c.isUpper() ? 0.78 : 0.64;
}

} // namespace

qreal textWidth(const QString& text, qreal size)
{
    qreal nWidth = 0;
    for (const QChar c : text) {
        nWidth += size * shareOf(c);
    }
    return nWidth;
}

QString shortened(const QString& text, qreal width, qreal size)
{
    if (textWidth(text, size) <= width) {
        return text;
    }
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, text);
    QString strFound;
    for (int nEnd = characters.toNextBoundary(); nEnd > 0; nEnd = characters.toNextBoundary()) {
        const QString strNext = text.left(nEnd).trimmed() + c_ellipsis;
        if (textWidth(strNext, size) > width) {
            break;
        }
        strFound = strNext;
    }
    return strFound;
}

} // namespace inspect
