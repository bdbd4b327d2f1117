#include "inspect/textpositions.h"

#include <algorithm>

namespace inspect {

namespace {

struct Passage {
    const char* pszBegin;
    const char* pszEnd;
};

// What may hold a '<' that begins no element.
constexpr Passage c_passages[] = {
    { "<!--", "-->" },
    { "<![CDATA[", "]]>" },
    { "<?", "?>" },
    { "</", ">" },
};

int skipPassage(const QString& text, int offset)
{
    for (const Passage& passage : c_passages) {
        const QLatin1String begin(passage.pszBegin);
        const QLatin1String end(passage.pszEnd);
        if (text.midRef(offset, begin.size()) == begin) {
            const int nEnd = text.indexOf(end, offset + begin.size());
            return nEnd < 0 ? text.size() : nEnd + end.size();
        }
    }
    return offset;
}

// The first of \a wanted from \a offset on that stands outside quotes.
int findUnquoted(const QString& text, int offset, int end, QChar wanted)
{
    QChar quote;
    for (; offset < end; ++offset) {
        const QChar c = text.at(offset);
        if (!quote.isNull()) {
            quote = c == quote ? QChar() : quote;
        } else if (c == wanted) {
            return offset;
        } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            quote = c;
        }
    }
    return end;
}

int nameBefore(const QString& text, int equals, int begin)
{
    int i = equals;
    while (i > begin && text.at(i - 1).isSpace()) {
        --i;
    }
    while (i > begin && !text.at(i - 1).isSpace()) {
        --i;
    }
    return i;
}

} // namespace

CTextPositions::CTextPositions(const QString& text)
    : m_strText(text)
    , m_lineStarts { 0 }
{
    for (int i = text.indexOf('\n'); i >= 0; i = text.indexOf('\n', i + 1)) {
        m_lineStarts.append(i + 1);
    }
    if (text.contains(QLatin1String("<!DOCTYPE"))) {
        return;
    }
    for (int i = text.indexOf('<'); i >= 0; i = text.indexOf('<', i)) {
        const int nSkipped = skipPassage(text, i);
        if (nSkipped == i) {
            const int nEnd = findUnquoted(text, i, text.size(), QLatin1Char('>'));
            m_tags.append({ i, nEnd });
            i = nEnd;
        } else {
            i = nSkipped;
        }
    }
}

TextPosition CTextPositions::ofElement(int index) const
{
    return index < m_tags.size() ? ofOffset(m_tags[index].nBegin) : TextPosition();
}

TextPosition CTextPositions::ofAttribute(int index, const QString& name) const
{
    if (index >= m_tags.size()) {
        return {};
    }
    const Tag& tag = m_tags[index];
    int i = tag.nBegin;
    while ((i = findUnquoted(m_strText, i, tag.nEnd, QLatin1Char('='))) < tag.nEnd) {
        const int nName = nameBefore(m_strText, i, tag.nBegin);
        if (m_strText.midRef(nName, i - nName).trimmed() == name) {
            return ofOffset(nName);
        }
        ++i;
    }
    return ofOffset(tag.nBegin);
}

TextPosition CTextPositions::ofOffset(int offset) const
{
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    const int nLine = static_cast<int>(next - m_lineStarts.begin());
    return { nLine, offset - m_lineStarts[nLine - 1] + 1 };
}

} // namespace inspect
