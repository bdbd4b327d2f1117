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

/// Where the elements and attributes of a document stand in the text that it was read from.
/// The parser itself knows only where the tags of elements end.
class CTextPositions {
public:
    /// \a text must be well-formed. With a document type in it nothing is known, since entities
    /// bring elements that do not stand in the text.
    explicit CTextPositions(const QString& text);

    /// The tag of the element that is the \a index-th in document order, the root being 0.
    TextPosition ofElement(int index) const;
    TextPosition ofOffset(int offset) const;
    /// The attribute \a name in that tag; the tag itself when it is not there.
    TextPosition ofAttribute(int index, const QString& name) const;

private:
    struct Tag {
        int nBegin;
        int nEnd;
    };

    QString m_strText;
    QVector<Tag> m_tags;
    QVector<int> m_lineStarts;
};

} // namespace inspect
