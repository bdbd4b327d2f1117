#include "inspect/secretmask.h"

#include "inspect/optionvalues.h"
#include "inspect/textencoding.h"
#include "inspect/userfile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextCodec>
#include <QUrl>
#include <QVector>

#include <algorithm>

namespace inspect {

namespace {

constexpr int c_nShortestSought = 4; // shorter ones are part of everything
constexpr int c_nEscapes = 3; // a document in a setting in a log
constexpr auto c_pattern
    = QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption;

QString hidden()
{
    return QStringLiteral("(hidden)");
}

// A text in which each character is a byte, so that what is not understood stays as it is: markup
// is ASCII, which no byte of a longer character looks like but in UTF-16. There it is the text.
struct View {
    QString strText;
    std::optional<TextEncoding> wide;
    QByteArray mark;
};

// Qt's own of a byte array ends at a NUL.
QString byBytes(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.constData(), bytes.size());
}

View viewOf(const QByteArray& bytes)
{
    const auto fault = bytes.contains('\0') ? encodingFault(bytes) : std::nullopt;
    const auto encoding = fault ? fault->probable : std::nullopt;
    if (encoding != TextEncoding::Utf16LittleEndian && encoding != TextEncoding::Utf16BigEndian) {
        return { byBytes(bytes), std::nullopt, {} };
    }
    const bool bMark = bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff");
    return { *decoded(bytes, *encoding), encoding, bMark ? bytes.left(2) : QByteArray() };
}

QByteArray encoded(const QString& text, const char* pszCodec)
{
    const QTextCodec* const pCodec = QTextCodec::codecForName(pszCodec);
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    return pCodec->fromUnicode(text.constData(), text.size(), &state);
}

QByteArray bytesOf(const View& view, const QString& text)
{
    return view.wide ? view.mark + encoded(text, encodingName(*view.wide).toLatin1().constData())
                     : text.toLatin1();
}

enum class Kept { Secret, Open };

QStringList namesOf(Kept kept)
{
    QStringList all;
    for (const KW::OptionRow& row : KW::optionTable()) {
        if ((row.meaning == KW::OptionMeaning::Secret) == (kept == Kept::Secret)) {
            all.append(row.strAttribute);
        }
    }
    return all;
}

QString secretNames()
{
    return "(?:" + namesOf(Kept::Secret).join('|') + ')';
}

// What a torn name leaves.
QString nameParts()
{
    const QStringList all = namesOf(Kept::Secret);
    QStringList parts = all; // the whole name before its half
    for (const QString& name : all) {
        parts << name.left(name.size() / 2) << name.right(name.size() / 2);
    }
    return "(?:" + parts.join('|') + ')';
}

QRegularExpression patternOf(TextKind kind)
{
    switch (kind) {
    case TextKind::Document:
        return QRegularExpression(
            secretNames() + R"(\s*=\s*(?:"([^"]*+)(?:"|\z)|'([^']*+)(?:'|\z)))", c_pattern);
    case TextKind::Log:
        return QRegularExpression(nameParts() + R"(([^\r\n]*+))", c_pattern);
    case TextKind::JsonLines:
        return QRegularExpression(nameParts() + R"(((?:[^"\\\r\n]++|\\.)*+))", c_pattern);
    case TextKind::Answer:
        break;
    }
    return QRegularExpression(QStringLiteral("(?!)"));
}

struct Place {
    int nBegin; ///< of the name
    int nValue;
    QString strValue;
    int nEnd; ///< behind the value and its quotation mark
};

QVector<Place> placesIn(const QString& text, TextKind kind)
{
    QVector<Place> places;
    auto matches = patternOf(kind).globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const int nGroup = match.lastCapturedIndex();
        places.append({ match.capturedStart(), match.capturedStart(nGroup), match.captured(nGroup),
                        match.capturedEnd() });
    }
    return places;
}

QString withoutNul(QString text)
{
    return text.remove(QChar(u'\0'));
}

QString characterOf(const QRegularExpressionMatch& match)
{
    static const QStringList s_named {
        "amp", "&", "lt", "<", "gt", ">", "quot", "\"", "apos", "'"
    };
    const QString strNamed = match.captured(3).toLower();
    if (!strNamed.isEmpty()) {
        return s_named[s_named.indexOf(strNamed) + 1];
    }
    const bool bDecimal = match.capturedLength(2) > 0;
    const uint nCode
        = match.captured(match.lastCapturedIndex()).toUInt(nullptr, bDecimal ? 10 : 16);
    const bool bHalf = nCode <= 0xffff; // maybe of a surrogate pair
    return bHalf ? QString(QChar(static_cast<ushort>(nCode))) : QString::fromUcs4(&nCode, 1);
}

