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

// A '>' within quotes does not end a tag.
int tagEnd(const QString& text, int position)
{
    QChar quote;
    for (; position < text.size(); ++position) {
        const QChar c = text.at(position);
        if (!quote.isNull()) {
            quote = c == quote ? QChar() : quote;
        } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            quote = c;
        } else if (c == QLatin1Char('>')) {
            break;
        }
    }
    return position;
}

// Agrees with the parser as far as the text is well-formed; behind an error nothing is parsed.
int markupDepth(const QString& text)
{
    int nDepth = 0;
    int nDeepest = 0;
    for (int i = text.indexOf(QLatin1Char('<')); i >= 0; i = text.indexOf(QLatin1Char('<'), i)) {
        if (standsAt(text, i, QLatin1String("<!--"))) {
            i = positionAfter(text, QStringLiteral("-->"), i + 4);
        } else if (standsAt(text, i, QLatin1String("<![CDATA["))) {
            i = positionAfter(text, QStringLiteral("]]>"), i);
        } else if (standsAt(text, i, QLatin1String("<?"))) {
            i = positionAfter(text, QStringLiteral("?>"), i);
        } else if (standsAt(text, i, QLatin1String("</"))) {
            --nDepth;
            ++i;
        } else {
            i = tagEnd(text, i);
            nDeepest = std::max(nDeepest, nDepth + 1);
            nDepth += text.at(i - 1) == QLatin1Char('/') ? 0 : 1;
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
    const bool bEntities = text.contains(QLatin1String("<!DOCTYPE"));
    return (bEntities ? expandedDepth(text) : markupDepth(text)) > c_nMaxDepth;
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
    QDomElement child = node.firstChildElement();
    while (!child.isNull()) {
        const QDomElement next = child.nextSiblingElement();
        if (levels == 0) {
            dismantle(node.removeChild(child));
        } else {
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

QString readableText(const QString& text)
{
    int i = 0;
    while (i < text.size() && isReadable(text, i)) {
        ++i;
    }
    QString readable = text.left(i);
    for (; i < text.size(); ++i) {
        if (isReadable(text, i)) {
            readable += text.at(i);
        }
    }
    return readable;
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
