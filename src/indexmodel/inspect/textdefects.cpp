#include "inspect/textdefects_p.h"

#include <QRegularExpression>

#include <algorithm>

namespace inspect {

namespace {

const QRegularExpression& reference()
{
    static const QRegularExpression s_reference(QStringLiteral("&#(x?)([0-9A-Fa-f]+);"));
    return s_reference;
}

// 0 for what no number can hold.
uint codeOf(const QRegularExpressionMatch& match)
{
    return match.captured(2).toUInt(nullptr, match.captured(1).isEmpty() ? 10 : 16);
}

void addStandalone(const QString& text, QVector<TextDefect>& found)
{
    static const QRegularExpression s_declaration(
        QStringLiteral(R"(^<\?xml\s[^>]*\b(standalone)\s*=\s*["']yes["'])"));
    const QRegularExpressionMatch match = s_declaration.match(text);
    if (match.hasMatch()) {
        found.append({ match.capturedStart(1), QStringLiteral("standalone"), Effect::Dropped,
                       QStringLiteral("the declaration is saved without it") });
    }
}

// The parser puts the number into one unit of UTF-16.
void addReferences(const QString& text, const TextSpan& span, int element,
                   QVector<TextDefect>& found)
{
    const QString strPart = text.mid(span.nBegin, span.nEnd - span.nBegin);
    for (auto it = reference().globalMatch(strPart); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        const uint nCode = codeOf(match);
        if (nCode == 0 || nCode > 0xffff) {
            found.append({ span.nBegin + match.capturedStart(),
                           QStringLiteral("character-reference"), Effect::Changed,
                           match.captured() + " reads as another character", element });
        }
    }
}

bool isAsciiBlank(QChar c)
{
    return c.isSpace() && c.unicode() < 0x80;
}

// The parser passes on no characters that are all blanks, in the sense of Unicode.
bool isLost(const QString& characters)
{
    QString strRest = characters;
    for (auto it = reference().globalMatch(characters); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        strRest.replace(match.captured(), QChar(codeOf(match)));
    }
    return strRest.trimmed().isEmpty();
}

void addBlanks(const QString& text, const CharacterData& data, bool foreign,
               QVector<TextDefect>& found)
{
    const QString strPart = text.mid(data.span.nBegin, data.span.nEnd - data.span.nBegin);
    const bool bLayout = std::all_of(strPart.begin(), strPart.end(), isAsciiBlank);
    if ((!bLayout || (data.bWhole && foreign)) && isLost(strPart)) {
        found.append({ data.span.nBegin, QStringLiteral("blank-text"), Effect::Dropped,
                       QStringLiteral("text of nothing but blanks is not read"), data.nElement });
    }
}

} // namespace

QVector<TextDefect> textDefects(const QString& text, const CTextPositions& positions,
                                const QSet<int>& foreign)
{
    QVector<TextDefect> found;
    addStandalone(text, found);
    for (int i = 0; i < positions.tags().size(); ++i) {
        addReferences(text, positions.tags()[i], i, found);
    }
    for (const CharacterData& data : positions.characters()) {
        addReferences(text, data.span, data.nElement, found);
        // Entities bring elements that are not counted here.
        if (!positions.hasEntities()) {
            addBlanks(text, data, foreign.contains(data.nElement), found);
        }
    }
    return found;
}

} // namespace inspect
