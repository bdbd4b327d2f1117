#include "format/userdocument.h"

#include "format/documentdepth_p.h"
#include "format/documentreader_p.h"
#include "format/documentwriter_p.h"
#include "format/readabletext.h"

#include <QVector>

namespace KW {

namespace {

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

// The levels between are hundreds.
QString shortPath(const QDomNode& element)
{
    QStringList names;
    for (QDomNode each = element; each.isElement(); each = each.parentNode()) {
        names.prepend(each.nodeName());
    }
    const QStringList shown = names.mid(0, 4) + QStringList { QStringLiteral("..."), names.last() };
    return QLatin1Char('/') + shown.join(QLatin1Char('/'));
}

void cutBelow(QDomNode node, int levels, QStringList& cut)
{
    QDomNode child = node.firstChild();
    while (!child.isNull()) {
        const QDomNode next = child.nextSibling();
        if (levels == 0 && child.isElement()) {
            cut.append(shortPath(child));
            dismantle(node.removeChild(child));
        } else if (child.hasChildNodes()) {
            cutBelow(child, levels - 1, cut);
        }
        child = next;
    }
}

} // namespace

UserDocument parseUserDocument(const QString& text)
{
    UserDocument result;
    if (const std::optional<QDomDocument> document = readDocument(text, c_nMaxDepth)) {
        result.document = *document;
    } else if (const std::optional<DepthExcess> excess = depthExcess(text, c_nMaxDepth)) {
        result.error = DocumentError::TooDeep;
        result.strError = QStringLiteral("%1 are nested deeper than %2 levels")
                              .arg(excess->strWhat, QString::number(c_nMaxDepth));
        result.nLine = excess->nLine;
        result.nColumn = excess->nColumn;
    } else if (!result.document.setContent(text, &result.strError, &result.nLine,
                                           &result.nColumn)) {
        result.error = DocumentError::Malformed;
        // Qt keeps the part of the tree that it read before the error.
        result.document = QDomDocument();
    }
    return result;
}

UserDocumentText userDocumentText(QDomDocument& doc)
{
    if (std::optional<std::string> written = writtenDocument(doc, c_nMaxDepth)) {
        return { std::move(*written), {} };
    }
    UserDocumentText result;
    cutBelow(doc, c_nMaxDepth, result.cut);
    result.strUtf8 = readableText(doc.toString(4)).toStdString();
    return result;
}

} // namespace KW
