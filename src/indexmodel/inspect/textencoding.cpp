#include "inspect/textencoding.h"

#include <QTextCodec>
#include <QVector>

#include <algorithm>

namespace inspect {

namespace {

struct NamedEncoding {
    TextEncoding encoding;
    const char* pszName; ///< which is the codec's, too
    QByteArray mark;
};

const QVector<NamedEncoding>& allEncodings()
{
    static const QVector<NamedEncoding> s_encodings {
        { TextEncoding::Utf8, "utf-8", "\xef\xbb\xbf" },
        { TextEncoding::Gbk, "gbk", {} },
        { TextEncoding::Gb18030, "gb18030", "\x84\x31\x95\x33" },
        { TextEncoding::Utf16LittleEndian, "utf-16le", "\xff\xfe" },
        { TextEncoding::Utf16BigEndian, "utf-16be", "\xfe\xff" },
    };
    return s_encodings;
}

const NamedEncoding& rowOf(TextEncoding encoding)
{
    return *std::find_if(allEncodings().begin(), allEncodings().end(),
                         [&](const NamedEncoding& row) { return row.encoding == encoding; });
}

struct Decoded {
    QString strText;
    bool bValid;
};

Decoded decodedBy(const QTextCodec& codec, const QByteArray& bytes)
{
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    const QString strText = codec.toUnicode(bytes.constData(), bytes.size(), &state);
    return { strText, state.invalidChars == 0 && state.remainingChars == 0 };
}

// Of most codecs only what they write again tells whether they understood what they read.
bool comesBack(const QTextCodec& codec, const QString& text, const QByteArray& bytes)
{
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    return codec.fromUnicode(text.constData(), text.size(), &state) == bytes;
}

// In a text of one character the other half of it is NUL, which no XML holds: these bytes would
// pass for UTF-8.
std::optional<TextEncoding> utf16Of(const QByteArray& bytes)
{
    if (bytes.startsWith(rowOf(TextEncoding::Utf16LittleEndian).mark)
        || bytes.startsWith(QByteArray("<\0", 2))) {
        return TextEncoding::Utf16LittleEndian;
    }
    if (bytes.startsWith(rowOf(TextEncoding::Utf16BigEndian).mark)
        || bytes.startsWith(QByteArray("\0<", 2))) {
        return TextEncoding::Utf16BigEndian;
    }
    return std::nullopt;
}

// In GBK hardly three bytes in a row are a character of UTF-8, where every Chinese one has three.
bool isDamagedUtf8(const QByteArray& bytes)
{
    const QString strText = QString::fromUtf8(bytes);
    const auto nReplaced
        = std::count(strText.begin(), strText.end(), QChar(QChar::ReplacementCharacter));
    const auto nLong = std::count_if(strText.begin(), strText.end(), [](QChar c) {
        return c.unicode() >= 0x0800 && c != QChar::ReplacementCharacter;
    });
    return nLong > nReplaced;
}

std::optional<TextEncoding> probableEncoding(const QByteArray& bytes)
{
    if (const auto wide = utf16Of(bytes)) {
        return decoded(bytes, *wide) ? wide : std::nullopt;
    }
    if (!isDamagedUtf8(bytes)) {
        for (const TextEncoding encoding : { TextEncoding::Gbk, TextEncoding::Gb18030 }) {
            if (decoded(bytes, encoding)) {
                return encoding;
            }
        }
    }
    return std::nullopt;
}

// How many characters of a line stand before its first bad byte.
int charactersBefore(const QTextCodec& codec, const QByteArray& line)
{
    int nGood = 0;
    int nBad = line.size();
    while (nBad - nGood > 1) {
        const int nMiddle = nGood + (nBad - nGood) / 2;
        QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
        codec.toUnicode(line.constData(), nMiddle, &state);
        (state.invalidChars == 0 ? nGood : nBad) = nMiddle;
    }
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    return codec.toUnicode(line.constData(), nGood, &state).size();
}

// No line feed is part of a longer character, so lines can be looked at one by one.
TextPosition firstOther(const QByteArray& bytes)
{
    const QTextCodec& codec = *QTextCodec::codecForName("utf-8");
    int nLine = 1;
    for (int nBegin = 0; nBegin < bytes.size(); ++nLine) {
        const int nFeed = bytes.indexOf('\n', nBegin);
        const int nEnd = nFeed < 0 ? bytes.size() : nFeed;
        const QByteArray line = QByteArray::fromRawData(bytes.constData() + nBegin, nEnd - nBegin);
        if (!decodedBy(codec, line).bValid) {
            return { nLine, charactersBefore(codec, line) + 1 };
        }
        nBegin = nEnd + 1;
    }
    return { 1, 1 };
}

} // namespace

QString encodingName(TextEncoding encoding)
{
    return QLatin1String(rowOf(encoding).pszName);
}

QStringList encodingNames()
{
    QStringList names;
    for (const NamedEncoding& row : allEncodings()) {
        names.append(QLatin1String(row.pszName));
    }
    return names;
}

std::optional<TextEncoding> encodingOf(const QString& name)
{
    const int nFound = encodingNames().indexOf(name.toLower());
    return nFound < 0 ? std::nullopt : std::make_optional(allEncodings()[nFound].encoding);
}

std::optional<QString> decoded(const QByteArray& bytes, TextEncoding encoding)
{
    const NamedEncoding& row = rowOf(encoding);
    const QTextCodec& codec = *QTextCodec::codecForName(row.pszName);
    const bool bMarked = !row.mark.isEmpty() && bytes.startsWith(row.mark);
    const QByteArray plain = bMarked ? bytes.mid(row.mark.size()) : bytes;
    const Decoded text = decodedBy(codec, plain);
    if (encoding == TextEncoding::Utf8) {
        return text.bValid && !utf16Of(bytes) ? std::make_optional(text.strText) : std::nullopt;
    }
    // The codec gives this byte a private character, and takes it back.
    const bool bPadded = encoding == TextEncoding::Gbk && bytes.contains('\xff');
    return text.bValid && !bPadded && text.strText.isValidUtf16()
            && comesBack(codec, text.strText, plain)
        ? std::make_optional(text.strText)
        : std::nullopt;
}

std::optional<EncodingFault> encodingFault(const QByteArray& bytes)
{
    if (decoded(bytes, TextEncoding::Utf8)) {
        return std::nullopt;
    }
    return EncodingFault { utf16Of(bytes) ? TextPosition { 1, 1 } : firstOther(bytes),
                           probableEncoding(bytes) };
}

} // namespace inspect
