#pragma once

#include <QByteArray>
#include <QVector>

namespace mend {

enum class MarkKind {
    Begin, ///< <tag ...>
    End, ///< </tag>
    Empty, ///< <tag .../>
    Text, ///< characters between tags that are not white space only
    Tear, ///< what no XML can hold, up to the next '<'
};

/// Where something stands in a text, in bytes.
struct Mark {
    MarkKind kind;
    int nBegin;
    int nEnd;
    int nName; ///< the length of the name in a tag; what is left of it in a torn one, or 0
};

/// One attribute of a tag, in bytes.
struct AttributeSpan {
    int nBegin;
    int nNameEnd;
    int nEnd; ///< behind the closing quote
};

/// Everything in \a text but white space, comments, CDATA sections and instructions, one behind the
/// other. Stricter than the parser, which takes some torn tags for whole ones: a tag has to be one
/// by the letter of XML, with no attribute twice; bytes that are no UTF-8, NUL, an '&' that refers
/// to nothing and a text that ends a tag are torn. Entities of a document type count as nothing.
/// Time is linear. Any thread.
///
///     for (const mend::Mark& mark : mend::marksOf(bytes)) { ... mend::nameOf(bytes, mark) ... }
QVector<Mark> marksOf(const QByteArray& text);

/// The name in the tag of \a mark. Shares the bytes of \a text, which has to live longer.
QByteArray nameOf(const QByteArray& text, const Mark& mark);

/// The whole attributes of a tag or a torn tag that follow its name, up to the first that is torn.
QVector<AttributeSpan> firstAttributes(const QByteArray& text, const Mark& mark);

/// The whole attributes in front of the end of a tag whose beginning is torn; none if \a mark has
/// no such end.
QVector<AttributeSpan> lastAttributes(const QByteArray& text, const Mark& mark);

} // namespace mend
