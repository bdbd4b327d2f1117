#include "format/documentdepth_p.h"

#include "format/textscan.h"

#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlLocator>
#include <QXmlSimpleReader>

#include <algorithm>

namespace KW {

namespace {

// A '>' within quotes does not end a tag. Plain pointers: this reads every character of a load.
int tagEnd(const QString& text, int position)
{
    const QChar* const pText = text.constData();
    const QChar* const pEnd = pText + text.size();
    const QChar* p = pText + position;
    while (p < pEnd && *p != QLatin1Char('>')) {
        const QChar c = *p++;
        if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            p = std::find(p, pEnd, c);
            p += p < pEnd ? 1 : 0;
        }
    }
    return static_cast<int>(p - pText);
}

// What "<!" or "<?" at \a position begins, up to its end.
int declarationEnd(const QString& text, int position)
{
    if (standsAt(text, position, QLatin1String("<!--"))) {
        return positionAfter(text, QLatin1String("-->"), position + 4);
    }
    const bool bData = standsAt(text, position, QLatin1String("<![CDATA["));
    return positionAfter(text, QLatin1String(bData ? "]]>" : "?>"), position);
}

// Agrees with the parser as far as the text is well-formed; behind an error nothing is parsed.
// Entities nest elements that the text does not show: with a document type it does not tell.
bool isFlat(const QString& text, int maxDepth)
{
    int nDepth = 0;
    int nDeepest = 0;
    for (int i = text.indexOf(QLatin1Char('<')); i >= 0; i = text.indexOf(QLatin1Char('<'), i)) {
        const QChar c = i + 1 < text.size() ? text.at(i + 1) : QChar();
        if (c == QLatin1Char('/')) {
            --nDepth;
            ++i;
        } else if (c != QLatin1Char('!') && c != QLatin1Char('?')) {
            i = tagEnd(text, i);
            nDeepest = std::max(nDeepest, nDepth + 1);
            nDepth += text.at(i - 1) == QLatin1Char('/') ? 0 : 1;
        } else if (standsAt(text, i, QLatin1String("<!DOCTYPE"))) {
            return false;
        } else {
            i = declarationEnd(text, i);
        }
    }
    return nDeepest <= maxDepth;
}

QT_WARNING_PUSH
// Qt advises against this parser, and reads every QDomDocument by it: no other tells what that one
// will do, since all others refuse texts that it reads.
QT_WARNING_DISABLE_DEPRECATED

// Reads as QDomDocument does and stops where the parser would recurse too deeply.
class CDepthReader : private QXmlDefaultHandler, private QXmlInputSource {
public:
    explicit CDepthReader(int maxDepth)
        : m_nMaxDepth(maxDepth)
    {
    }

    std::optional<DepthExcess> read(const QString& text)
    {
        QXmlSimpleReader reader;
        reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
        reader.setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
        reader.setContentHandler(this);
        reader.setLexicalHandler(this);
        reader.setDeclHandler(this);
        setData(text);
        // An error of the text is the parser's to tell.
        reader.parse(*this);
        return m_excess;
    }

private:
    void setDocumentLocator(QXmlLocator* pLocator) override { m_pLocator = pLocator; }

    bool startElement(const QString&, const QString&, const QString&,
                      const QXmlAttributes&) override
    {
        return ++m_nDepth <= m_nMaxDepth || stop(QStringLiteral("elements"));
    }

    bool endElement(const QString&, const QString&, const QString&) override
    {
        --m_nDepth;
        return true;
    }

    bool startDTD(const QString&, const QString&, const QString&) override
    {
        m_bDocumentType = true;
        return true;
    }

    bool endDTD() override
    {
        m_bDocumentType = false;
        return true;
    }

    // What a parameter entity holds does not come by next(). Two of them may stand for one content
    // model, more the parser refuses.
    bool internalEntityDecl(const QString& name, const QString& value) override
    {
        return !name.startsWith(QLatin1Char('%')) || value.count(QLatin1Char('(')) <= m_nMaxDepth
            || stopInDocumentType();
    }

    QChar next() override
    {
        const QChar c = QXmlInputSource::next();
        if (m_bDocumentType) {
            const int nOpen = m_nBrackets + (c == QLatin1Char('(')) - (c == QLatin1Char(')'));
            m_nBrackets = c == QLatin1Char('>') ? 0 : std::max(nOpen, 0);
        }
        const bool bGoOn = !m_excess && (m_nBrackets <= m_nMaxDepth || stopInDocumentType());
        return bGoOn ? c : QChar(EndOfDocument);
    }

    bool stopInDocumentType() { return stop(QStringLiteral("brackets of the document type")); }

    bool stop(const QString& what)
    {
        m_excess = { what, m_pLocator->lineNumber(), m_pLocator->columnNumber() };
        return false;
    }

    int m_nMaxDepth;
    int m_nDepth = 0;
    int m_nBrackets = 0;
    bool m_bDocumentType = false;
    const QXmlLocator* m_pLocator = nullptr;
    std::optional<DepthExcess> m_excess;
};

QT_WARNING_POP

} // namespace

std::optional<DepthExcess> depthExcess(const QString& text, int maxDepth)
{
    return isFlat(text, maxDepth) ? std::nullopt : CDepthReader(maxDepth).read(text);
}

} // namespace KW
