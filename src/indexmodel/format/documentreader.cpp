#include "format/documentreader_p.h"

#include <algorithm>
#include <array>

namespace KW {

namespace {

// Function objects, since an algorithm calls a function for every character.
constexpr auto isBlank
    = [](QChar c) { return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r'; };

constexpr auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };

constexpr auto isHexDigit = [](QChar c) {
    const int nLower = c.unicode() | 0x20;
    return isDigit(c) || (nLower >= 'a' && nLower <= 'f');
};

constexpr auto isNameBegin = [](QChar c) {
    const int nLower = c.unicode() | 0x20;
    return (nLower >= 'a' && nLower <= 'z') || c == u'_' || c == u':';
};

constexpr auto isNamePart
    = [](QChar c) { return isNameBegin(c) || isDigit(c) || c == u'-' || c == u'.'; };

// Qt's parser takes some of the others for the end of its input.
constexpr auto isKnown = [](QChar c) { return c.unicode() - 1U < 0xfffdU; };

// A file has few names, and few values of most attributes: each place keeps its latest text.
class CSharedTexts {
public:
    QString text(const QChar* pBegin, const QChar* pEnd)
    {
        const auto nSize = static_cast<int>(pEnd - pBegin);
        if (nSize == 0 || nSize > c_nLongest) {
            return QString(pBegin, nSize);
        }
        const uint nHash = 31U * nSize + 17U * pBegin->unicode() + 5U * pBegin[nSize / 2].unicode()
            + pEnd[-1].unicode();
        QString& strKept = m_kept[nHash % m_kept.size()];
        if (!std::equal(pBegin, pEnd, strKept.cbegin(), strKept.cend())) {
            strKept = QString(pBegin, nSize);
        }
        return strKept;
    }

private:
    static constexpr int c_nLongest = 32;
    std::array<QString, 512> m_kept;
};

// Stands at a place of the text. Once it is no longer plain, what it reads means nothing.
class CDocumentReader {
public:
    CDocumentReader(const QString& text, int maxDepth)
        : m_nMaxDepth(maxDepth)
        , m_p(text.constBegin())
        , m_pEnd(text.constEnd())
        , m_bPlain(std::all_of(m_p, m_pEnd, isKnown))
    {
    }

    std::optional<QDomDocument> read()
    {
        readDeclaration();
        readComments();
        if (take(u'<')) {
            readElement(m_doc, 1);
        }
        readComments();
        require(m_p == m_pEnd && !m_doc.documentElement().isNull());
        return m_bPlain ? std::make_optional(m_doc) : std::nullopt;
    }

private:
    QChar current() const { return m_p == m_pEnd ? QChar() : *m_p; }

    bool take(QChar c) { return take(QStringView(&c, 1)); }

    bool take(QStringView word)
    {
        const bool bThere
            = m_pEnd - m_p >= word.size() && std::equal(word.begin(), word.end(), m_p);
        m_p += bThere ? word.size() : 0;
        return bThere;
    }

    void require(bool holds) { m_bPlain = m_bPlain && holds; }

    bool takeBlanks()
    {
        const QChar* const pBegin = m_p;
        m_p = std::find_if_not(m_p, m_pEnd, isBlank);
        return m_p != pBegin;
    }

    template <typename Is> QString takeWhile(Is is)
    {
        const QChar* const pBegin = m_p;
        m_p = std::find_if_not(m_p, m_pEnd, is);
        return m_texts.text(pBegin, m_p);
    }

    QString takeName()
    {
        require(isNameBegin(current()));
        return takeWhile(isNamePart);
    }

    // Qt writes it in its own words.
    void readDeclaration()
    {
        if (!take(u"<?xml")) {
            return;
        }
        require(takeBlanks());
        QString strData = declared(QLatin1String("version"));
        if (takeBlanks() && current() != u'?') {
            strData += u' ' + declared(QLatin1String("encoding"));
            takeBlanks();
        }
        require(take(u"?>"));
        m_doc.appendChild(m_doc.createProcessingInstruction(QStringLiteral("xml"), strData));
    }

    QString declared(QLatin1String name)
    {
        require(takeName() == name);
        const QString strValue = takeAssigned();
        require(!strValue.isEmpty());
        return name + QLatin1String("='") + strValue + u'\'';
    }

    void readComments()
    {
        takeBlanks();
        while (take(u"<!--")) {
            readComment(m_doc);
            takeBlanks();
        }
    }

