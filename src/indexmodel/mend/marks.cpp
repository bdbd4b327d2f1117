#include "mend/marks_p.h"

#include <QByteArrayList>

#include <algorithm>
#include <cstring>

namespace mend {

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

bool beginsName(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':'
        || static_cast<unsigned char>(c) >= 0x80;
}

bool isInName(char c)
{
    return beginsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// The smallest and the largest second byte keep out what is overlong, a surrogate or too large.
int lengthByFirst(unsigned char first, unsigned char second)
{
    if (first >= 0xc2 && first <= 0xdf) {
        return 2;
    }
    if (first >= 0xe0 && first <= 0xef) {
        return (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ? 0 : 3;
    }
    if (first >= 0xf0 && first <= 0xf4) {
        return (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f) ? 0 : 4;
    }
    return 0;
}

bool isNoncharacter(const char* p)
{
    return std::memcmp(p, "\xef\xbf\xbe", 3) == 0 || std::memcmp(p, "\xef\xbf\xbf", 3) == 0;
}

// The bytes of the character at \a p; 0 for what no file can hold.
int characterLength(const char* p, const char* pEnd)
{
    if (static_cast<unsigned char>(*p) < 0x80) {
        return *p == '\0' ? 0 : 1;
    }
    const int nLength = pEnd - p < 2
        ? 0
        : lengthByFirst(static_cast<unsigned char>(p[0]), static_cast<unsigned char>(p[1]));
    const bool bWhole = nLength > 0 && pEnd - p >= nLength
        && std::all_of(p + 1, p + nLength, [](char c) { return (c & 0xc0) == 0x80; });
    return !bWhole || (nLength == 3 && isNoncharacter(p)) ? 0 : nLength;
}

const char* skipSpace(const char* p, const char* pEnd)
{
    return std::find_if_not(p, pEnd, isSpace);
}

const char* skipName(const char* p, const char* pEnd)
{
    return p < pEnd && beginsName(*p) ? std::find_if_not(p, pEnd, isInName) : p;
}

// Behind the reference at \a p; null for what refers to nothing.
const char* skipReference(const char* p, const char* pEnd)
{
    constexpr int c_nLongest = 10;
    const char* const pSemicolon = std::find(p, std::min(p + c_nLongest, pEnd), ';');
    const QByteArray name = QByteArray(p + 1, static_cast<int>(pSemicolon - p) - 1);
    static const QByteArrayList s_names { "lt", "gt", "amp", "quot", "apos" };
    bool bNumber = false;
    if (name.startsWith("#x")) {
        name.mid(2).toUInt(&bNumber, 16);
    } else if (name.startsWith('#')) {
        name.mid(1).toUInt(&bNumber, 10);
    }
    const bool bKnown
        = pSemicolon < pEnd && *pSemicolon == ';' && (bNumber || s_names.contains(name));
    return bKnown ? pSemicolon + 1 : nullptr;
}

// Behind the character or reference at \a p; null where the text is torn.
const char* skipCharacter(const char* p, const char* pEnd)
{
    if (*p == '&') {
        return skipReference(p, pEnd);
    }
    const int nLength = characterLength(p, pEnd);
    return nLength == 0 ? nullptr : p + nLength;
}

// Behind the value, whose first quote is at \a p.
const char* skipValue(const char* p, const char* pEnd)
{
    const char cQuote = p < pEnd ? *p++ : '\0';
    if (cQuote != '"' && cQuote != '\'') {
        return nullptr;
    }
    while (p != nullptr && p < pEnd && *p != cQuote) {
        p = *p == '<' ? nullptr : skipCharacter(p, pEnd);
    }
    return p != nullptr && p < pEnd ? p + 1 : nullptr;
}

struct Attribute {
    const char* pBegin = nullptr;
    const char* pNameEnd = nullptr;
    const char* pEnd = nullptr; // null for what is no attribute
};

// With the space in front of it, which has to be there.
Attribute attributeAt(const char* p, const char* pEnd)
{
    Attribute attribute;
    attribute.pBegin = skipSpace(p, pEnd);
    attribute.pNameEnd = skipName(attribute.pBegin, pEnd);
    const char* const pEquals = skipSpace(attribute.pNameEnd, pEnd);
    if (attribute.pBegin > p && attribute.pNameEnd > attribute.pBegin && pEquals < pEnd
        && *pEquals == '=') {
        attribute.pEnd = skipValue(skipSpace(pEquals + 1, pEnd), pEnd);
    }
    return attribute;
}

QByteArray nameOf(const Attribute& attribute)
{
    return QByteArray::fromRawData(attribute.pBegin,
                                   static_cast<int>(attribute.pNameEnd - attribute.pBegin));
}

// Behind the last of the attributes that begin at \a p.
const char* skipAttributes(const char* p, const char* pEnd, QVector<Attribute>& attributes)
{
    for (Attribute each = attributeAt(p, pEnd); each.pEnd != nullptr; each = attributeAt(p, pEnd)) {
        attributes.append(each);
        p = each.pEnd;
    }
    return p;
}

bool hasTwice(const QVector<Attribute>& attributes)
{
    QByteArrayList names;
    for (const Attribute& each : attributes) {
        names.append(nameOf(each));
    }
    std::sort(names.begin(), names.end());
    return std::adjacent_find(names.begin(), names.end()) != names.end();
}

bool standsAt(const char* p, const char* pEnd, const char* pszWord)
{
    const auto nLength = static_cast<std::ptrdiff_t>(std::strlen(pszWord));
    return pEnd - p >= nLength && std::memcmp(p, pszWord, std::strlen(pszWord)) == 0;
}

// A '>' of which the tag is lost, or the end of a CDATA section of which the beginning is.
bool endsMarkup(const char* pText, const char* p)
{
    return p - pText >= 2
        && ((p[-1] == '/' && (p[-2] == '"' || p[-2] == '\'')) || (p[-1] == ']' && p[-2] == ']'));
}

class CMarkReader {
public:
    explicit CMarkReader(const QByteArray& text)
        : m_text(text)
        , m_pBegin(text.constData())
        , m_pEnd(m_pBegin + text.size())
    {
    }

    QVector<Mark> read()
    {
        const char* p = m_pBegin + (m_text.startsWith("\xef\xbb\xbf") ? 3 : 0);
        while (p < m_pEnd) {
            p = *p == '<' ? skipMarkup(p) : skipText(p);
        }
        return m_marks;
    }

private:
    const char* nextMarkup(const char* p) const { return std::find(p, m_pEnd, '<'); }

    const char* add(MarkKind kind, const char* p, const char* pEnd, int name = 0)
    {
        m_marks.append(
            { kind, static_cast<int>(p - m_pBegin), static_cast<int>(pEnd - m_pBegin), name });
        return pEnd;
    }

    const char* addTear(const char* p)
    {
        const char* pName = p;
        if (*p == '<' && p + 1 < m_pEnd && beginsName(p[1])) {
            ++pName;
            while (pName < m_pEnd && isInName(*pName) && characterLength(pName, m_pEnd) > 0) {
                pName += characterLength(pName, m_pEnd);
            }
        }
        const int nName = std::max(static_cast<int>(pName - p) - 1, 0);
        return add(MarkKind::Tear, p, nextMarkup(p + 1), nName);
    }

    const char* skipText(const char* pText)
    {
        const char* const pEnd = nextMarkup(pText);
        const char* p = pText;
        while (p != nullptr && p < pEnd) {
            p = *p == '>' && endsMarkup(pText, p) ? nullptr : skipCharacter(p, pEnd);
        }
        if (p == nullptr) {
            return addTear(pText);
        }
        return skipSpace(pText, pEnd) < pEnd ? add(MarkKind::Text, pText, pEnd) : pEnd;
    }

    const char* skipMarkup(const char* p)
    {
        if (standsAt(p, m_pEnd, "<!--")) {
            return skipComment(p);
        }
        if (standsAt(p, m_pEnd, "<![CDATA[")) {
            return skipData(p);
        }
        if (standsAt(p, m_pEnd, "<?")) {
            return skipInstruction(p);
        }
        return standsAt(p, m_pEnd, "</") ? skipEndTag(p) : skipTag(p);
    }

    bool isReadable(const char* p, const char* pEnd) const
    {
        while (p < pEnd) {
            const int nLength = characterLength(p, pEnd);
            if (nLength == 0) {
                return false;
            }
            p += nLength;
        }
        return true;
    }

    // Two hyphens end a comment, or it is none.
    const char* skipComment(const char* p)
    {
        static const char s_szHyphens[] = "--";
        const char* const pHyphens = std::search(p + 4, m_pEnd, s_szHyphens, s_szHyphens + 2);
        return standsAt(pHyphens, m_pEnd, "-->") && isReadable(p, pHyphens) ? pHyphens + 3
                                                                            : addTear(p);
    }

    // One that holds the beginning of another has lost its end.
    const char* skipData(const char* p)
    {
        const int nBegin = static_cast<int>(p - m_pBegin) + 9;
        if (m_nDataEnd < nBegin) {
            const int nFound = m_text.indexOf("]]>", nBegin);
            m_nDataEnd = nFound < 0 ? m_text.size() : nFound;
        }
        const char* const pEnd = m_pBegin + m_nDataEnd;
        static const char s_szBegin[] = "<![CDATA[";
        const bool bWhole = pEnd < m_pEnd
            && std::search(p + 9, pEnd, s_szBegin, s_szBegin + 9) == pEnd && isReadable(p, pEnd);
        // As no white space it counts as a text.
        return bWhole ? add(MarkKind::Text, p, pEnd + 3) : addTear(p);
    }

    const char* skipInstruction(const char* p)
    {
        const char* const pEnd = nextMarkup(p + 1);
        static const char s_szEnd[] = "?>";
        const char* const pFound = std::search(p + 2, pEnd, s_szEnd, s_szEnd + 2);
        return pFound < pEnd && isReadable(p, pFound) ? pFound + 2 : addTear(p);
    }

    const char* skipEndTag(const char* p)
    {
        const char* const pNameEnd = skipName(p + 2, m_pEnd);
        const char* const pClose = skipSpace(pNameEnd, m_pEnd);
        return pNameEnd > p + 2 && pClose < m_pEnd && *pClose == '>' && isReadable(p, pClose)
            ? add(MarkKind::End, p, pClose + 1, static_cast<int>(pNameEnd - p) - 2)
            : addTear(p);
    }

    const char* skipTag(const char* p)
    {
        const char* const pNameEnd = skipName(p + 1, m_pEnd);
        m_attributes.clear();
        const char* const pClose
            = skipSpace(skipAttributes(pNameEnd, m_pEnd, m_attributes), m_pEnd);
        const bool bEmpty = standsAt(pClose, m_pEnd, "/>");
        if (pNameEnd == p + 1 || (!bEmpty && !standsAt(pClose, m_pEnd, ">"))
            || !isReadable(p, pNameEnd) || hasTwice(m_attributes)) {
            return addTear(p);
        }
        return add(bEmpty ? MarkKind::Empty : MarkKind::Begin, p, pClose + (bEmpty ? 2 : 1),
                   static_cast<int>(pNameEnd - p) - 1);
    }

    const QByteArray& m_text;
    const char* m_pBegin;
    const char* m_pEnd;
    int m_nDataEnd = -1; // of the next CDATA section, found once
    QVector<Attribute> m_attributes;
    QVector<Mark> m_marks;
};

QVector<AttributeSpan> spans(const QByteArray& text, const QVector<Attribute>& attributes)
{
    QVector<AttributeSpan> found;
    const auto offset = [&](const char* p) { return static_cast<int>(p - text.constData()); };
    for (const Attribute& each : attributes) {
        found.append({ offset(each.pBegin), offset(each.pNameEnd), offset(each.pEnd) });
    }
    return found;
}

} // namespace

QVector<Mark> marksOf(const QByteArray& text)
{
    return CMarkReader(text).read();
}

QByteArray nameOf(const QByteArray& text, const Mark& mark)
{
    const int nBegin = mark.nBegin + (mark.kind == MarkKind::End ? 2 : 1);
    return QByteArray::fromRawData(text.constData() + nBegin, mark.nName);
}

QVector<AttributeSpan> firstAttributes(const QByteArray& text, const Mark& mark)
{
    const char* const pEnd = text.constData() + mark.nEnd;
    QVector<Attribute> attributes;
    const char* const p
        = skipAttributes(text.constData() + mark.nBegin + 1 + mark.nName, pEnd, attributes);
    // What sticks to the last value may have come into its place.
    const bool bSticks
        = p < pEnd && !isSpace(*p) && *p != '/' && *p != '>' && characterLength(p, pEnd) > 0;
    if (bSticks && !attributes.isEmpty()) {
        attributes.removeLast();
    }
    return spans(text, attributes);
}

QVector<AttributeSpan> lastAttributes(const QByteArray& text, const Mark& mark)
{
    const char* const pEnd = text.constData() + mark.nEnd;
    const char* p = text.constData() + mark.nBegin;
    while (p < pEnd) {
        QVector<Attribute> attributes;
        const char* const pRest = skipSpace(skipAttributes(p, pEnd, attributes), pEnd);
        const bool bEnds = standsAt(pRest, pEnd, "/>") || standsAt(pRest, pEnd, ">");
        if (bEnds && !attributes.isEmpty()) {
            return spans(text, attributes);
        }
        // What stopped them stops all that begin between; else the next place where one may begin.
        p = attributes.isEmpty() ? std::find_if(skipSpace(p, pEnd), pEnd, isSpace)
                                 : attributes.constLast().pEnd;
    }
    return {};
}

} // namespace mend
