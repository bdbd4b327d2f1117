#include "format/readabletext.h"

#include <algorithm>

namespace KW {

namespace {

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

} // namespace

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

} // namespace KW