    // An element whose '<' was taken. It is appended when it is whole: from each node that gets a
    // child Qt goes up to the document.
    void readElement(QDomNode& parent, int depth)
    {
        const QString strName = takeName();
        require(depth <= m_nMaxDepth);
        if (!m_bPlain) {
            return;
        }
        QDomElement element = m_doc.createElement(strName);
        readAttributes(element);
        if (!take(u"/>")) {
            require(take(u'>'));
            readContent(element, depth);
            require(take(strName));
            takeBlanks();
            require(take(u'>'));
        }
        parent.appendChild(element);
    }

    void readAttributes(QDomElement& element)
    {
        bool bBlanks = takeBlanks();
        while (m_bPlain && isNameBegin(current())) {
            require(bBlanks);
            const QString strName = takeName();
            element.setAttribute(strName, takeAssigned());
            bBlanks = takeBlanks();
        }
    }

    QString takeAssigned()
    {
        takeBlanks();
        require(take(u'='));
        takeBlanks();
        const QChar cQuote = current() == u'"' ? u'"' : u'\'';
        require(take(cQuote));
        const QString strValue = takeValue(cQuote);
        require(take(cQuote));
        return strValue;
    }

    // What stands before \a end, with its references resolved.
    QString takeValue(QChar end)
    {
        QString strValue = takeRaw(end);
        while (m_bPlain && current() != end) {
            strValue += takeReference();
            strValue += takeRaw(end);
        }
        return strValue;
    }

    QString takeRaw(QChar end)
    {
        return takeWhile([end](QChar c) { return c != end && c != u'&' && c != u'<'; });
    }

    QChar takeReference()
    {
        for (const auto& [pszReference, c] :
             { std::pair(u"&lt;", u'<'), std::pair(u"&gt;", u'>'), std::pair(u"&amp;", u'&'),
               std::pair(u"&quot;", u'"'), std::pair(u"&apos;", u'\'') }) {
            if (take(pszReference)) {
                return c;
            }
        }
        require(take(u"&#"));
        return takeNumber(take(u'x') ? 16 : 10);
    }

    // Of a larger one than fits Qt takes a part.
    QChar takeNumber(int base)
    {
        bool bFits = false;
        const ushort nNumber = takeWhile(isHexDigit).toUShort(&bFits, base);
        require(bFits && take(u';'));
        return nNumber;
    }

    // Up to the "</" that ends it.
    void readContent(QDomNode& parent, int depth)
    {
        while (m_bPlain && !take(u"</")) {
            if (take(u"<!--")) {
                readComment(parent);
            } else if (take(u"<![CDATA[")) {
                parent.appendChild(m_doc.createCDATASection(takeUntil(u"]]>")));
            } else if (take(u'<')) {
                readElement(parent, depth + 1);
            } else {
                readText(parent);
            }
        }
    }

    void readText(QDomNode& parent)
    {
        const QChar* const pBegin = m_p;
        if (takeBlanks() && current() == u'<') {
            return;
        }
        m_p = pBegin;
        const QString strText = takeValue(u'<');
        // Qt refuses it in some places and takes it in others.
        require(!QStringView(pBegin, m_p).contains(u"]]>"));
        // Every kind of space that Unicode has.
        if (!std::all_of(strText.begin(), strText.end(), [](QChar c) { return c.isSpace(); })) {
            parent.appendChild(m_doc.createTextNode(strText));
        }
    }

    void readComment(QDomNode& parent)
    {
        const QString strComment = takeUntil(u"--");
        require(take(u'>'));
        parent.appendChild(m_doc.createComment(strComment));
    }

    QString takeUntil(QStringView end)
    {
        const QStringView rest(m_p, m_pEnd);
        const auto nFound = rest.indexOf(end);
        require(nFound >= 0);
        m_p += m_bPlain ? nFound + end.size() : rest.size();
        return m_bPlain ? rest.left(nFound).toString() : QString();
    }

    const int m_nMaxDepth;
    const QChar* m_p;
    const QChar* m_pEnd;
    bool m_bPlain;
    QDomDocument m_doc;
    CSharedTexts m_texts;
};

} // namespace

std::optional<QDomDocument> readDocument(const QString& text, int maxDepth)
{
    return CDocumentReader(text, maxDepth).read();
}

} // namespace KW