QString unescapedOnce(const QString& text)
{
    static const QRegularExpression s_escape(
        R"(&#x([0-9a-f]+);|&#([0-9]+);|&(amp|lt|gt|quot|apos);|\\u([0-9a-f]{4})|%([0-9a-f]{2}))",
        c_pattern);
    QString strAll;
    int nEnd = 0;
    auto matches = s_escape.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        strAll += text.midRef(nEnd, match.capturedStart() - nEnd) + characterOf(match);
        nEnd = match.capturedEnd();
    }
    return strAll + text.midRef(nEnd);
}

QString unescaped(QString text)
{
    for (int i = 0; i < c_nEscapes; ++i) {
        text = unescapedOnce(text);
    }
    return text;
}

// A value is bytes where the view is, in an encoding that the whole may not be in.
QString meaningOf(const View& view, const QString& value)
{
    if (view.wide) {
        return value;
    }
    for (const TextEncoding each :
         { TextEncoding::Utf8, TextEncoding::Gbk, TextEncoding::Gb18030 }) {
        if (const auto text = decoded(value.toLatin1(), each)) {
            return *text;
        }
    }
    return value;
}

void collectSecrets(const QDomElement& root, QStringList& values)
{
    const QStringList all = namesOf(Kept::Secret);
    for (const QString& name : all) {
        values.append(root.attribute(name));
    }
    for (QDomElement each = root.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        collectSecrets(each, values);
    }
}

struct Read {
    bool bWhole;
    QStringList secrets; ///< as the parser finds them, with empty ones
};

Read readAs(const QByteArray& bytes)
{
    const UserFile file = userFileOf({ FileState::Whole, bytes, {} });
    Read read { file.state == FileState::Whole, {} };
    collectSecrets(file.document.documentElement(), read.secrets);
    return read;
}

QStringList escapedForms(const QString& value)
{
    const QByteArray json
        = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact); // ["..."]
    return { value,
             value.toHtmlEscaped(),
             value.toHtmlEscaped().replace('\'', "&apos;"),
             value.toHtmlEscaped().replace('\'', "&#39;"),
             QString::fromUtf8(json.mid(2).chopped(2)),
             QString::fromLatin1(QUrl::toPercentEncoding(value)) };
}

// All that a value may look like in a view.
QStringList formsOf(const QString& value, bool wide)
{
    QStringList forms;
    const QStringList escaped = escapedForms(value);
    for (const QString& form : escaped) {
        if (wide) {
            forms.append(form);
            continue;
        }
        for (const char* pszCodec : { "utf-8", "gb18030", "utf-16le", "utf-16be" }) {
            forms.append(byBytes(encoded(form, pszCodec)));
        }
    }
    forms.removeDuplicates();
    return forms;
}

int hideAll(QString& text, const QStringList& forms)
{
    int nFound = 0;
    for (const QString& form : forms) {
        nFound += text.count(form);
        text.replace(form, hidden());
    }
    return nFound;
}

bool holds(const QString& text, const QString& pattern)
{
    return text.contains(QRegularExpression(pattern, c_pattern));
}

// The options are one tag: where some of them are, the secret is near.
bool holdsOptions(const QString& text)
{
    return holds(text, "(?:" + namesOf(Kept::Open).join('|') + R"()\s*=)");
}

bool isTorn(const Place& place)
{
    return std::any_of(place.strValue.begin(), place.strValue.end(),
                       [](QChar c) { return c == '<' || c == '=' || c < ' '; });
}

bool isText(const QByteArray& bytes, const QString& text)
{
    const auto fault = encodingFault(bytes);
    return !fault || fault->probable || text.contains(rootTag());
}

// What a parser does not vouch for may be torn anywhere, also in the secret and its name.
QString doubtOfTorn(const QByteArray& bytes, const QString& rest, const QVector<Place>& places)
{
    if (!isText(bytes, withoutNul(byBytes(bytes)))) {
        return QStringLiteral("it is no text");
    }
    if (std::any_of(places.begin(), places.end(), isTorn)) {
        return QStringLiteral("it is torn where a secret stands");
    }
    if (holds(rest, nameParts())) {
        return QStringLiteral("it names a part of a secret");
    }
    return places.isEmpty() && holdsOptions(rest)
        ? QStringLiteral("it has options, and the secret is not among them")
        : QString();
}

