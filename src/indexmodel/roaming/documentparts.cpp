#include "roaming/documentparts.h"

namespace roaming {

namespace {

// Where the next part begins after \a from; the end of the text if none does.
int nextBegin(const QByteArray& text, int from)
{
    for (int i = text.indexOf("\n<", from); i >= 0; i = text.indexOf("\n<", i + 1)) {
        if (i + 2 == text.size() || text[i + 2] != '/') {
            return i + 1;
        }
    }
    return text.size();
}

} // namespace

QVector<QByteArray> partsOf(const QByteArray& text)
{
    QVector<QByteArray> parts;
    for (int i = 0; i < text.size();) {
        const bool bLast = parts.size() == c_nMostParts - 1;
        const int nEnd = bLast ? text.size() : nextBegin(text, i);
        parts.append(text.mid(i, nEnd - i));
        i = nEnd;
    }
    return parts;
}

} // namespace roaming
