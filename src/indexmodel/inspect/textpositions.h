#pragma once

#include <QDomElement>
#include <QHash>
#include <QString>
#include <QVector>

namespace inspect {

/// A place in a text, from 1; 0 when it is not known.
struct TextPosition {
    int nLine = 0;
    int nColumn = 0;
};

/// A part of a text: from one offset up to another.
struct TextSpan {
    int nBegin;
    int nEnd;
};

/// Characters within an element, up to the next markup.
struct CharacterData {
    TextSpan span;
    int nElement; ///< the index of the element
    bool bWhole; ///< they are all that the element holds, or stand beside a CDATA section
};

/// Where the parts of a document stand in the text that it was read from. The parser itself knows
/// only where they end. An index counts from 0 in document order, over parts of one kind.
class CTextPositions {
public:
    /// \a text must be well-formed. If it declares entities, which bring parts that do not stand in
    /// the text, only the document type and the root are known.
    explicit CTextPositions(const QString& text);

    /// The tag of an element, the root being 0.
    TextPosition ofElement(int index) const;
    /// Comments in a document type count.
    TextPosition ofComment(int index) const;
    /// The XML declaration counts.
    TextPosition ofInstruction(int index) const;
    TextPosition ofDocumentType() const;
    TextPosition ofOffset(int offset) const;
    /// The attribute \a name in that tag; the tag itself when it is not there.
    TextPosition ofAttribute(int index, const QString& name) const;

    /// Whether the text declares entities.
    bool hasEntities() const { return m_bEntities; }
    /// The tags that begin an element, each without its '>'.
    const QVector<TextSpan>& tags() const { return m_tags; }
    const QVector<CharacterData>& characters() const { return m_characters; }

private:
    int skipMarkup(int offset);
    int skipDeclaration(int offset);
    int skipTag(int offset);
    void addCharacters(int markup, int begin, int end);
    TextPosition ofMark(const QVector<int>& offsets, int index) const;
    const QHash<QString, int>& attributesOf(int index) const;

    QString m_strText;
    QVector<TextSpan> m_tags;
    QVector<CharacterData> m_characters;
    QVector<int> m_open; // elements, while the text is looked through
    QVector<int> m_comments;
    QVector<int> m_instructions;
    int m_nDocumentType = -1;
    bool m_bEntities = false;
    QVector<int> m_lineStarts;
    // The attributes of the tag that was asked for last: who asks for one asks for more.
    mutable int m_nNamedTag = -1;
    mutable QHash<QString, int> m_attributes;
};

} // namespace inspect