QString doubtOfWhole(const QStringList& secrets, const QVector<Place>& places)
{
    const bool bAll = std::all_of(secrets.begin(), secrets.end(), [&](const QString& secret) {
        return secret.isEmpty()
            || std::any_of(places.begin(), places.end(), [&](const Place& place) {
                   const QString strMeant = unescaped(QString::fromUtf8(place.strValue.toLatin1()));
                   return strMeant.simplified() == unescaped(secret).simplified();
               });
    });
    return bAll ? QString() : QStringLiteral("a secret stands where none is looked for");
}

QString doubtOf(const QByteArray& bytes, TextKind kind, const QString& rest,
                const QVector<Place>& places)
{
    const QString strBare = unescaped(withoutNul(rest));
    if (kind != TextKind::Answer && holds(strBare, secretNames())) {
        return QStringLiteral("it names a secret where no value is looked for");
    }
    if (kind != TextKind::Document) {
        return {};
    }
    if (holds(strBare, QStringLiteral("<!ENTITY"))) {
        return QStringLiteral("it declares entities, which may hold a secret");
    }
    const Read read = readAs(bytes);
    return read.bWhole ? doubtOfWhole(read.secrets, places) : doubtOfTorn(bytes, strBare, places);
}

struct Cut {
    QString strMasked;
    QString strRest; ///< all but secrets and their names
    int nPlaces = 0;
};

Cut cutAt(const QString& text, const QVector<Place>& places)
{
    Cut cut;
    int nEnd = 0;
    for (const Place& place : places) {
        const bool bHidden = !place.strValue.isEmpty();
        const int nBehind = place.nValue + place.strValue.size();
        cut.strRest += text.midRef(nEnd, place.nBegin - nEnd);
        cut.strMasked += text.midRef(nEnd, place.nValue - nEnd) + (bHidden ? hidden() : QString())
            + text.midRef(nBehind, place.nEnd - nBehind);
        cut.nPlaces += bHidden ? 1 : 0;
        nEnd = place.nEnd;
    }
    cut.strMasked += text.midRef(nEnd);
    cut.strRest += text.midRef(nEnd);
    return cut;
}

// Escaped in a way that nobody would write.
bool hidesValue(const QString& text, const QStringList& values)
{
    const QString strBare = unescaped(withoutNul(text));
    return std::any_of(values.begin(), values.end(), [&](const QString& value) {
        return strBare.contains(value) || strBare.contains(QString::fromLatin1(value.toUtf8()));
    });
}

} // namespace

void CSecretMask::learn(const QByteArray& bytes)
{
    const View view = viewOf(bytes);
    const auto places = placesIn(view.strText, TextKind::Document);
    QStringList values = readAs(bytes).secrets;
    for (const Place& place : places) {
        const QString strValue = meaningOf(view, place.strValue);
        values << strValue << unescapedOnce(strValue);
    }
    for (const QString& value : values) {
        if (value.size() >= c_nShortestSought && value != hidden() && !m_values.contains(value)) {
            m_values.append(value);
        }
    }
    std::sort(m_values.begin(), m_values.end(),
              [](const QString& left, const QString& right) { return left.size() > right.size(); });
}

MaskedText CSecretMask::masked(const QByteArray& bytes, TextKind kind) const
{
    const View view = viewOf(bytes);
    const QVector<Place> places = placesIn(view.strText, kind);
    Cut cut = cutAt(view.strText, places);
    const QString strDoubt = doubtOf(bytes, kind, cut.strRest, places);
    if (!strDoubt.isEmpty()) {
        return { {}, 0, strDoubt };
    }
    for (const QString& value : m_values) {
        cut.nPlaces += hideAll(cut.strMasked, formsOf(value, view.wide.has_value()));
    }
    if (hidesValue(cut.strMasked, m_values)) {
        return { {}, 0, QStringLiteral("a secret stands in it in another form") };
    }
    return { bytesOf(view, cut.strMasked), cut.nPlaces, {} };
}

QString CSecretMask::masked(const QString& text) const
{
    QString strMasked = text;
    for (const QString& value : m_values) {
        hideAll(strMasked, formsOf(value, true));
    }
    return strMasked;
}

} // namespace inspect
