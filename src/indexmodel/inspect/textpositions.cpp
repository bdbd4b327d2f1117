#include "inspect/textpositions.h"

#include <format/textscan.h>

#include <algorithm>

namespace inspect {

namespace {

using KW::positionAfter;
using KW::standsAt;

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
    for (int i = text.indexOf('<'); i >= 0; i = text.indexOf('<', i)) {
        const int nMarkup = i;
        i = skipMarkup(i);
        addCharacters(nMarkup, i, text.indexOf('<', i));
    }
}

int CTextPositions::skipMarkup(int offset)
{
    if (standsAt(m_strText, offset, QLatin1String("<!--"))) {
        m_comments.append(offset);
        return positionAfter(m_strText, QLatin1String("-->"), offset + 4);
    }
    if (standsAt(m_strText, offset, QLatin1String("<?"))) {
        m_instructions.append(offset);
        return positionAfter(m_strText, QLatin1String("?>"), offset);
    }
    if (standsAt(m_strText, offset, QLatin1String("<![CDATA["))) {
        return positionAfter(m_strText, QLatin1String("]]>"), offset);
    }
    if (standsAt(m_strText, offset, QLatin1String("<!"))) {
        return skipDeclaration(offset);
    }
    return skipTag(offset);
}

int CTextPositions::skipTag(int offset)
{
    const int nEnd = findUnquoted(m_strText, offset, m_strText.size(), QLatin1Char('>'));
    if (standsAt(m_strText, offset, QLatin1String("</"))) {
        m_open.resize(std::max(m_open.size() - 1, 0));
    } else {
        if (!standsAt(m_strText, nEnd - 1, QLatin1String("/>"))) {
            m_open.append(m_tags.size());
        }
        m_tags.append({ offset, nEnd });
    }
    return nEnd + 1;
}

void CTextPositions::addCharacters(int markup, int begin, int end)
{
    if (m_open.isEmpty() || begin >= end) {
        return;
    }
    const int nElement = m_open.constLast();
    const bool bAll
        = m_tags[nElement].nBegin == markup && standsAt(m_strText, end, QLatin1String("</"));
    const bool bBesideData = standsAt(m_strText, markup, QLatin1String("<![CDATA["))
        || standsAt(m_strText, end, QLatin1String("<![CDATA["));
    m_characters.append({ { begin, end }, nElement, bAll || bBesideData });
}

int CTextPositions::skipDeclaration(int offset)
{
    const int nEnd = findUnquoted(m_strText, offset, m_strText.size(), QLatin1Char('>'));
    if (!standsAt(m_strText, offset, QLatin1String("<!DOCTYPE"))) {
        m_bEntities = m_bEntities || standsAt(m_strText, offset, QLatin1String("<!ENTITY"));
        return nEnd;
    }
    m_nDocumentType = offset;
    // What stands in brackets comes next.
    return findUnquoted(m_strText, offset, nEnd, QLatin1Char('['));
}

TextPosition CTextPositions::ofElement(int index) const
{
    const bool bKnown = index < m_tags.size() && (index == 0 || !m_bEntities);
    return bKnown ? ofOffset(m_tags[index].nBegin) : TextPosition();
}

TextPosition CTextPositions::ofComment(int index) const
{
    return ofMark(m_comments, index);
}

TextPosition CTextPositions::ofInstruction(int index) const
{
    return ofMark(m_instructions, index);
}

TextPosition CTextPositions::ofDocumentType() const
{
    return m_nDocumentType < 0 ? TextPosition() : ofOffset(m_nDocumentType);
}

TextPosition CTextPositions::ofMark(const QVector<int>& offsets, int index) const
{
    return index < offsets.size() && !m_bEntities ? ofOffset(offsets[index]) : TextPosition();
}

TextPosition CTextPositions::ofAttribute(int index, const QString& name) const
{
    return ofElement(index).nLine == 0
        ? TextPosition()
        : ofOffset(attributesOf(index).value(name, m_tags[index].nBegin));
}

const QHash<QString, int>& CTextPositions::attributesOf(int index) const
{
    if (m_nNamedTag == index) {
        return m_attributes;
    }
    m_nNamedTag = index;
    m_attributes.clear();
    const TextSpan& tag = m_tags[index];
    int i = tag.nBegin;
    while ((i = findUnquoted(m_strText, i, tag.nEnd, QLatin1Char('='))) < tag.nEnd) {
        const int nName = nameBefore(m_strText, i, tag.nBegin);
        const QString strName = m_strText.midRef(nName, i - nName).trimmed().toString();
        m_attributes.insert(strName, m_attributes.value(strName, nName));
        ++i;
    }
    return m_attributes;
}

TextPosition CTextPositions::ofOffset(int offset) const
{
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    const int nLine = static_cast<int>(next - m_lineStarts.begin());
    return { nLine, offset - m_lineStarts[nLine - 1] + 1 };
}

} // namespace inspect
