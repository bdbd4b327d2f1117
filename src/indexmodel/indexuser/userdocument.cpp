#include "indexuser/userdocument.h"

#include <QVector>
#include <QXmlStreamReader>

#include <algorithm>

namespace KW {

namespace {

int positionAfter(const QString& text, const QString& end, int from)
{
    const int nFound = text.indexOf(end, from);
    return nFound < 0 ? text.size() : nFound + end.size();
}

bool standsAt(const QString& text, int position, QLatin1String word)
{
    return text.midRef(position, word.size()) == word;
}

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
        return positionAfter(text, QStringLiteral("-->"), position + 4);
    }
    const bool bData = standsAt(text, position, QLatin1String("<![CDATA["));
    return positionAfter(text, bData ? QStringLiteral("]]>") : QStringLiteral("?>"), position);
}

constexpr int c_nEntities = -1;

// Agrees with the parser as far as the text is well-formed; behind an error nothing is parsed. With
// a document type it is c_nEntities: the text does not tell.
int markupDepth(const QString& text)
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
            return c_nEntities;
        } else {
            i = declarationEnd(text, i);
        }
    }
    return nDeepest;
}

// Entities nest elements that the text does not show, so a reader has to follow them. It is
// stricter than QDomDocument: what it refuses counts as too deep.
int expandedDepth(const QString& text)
{
    QXmlStreamReader reader(text);
    int nDepth = 0;
    int nDeepest = 0;
    while (!reader.atEnd() && nDeepest <= c_nMaxDepth) {
        reader.readNext();
        nDepth += reader.isStartElement() ? 1 : reader.isEndElement() ? -1 : 0;
        nDeepest = std::max(nDeepest, nDepth);
    }
    return reader.hasError() ? c_nMaxDepth + 1 : nDeepest;
}

bool isTooDeep(const QString& text)
{
    const int nDepth = markupDepth(text);
    return (nDepth == c_nEntities ? expandedDepth(text) : nDepth) > c_nMaxDepth;
}

// Qt destroys a tree recursively; this takes it apart level by level.
void dismantle(const QDomNode& top)
{
    QVector<QDomNode> pending { top };
    while (!pending.isEmpty()) {
        QDomNode node = pending.takeLast();
        while (node.hasChildNodes()) {
            pending.append(node.removeChild(node.firstChild()));
        }
    }
}

void cutBelow(QDomNode node, int levels)
{
    QDomNode child = node.firstChild();
    while (!child.isNull()) {
        const QDomNode next = child.nextSibling();
        if (levels == 0 && child.isElement()) {
            dismantle(node.removeChild(child));
        } else if (child.hasChildNodes()) {
            cutBelow(child, levels - 1);
        }
        child = next;
    }
}

bool isReadable(const QString& text, int position)
{
    const QChar c = text.at(position);
    if (c.isHighSurrogate()) {
        return position + 1 < text.size() && text.at(position + 1).isLowSurrogate();
    }
    if (c.isLowSurrogate()) {
        return position > 0 && text.at(position - 1).isHighSurrogate();
    }
    return !c.isNull() && c != QChar(0xfffe) && c != QChar(0xffff);
}

// Most texts have only such characters, and then nothing has to be looked at more closely.
bool isPlain(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return c.unicode() - 1U < 0xd800U - 1U; });
}

QString readableText(const QString& text)
{
    if (isPlain(text)) {
        return text;
    }
    QString strReadable;
    strReadable.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        if (isReadable(text, i)) {
            strReadable += text.at(i);
        }
    }
    return strReadable;
}

} // namespace

UserDocument parseUserDocument(const QString& text)
{
    UserDocument result;
    if (isTooDeep(text)) {
        result.strError
            = QStringLiteral("elements are nested deeper than %1 levels").arg(c_nMaxDepth);
    } else if (!result.document.setContent(text, &result.strError, &result.nLine,
                                           &result.nColumn)) {
        // Qt keeps the part of the tree that it read before the error.
        result.document = QDomDocument();
    }
    return result;
}

QString userDocumentText(QDomDocument& doc)
{
    cutBelow(doc, c_nMaxDepth);
    return readableText(doc.toString(4));
}

} // namespace KW
