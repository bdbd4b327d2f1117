#include "format/documentreader_p.h"

#include <algorithm>
#include <array>

namespace KW {

namespace {

// Function objects, since an algorithm calls a function for every character.
constexpr auto isBlank = [](QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('\n') || c == QLatin1Char('\t')
        || c == QLatin1Char('\r');
};

constexpr auto isNameBegin = [](QChar c) {
    const int nLower = c.unicode() | 0x20;
    return (nLower >= 'a' && nLower <= 'z') || c == QLatin1Char('_') || c == QLatin1Char(':');
};

constexpr auto isNamePart = [](QChar c) {
    return isNameBegin(c) || (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
        || c == QLatin1Char('-') || c == QLatin1Char('.');
};

// Qt's parser takes some of the others for the end of its input.
constexpr auto isKnown = [](QChar c) { return c.unicode() - 1U < 0xfffdU; };

constexpr auto isSame = [](QChar c, char other) { return c == QLatin1Char(other); };

uint digitOf(QChar c)
{
    const uint n = c.unicode();
    const uint nLower = n | 0x20;
    return n >= '0' && n <= '9' ? n - '0' : nLower >= 'a' && nLower <= 'f' ? nLower - 'a' + 10 : 99;
}

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
        if (!std::equal(pBegin, pEnd, strKept.constBegin(), strKept.constEnd())) {
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
        if (take('<')) {
            readElement(m_doc, 1);
        }
        readComments();
        require(m_p == m_pEnd && !m_doc.documentElement().isNull());
        return m_bPlain ? std::make_optional(m_doc) : std::nullopt;
    }

private:
    QChar current() const { return m_p == m_pEnd ? QChar() : *m_p; }

    bool take(char c)
    {
        const bool bThere = current() == QLatin1Char(c);
        m_p += bThere ? 1 : 0;
        return bThere;
    }

    bool take(QLatin1String word)
    {
        const bool bThere = m_pEnd - m_p >= word.size()
            && std::equal(m_p, m_p + word.size(), word.begin(), isSame);
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

    QString takeName()
    {
        const QChar* const pBegin = m_p;
        require(isNameBegin(current()));
        m_p = std::find_if_not(m_p, m_pEnd, isNamePart);
        return m_texts.text(pBegin, m_p);
    }

    // Qt writes it in its own words.
    void readDeclaration()
    {
        if (!take(QLatin1String("<?xml"))) {
            return;
        }
        require(takeBlanks());
        QString strData = declared(QLatin1String("version"));
        if (takeBlanks() && current() != QLatin1Char('?')) {
            strData += QLatin1Char(' ') + declared(QLatin1String("encoding"));
            takeBlanks();
        }
        require(take(QLatin1String("?>")));
        m_doc.appendChild(m_doc.createProcessingInstruction(QStringLiteral("xml"), strData));
    }

    QString declared(QLatin1String name)
    {
        require(takeName() == name);
        const QString strValue = takeAssigned();
        require(!strValue.isEmpty());
        return name + QLatin1String("='") + strValue + QLatin1Char('\'');
    }

    void readComments()
    {
        takeBlanks();
        while (take(QLatin1String("<!--"))) {
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
        if (!take(QLatin1String("/>"))) {
            require(take('>'));
            readContent(element, depth);
            require(takeName() == strName);
            takeBlanks();
            require(take('>'));
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
        require(take('='));
        takeBlanks();
        const char cQuote = current() == QLatin1Char('"') ? '"' : '\'';
        require(take(cQuote));
        const QString strValue = takeValue(QLatin1Char(cQuote));
        require(take(cQuote));
        return strValue;
    }

    // What stands before \a end, with its references resolved.
    QString takeValue(QChar end)
    {
        const QChar* pBegin = m_p;
        passRaw(end);
        if (current() == end) {
            return m_texts.text(pBegin, m_p);
        }
        QString strValue(pBegin, static_cast<int>(m_p - pBegin));
        while (m_bPlain && current() != end) {
            strValue += takeReference();
            pBegin = m_p;
            passRaw(end);
            strValue.append(pBegin, static_cast<int>(m_p - pBegin));
        }
        return strValue;
    }

    void passRaw(QChar end)
    {
        m_p = std::find_if(m_p, m_pEnd, [end](QChar c) {
            return c == end || c == QLatin1Char('&') || c == QLatin1Char('<');
        });
    }

    QChar takeReference()
    {
        for (const auto& [pszReference, c] :
             { std::pair("&lt;", '<'), std::pair("&gt;", '>'), std::pair("&amp;", '&'),
               std::pair("&quot;", '"'), std::pair("&apos;", '\'') }) {
            if (take(QLatin1String(pszReference))) {
                return QLatin1Char(c);
            }
        }
        require(take(QLatin1String("&#")));
        return QChar(takeNumber(take('x') ? 16 : 10));
    }

    // Of a larger one Qt takes a part.
    uint takeNumber(uint base)
    {
        uint nNumber = 0;
        const QChar* const pBegin = m_p;
        while (digitOf(current()) < base && nNumber <= 0xffff) {
            nNumber = nNumber * base + digitOf(*m_p++);
        }
        require(m_p != pBegin && nNumber <= 0xffff && take(';'));
        return nNumber;
    }

    // Up to the "</" that ends it.
    void readContent(QDomNode& parent, int depth)
    {
        while (m_bPlain && !take(QLatin1String("</"))) {
            if (take(QLatin1String("<!--"))) {
                readComment(parent);
            } else if (take(QLatin1String("<![CDATA["))) {
                parent.appendChild(m_doc.createCDATASection(takeUntil(QLatin1String("]]>"))));
            } else if (take('<')) {
                readElement(parent, depth + 1);
            } else {
                readText(parent);
            }
        }
    }

    void readText(QDomNode& parent)
    {
        const QChar* const pBegin = m_p;
        if (takeBlanks() && current() == QLatin1Char('<')) {
            return;
        }
        m_p = pBegin;
        const QString strText = takeValue(QLatin1Char('<'));
        // Qt refuses it in some places and takes it in others.
        require(!QStringView(pBegin, m_p).contains(QLatin1String("]]>")));
        // Every kind of space that Unicode has.
        if (!std::all_of(strText.begin(), strText.end(), [](QChar c) { return c.isSpace(); })) {
            parent.appendChild(m_doc.createTextNode(strText));
        }
    }

    void readComment(QDomNode& parent)
    {
        const QString strComment = takeUntil(QLatin1String("--"));
        require(take('>'));
        parent.appendChild(m_doc.createComment(strComment));
    }

    QString takeUntil(QLatin1String end)
    {
        const QChar* const pBegin = m_p;
        const QChar* const pFound = std::search(m_p, m_pEnd, end.begin(), end.end(), isSame);
        require(pFound != m_pEnd);
        m_p = m_bPlain ? pFound + end.size() : m_pEnd;
        return QString(pBegin, static_cast<int>(pFound - pBegin));
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
