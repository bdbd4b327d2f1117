#include "format/utf8text_p.h"

#include <algorithm>
#include <utility>

namespace KW {

namespace {

constexpr int c_nLongest = 6; // "&quot;"
constexpr int c_nSlice = 256;

// What stands for a character below 0x80; null for the character itself.
using References = std::array<const char*, 0x80>;

constexpr References references(CUtf8Text::Escapes escapes)
{
    const bool bAttribute = escapes == CUtf8Text::Escapes::Attribute;
    References references {};
    if (escapes != CUtf8Text::Escapes::None) {
        references['<'] = "&lt;";
        references['&'] = "&amp;";
        references['>'] = "&gt;";
        references['\r'] = "&#xd;";
        references['"'] = bAttribute ? "&quot;" : nullptr;
        references['\n'] = bAttribute ? "&#xa;" : nullptr;
        references['\t'] = bAttribute ? "&#x9;" : nullptr;
    }
    return references;
}

constexpr std::array<References, 3> c_references { references(CUtf8Text::Escapes::None),
                                                   references(CUtf8Text::Escapes::Text),
                                                   references(CUtf8Text::Escapes::Attribute) };

char* copy(char* pOut, const char* pText, std::size_t size)
{
    std::memcpy(pOut, pText, size);
    return pOut + size;
}

// Of '>', only that of "]]>" is written as a reference.
bool isLone(const QChar* p, const QString& text)
{
    return *p == u'>' && !(p - text.begin() >= 2 && p[-1] == u']' && p[-2] == u']');
}

char tail(uint n)
{
    return static_cast<char>(0x80 | (n & 0x3f));
}

} // namespace

std::string CUtf8Text::take()
{
    flush();
    return std::exchange(m_strBytes, {});
}

void CUtf8Text::append(const QString& text, Escapes escapes)
{
    const References& references = c_references[static_cast<std::size_t>(escapes)];
    const QChar* const pEnd = text.end();
    for (const QChar* p = text.begin(); p != pEnd;) {
        const QChar* const pStop = p + std::min<std::ptrdiff_t>(pEnd - p, c_nSlice);
        char* pOut = room(c_nLongest * c_nSlice);
        while (p < pStop) {
            const char* pszReference = nullptr;
            if (p->unicode() >= 0x80) {
                p = appendWide(p, pEnd, pOut);
            } else if ((pszReference = references[p->unicode()]) != nullptr && !isLone(p, text)) {
                pOut = copy(pOut, pszReference, std::strlen(pszReference));
                ++p;
            } else {
                m_bReadable = m_bReadable && !p->isNull();
                *pOut++ = static_cast<char>((p++)->unicode());
            }
        }
        m_pNext = pOut;
    }
}

void CUtf8Text::flush()
{
    m_strBytes.append(m_piece.data(), m_pNext);
    m_pNext = m_piece.data();
}

// The next character, which may be a pair; gives what stands behind it.
const QChar* CUtf8Text::appendWide(const QChar* p, const QChar* pEnd, char*& pOut)
{
    const bool bPair = p->isHighSurrogate() && p + 1 != pEnd && p[1].isLowSurrogate();
    const uint n = bPair ? QChar::surrogateToUcs4(p[0], p[1]) : p->unicode();
    m_bReadable = m_bReadable && (bPair || !(p->isSurrogate() || n >= 0xfffe));
    if (n >= 0x10000) {
        *pOut++ = static_cast<char>(0xf0 | n >> 18);
        *pOut++ = tail(n >> 12);
    } else if (n >= 0x800) {
        *pOut++ = static_cast<char>(0xe0 | n >> 12);
    }
    *pOut++ = n >= 0x800 ? tail(n >> 6) : static_cast<char>(0xc0 | n >> 6);
    *pOut++ = tail(n);
    return p + (bPair ? 2 : 1);
}

} // namespace KW
