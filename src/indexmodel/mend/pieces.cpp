#include "mend/pieces_p.h"

#include "mend/marks_p.h"

#include <format/sections.h>
#include <format/userdocument.h>

namespace mend {

namespace {

class CPieceReader {
public:
    CPieceReader(const QByteArray& text, const Holders& holders)
        : m_text(text)
        , m_holders(holders)
        , m_marks(marksOf(text))
        , m_ends(m_marks.size(), -1)
    {
    }

    QVector<Piece> read()
    {
        match();
        addPieces();
        lookLeft();
        lookRight();
        lookAround();
        return m_pieces;
    }

private:
    QByteArray name(int mark) const { return nameOf(m_text, m_marks[mark]); }

    bool holdsNoText(int mark)
    {
        const QByteArray tag = name(mark);
        auto it = m_ruled.find(tag);
        if (it == m_ruled.end()) {
            it = m_ruled.insert(tag, KW::findRule(QString::fromUtf8(tag)) != nullptr);
        }
        return *it;
    }

    // A tear, or an end without its beginning, tears all that is open.
    void match()
    {
        QVector<int> open;
        for (int i = 0; i < m_marks.size(); ++i) {
            Mark& mark = m_marks[i];
            if (mark.kind == MarkKind::Begin) {
                open.append(i);
            } else if (mark.kind == MarkKind::End && !open.isEmpty()
                       && name(open.constLast()) == name(i)) {
                m_ends[open.takeLast()] = i;
            } else if (mark.kind == MarkKind::Text && !open.isEmpty()
                       && holdsNoText(open.constLast())) {
                mark.kind = MarkKind::Tear;
                open.clear();
            } else if (mark.kind == MarkKind::End || mark.kind == MarkKind::Tear) {
                open.clear();
            }
        }
    }

    void addPieces()
    {
        for (int i = 0; i < m_marks.size(); ++i) {
            const Mark& mark = m_marks[i];
            if (mark.kind == MarkKind::Text) {
                continue;
            }
            const int nLast = mark.kind == MarkKind::Empty ? i : m_ends[i];
            const bool bRoot = i == 0 && nLast == m_marks.size() - 1;
            if (!bRoot && nLast >= 0 && addWhole(i, nLast)) {
                i = nLast;
            } else {
                add(kindOf(mark.kind), i, i);
            }
        }
    }

    static PieceKind kindOf(MarkKind kind)
    {
        return kind == MarkKind::Begin ? PieceKind::Begin
            : kind == MarkKind::End    ? PieceKind::End
                                       : PieceKind::Tear;
    }

    Piece& add(PieceKind kind, int first, int last)
    {
        m_pieces.append(
            { kind, m_marks[first].nBegin, m_marks[last].nEnd, name(first), {}, {}, {}, {} });
        return m_pieces.last();
    }

    bool addWhole(int first, int last)
    {
        const auto it = m_holders.find(name(first));
        if (it == m_holders.end()) {
            add(PieceKind::Whole, first, last);
            return true;
        }
        const int nBegin = m_marks[first].nBegin;
        const QDomDocument document = documentWithin(
            *it, QByteArray::fromRawData(m_text.constData() + nBegin, m_marks[last].nEnd - nBegin));
        if (it->isEmpty() || document.isNull()) {
            return false;
        }
        add(PieceKind::Whole, first, last).document = document;
        return true;
    }

    bool isHolder(const Piece& piece) const { return m_holders.contains(piece.name); }

    void lookLeft()
    {
        QByteArray holder;
        for (Piece& piece : m_pieces) {
            piece.left = holder;
            if (piece.kind == PieceKind::Begin) {
                holder = isHolder(piece) ? piece.name : holder;
            } else if (piece.kind != PieceKind::Whole) {
                holder.clear();
            }
        }
    }

    void lookRight()
    {
        QByteArray holder;
        for (auto it = m_pieces.rbegin(); it != m_pieces.rend(); ++it) {
            it->right = holder;
            if (it->kind == PieceKind::End) {
                holder = isHolder(*it) ? it->name : holder;
            } else if (it->kind != PieceKind::Whole) {
                holder.clear();
            }
        }
    }

    void lookAround()
    {
        QHash<QByteArray, int> lastEnds;
        for (int i = 0; i < m_pieces.size(); ++i) {
            if (m_pieces[i].kind == PieceKind::End && isHolder(m_pieces[i])) {
                lastEnds.insert(m_pieces[i].name, i);
            }
        }
        QByteArrayList open;
        for (int i = 0; i < m_pieces.size(); ++i) {
            Piece& piece = m_pieces[i];
            if (lastEnds.value(piece.name, -1) == i) {
                open.removeAll(piece.name);
            }
            piece.around = open.isEmpty() ? QByteArray() : open.constLast();
            if (piece.kind == PieceKind::Begin && lastEnds.value(piece.name, -1) > i) {
                open.append(piece.name);
            }
        }
    }

    const QByteArray& m_text;
    const Holders& m_holders;
    QVector<Mark> m_marks;
    QVector<int> m_ends; // of the element that a mark begins; -1 for what is torn
    QHash<QByteArray, bool> m_ruled;
    QVector<Piece> m_pieces;
};

} // namespace

QVector<Piece> piecesOf(const QByteArray& text, const Holders& holders)
{
    return CPieceReader(text, holders).read();
}

QByteArray bytesOf(const QByteArray& text, const Piece& piece)
{
    return QByteArray::fromRawData(text.constData() + piece.nBegin, piece.nEnd - piece.nBegin);
}

QDomDocument documentWithin(const QByteArrayList& elements, const QByteArray& content)
{
    QByteArray begin;
    QByteArray end;
    for (const QByteArray& each : elements) {
        begin += '<' + each + '>';
        end.prepend("</" + each + '>');
    }
    return KW::parseUserDocument(QString::fromUtf8(begin + content + end)).document;
}

} // namespace mend
