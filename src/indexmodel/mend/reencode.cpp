#include "mend/reencode.h"

#include "mend/asidename_p.h"

#include <format/userdocument.h>
#include <platform/commonutil.h>
#include <platform/indexutil.h>

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

bool write(const QString& path, std::string content)
{
    std::string strGbkPath = path.toStdString();
    return utils::safeUtf82Gbk(strGbkPath) == 0 && KW::stdWriteFile(strGbkPath, content, "wb");
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

Reencoding carriedOut(Reencoding reencoding, const QString& live, const QByteArray& before,
                      const QString& text)
{
    const std::string strUtf8 = text.toStdString();
    for (const auto& [strPath, strContent] :
         { std::pair { reencoding.strSetAside, before.toStdString() },
           std::pair { live, strUtf8 } }) {
        if (!write(strPath, strContent)) {
            return failed(ReencodeResult::Failed, { FileCause::NotWritten, strPath, {}, {} });
        }
    }
    return reencoding;
}

} // namespace

bool isConvertible(const inspect::FileError& error)
{
    return error.cause == FileCause::NotUtf8 && !error.strDetail.isEmpty();
}

Reencoding reencode(const QString& configDir, inspect::TextEncoding encoding, RunMode mode)
{
    const QString strLive = inspect::livePath(configDir);
    const inspect::FileBytes file = inspect::readBytes(strLive);
    if (file.state != FileState::Whole) {
        return failed(ReencodeResult::Failed, file.error);
    }
    if (!inspect::encodingFault(file.bytes)) {
        return {};
    }
    const std::optional<QString> text = inspect::decoded(file.bytes, encoding);
    if (!text) {
        return failed(ReencodeResult::OtherEncoding, inspect::readUserFile(strLive).error);
    }
    const QString strText = declaredUtf8(*text);
    const KW::UserDocument parsed = KW::parseUserDocument(strText);
    const inspect::FileError error = errorIn(strLive, parsed);
    if (error.cause != FileCause::None) {
        return failed(ReencodeResult::NoUserFile, error);
    }
    const QString strSetAside = nameAside(strLive, encodingName(encoding).toLatin1().constData());
    Reencoding reencoding { ReencodeResult::Converted,
                            {},
                            inspect::readUserFile(strLive, inspect::OtherBytes::Replaced).document,
                            parsed.document,
                            strSetAside };
    return mode == RunMode::Do ? carriedOut(reencoding, strLive, file.bytes, strText) : reencoding;
}

} // namespace mend
