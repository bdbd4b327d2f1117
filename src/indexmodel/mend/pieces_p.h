#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QDomDocument>
#include <QHash>
#include <QVector>

namespace mend {

enum class PieceKind {
    Whole, ///< an element from its tag to its end, without a tear
    Begin, ///< the whole tag of an element that is torn
    End, ///< the end of one
    Tear,
};

/// Elements of which a file has at most one, by name, with the elements around them from the root
/// on.
using Holders = QHash<QByteArray, QByteArrayList>;

/// A part of a torn file: what is whole, or what is left of what is not.
struct Piece {
    PieceKind kind;
    int nBegin; ///< in bytes
    int nEnd;
    QByteArray name; ///< of the element; of a torn tag what is left of it
    QByteArray left; ///< the holder that begins in front of it, with no tear in between
    QByteArray right; ///< the holder that ends behind it, likewise
    QByteArray around; ///< the innermost holder that begins somewhere before and ends behind
    /// Of a whole holder: it alone, with what stands around it. The parser has taken it.
    QDomDocument document;
};

/// The pieces of \a text in their order; their names share its bytes. A whole element is one piece,
/// unless it is the root, or a holder that the parser refuses: these are taken apart. Where an end
/// belongs to no beginning, everything that is open there is torn, since a block may be missing
/// between. So is an element of this format that holds characters, which it never does. Linear. Any
/// thread.
QVector<Piece> piecesOf(const QByteArray& text, const Holders& holders);

/// All of \a piece; shares the bytes of \a text.
QByteArray bytesOf(const QByteArray& text, const Piece& piece);

/// \a content within \a elements as a document; empty if the parser refuses it.
QDomDocument documentWithin(const QByteArrayList& elements, const QByteArray& content);

} // namespace mend
