#include "mend/reencode.h"

#include "mend/asidename_p.h"
#include "mend/durable_p.h"

#include <format/userdocument.h>

#include <QRegularExpression>

namespace mend {

using inspect::FileCause;
using inspect::FileState;

namespace {

Reencoding failed(ReencodeResult result, const inspect::FileError& error)
{
    Reencoding reencoding;
    reencoding.result = result;
    reencoding.error = error;
    return reencoding;
}

// What is declared would be wrong from now on.
QString declaredUtf8(QString text)
{
    static const QRegularExpression s_declared(
        QStringLiteral(R"(^(<\?xml\s[^>]*\bencoding\s*=\s*["'])[^"']*)"));
    return text.replace(s_declared, QStringLiteral("\\1utf-8"));
}

// The root is looked at as in a file.
inspect::FileError errorIn(const QString& live, const KW::UserDocument& parsed)
{
    if (!parsed.isValid()) {
        return { FileCause::Malformed, live, parsed.strError, { parsed.nLine, parsed.nColumn } };
    }
    const QString strRoot = parsed.document.documentElement().tagName();
    return strRoot == inspect::rootTag()
        ? inspect::FileError()
        : inspect::FileError { FileCause::OtherRoot, live, strRoot, {} };
}

Reencoding notWritten(WriteFailure write, const inspect::FileError& error)
{
    Reencoding reencoding = failed(ReencodeResult::Failed, error);
    reencoding.write = write;
    return reencoding;
}

Reencoding carriedOut(Reencoding reencoding, CTransaction& transaction, const QString& live,
                      const QString& text)
{
    const WriteFailure kept = transaction.keep();
    // The bytes are kept beside the file anyway.
    if (kept != WriteFailure::None && kept != WriteFailure::NoHistory) {
        return notWritten(kept, { FileCause::NotWritten, live, {}, {} });
    }
    if (!writeDurably(reencoding.strSetAside, transaction.bytes())) {
        return notWritten(WriteFailure::Refused,
                          { FileCause::NotWritten, reencoding.strSetAside, {}, {} });
    }
    const WriteFailure written = transaction.replace(text.toUtf8());
    if (written != WriteFailure::None) {
        return notWritten(written, { FileCause::NotWritten, live, {}, {} });
    }
    reencoding.receipt = transaction.finish();
    return reencoding;
}

Reencoding planned(const inspect::FileBytes& file, inspect::TextEncoding encoding, QString& text)
{
    const QString strLive = file.error.strPath;
    if (file.state != FileState::Whole) {
        return failed(ReencodeResult::Failed, file.error);
    }
    if (!inspect::encodingFault(file.bytes)) {
        return {};
    }
    const std::optional<QString> decoded = inspect::decoded(file.bytes, encoding);
    if (!decoded) {
        return failed(ReencodeResult::OtherEncoding, inspect::userFileOf(file).error);
    }
    text = declaredUtf8(*decoded);
    const KW::UserDocument parsed = KW::parseUserDocument(text);
    const inspect::FileError error = errorIn(strLive, parsed);
    if (error.cause != FileCause::None) {
        return failed(ReencodeResult::NoUserFile, error);
    }
    Reencoding reencoding;
    reencoding.result = ReencodeResult::Converted;
    reencoding.before = inspect::userFileOf(file, inspect::OtherBytes::Replaced).document;
    reencoding.after = parsed.document;
    reencoding.strSetAside = nameAside(strLive, encodingName(encoding).toLatin1().constData());
    return reencoding;
}

} // namespace

bool isConvertible(const inspect::FileError& error)
{
    return error.cause == FileCause::NotUtf8 && !error.strDetail.isEmpty();
}

Reencoding reencode(CTransaction& transaction, inspect::TextEncoding encoding, RunMode mode)
{
    QString strText;
    const Reencoding reencoding = planned(transaction.read(), encoding, strText);
    return mode == RunMode::Do && reencoding.result == ReencodeResult::Converted
        ? carriedOut(reencoding, transaction, inspect::livePath(transaction.configDir()), strText)
        : reencoding;
}

} // namespace mend
