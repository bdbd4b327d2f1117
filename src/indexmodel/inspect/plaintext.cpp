#include "inspect/plaintext.h"

#include <format/readabletext.h>

#include <algorithm>

namespace inspect {

namespace {

// File systems take 255 bytes, and a date and .csv follow the name.
constexpr int c_nLongestName = 255 - 12;

bool isBetween(QChar c, ushort first, ushort last)
{
    return c.unicode() >= first && c.unicode() <= last;
}

bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control || c == QChar(0x061c)
        || isBetween(c, 0x200e, 0x200f) || isBetween(c, 0x2028, 0x202e)
        || isBetween(c, 0x2066, 0x2069);
}

template <typename Form> QString rewritten(const QString& text, const QString& kept, Form form)
{
    const auto isMeant = [&](QChar c) { return isControl(c) && !kept.contains(c); };
    QString strResult;
    auto it = text.begin();
    while (it != text.end()) {
        const auto found = std::find_if(it, text.end(), isMeant);
        strResult.append(it, static_cast<int>(found - it));
        it = found;
        if (it != text.end()) {
            strResult += form(*it++);
        }
    }
    return strResult;
}

} // namespace

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.begin(), text.end(), isControl);
}

QString textError(const QString& text)
{
    if (hasControlCharacter(text)) {
        return QStringLiteral("holds a control character");
    }
    return KW::readableText(text) == text
        ? QString()
        : QStringLiteral("holds a character that no file can hold");
}

QString harmless(const QString& text, LineEnds lineEnds)
{
    const QString strKept = lineEnds == LineEnds::Kept ? QStringLiteral("\n") : QString();
    return rewritten(text, strKept, [](QChar c) {
        return QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    });
}

QString withReferences(const QString& xml)
{
    return rewritten(xml, QStringLiteral("\t\n"),
                     [](QChar c) { return QStringLiteral("&#x%1;").arg(c.unicode(), 0, 16); });
}

QString fileNameError(const QString& name)
{
    if (name.isEmpty()) {
        return QStringLiteral("is empty");
    }
    if (name.startsWith(QLatin1Char('.'))) {
        return QStringLiteral("begins with a dot");
    }
    // Clients on Windows take either for the end of a directory.
    if (name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\'))) {
        return QStringLiteral("holds '/' or '\\'");
    }
    if (name.trimmed().isEmpty()) {
        return QStringLiteral("holds nothing but blanks");
    }
    const QString strError = textError(name);
    if (!strError.isEmpty()) {
        return strError;
    }
    return name.toUtf8().size() > c_nLongestName
        ? QStringLiteral("is longer than %1 bytes").arg(c_nLongestName)
        : QString();
}

} // namespace inspect
