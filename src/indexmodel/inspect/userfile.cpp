#include "inspect/userfile.h"

#include "inspect/textpositions.h"

#include "format/sections.h"
#include "format/userdocument.h"

#include <platform/limits.h>

#include <QDir>
#include <QFile>

#include <filesystem>

namespace inspect {

namespace {

UserFile damaged(const QString& path, const TextPosition& at, const QString& reason)
{
    const QString strPlace
        = at.nLine > 0 ? QStringLiteral(":%1:%2").arg(at.nLine).arg(at.nColumn) : QString();
    return { FileState::Damaged, {}, path + strPlace + ": " + reason, {} };
}

// Where not even the name can be looked up nobody knows whether the file is there.
FileState stateWithoutContent(const QString& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(QFile::encodeName(path).toStdString(), error);
    return status.type() == std::filesystem::file_type::not_found ? FileState::Missing
                                                                  : FileState::Unreadable;
}

} // namespace

UserFile readDocument(const QString& path)
{
    QFile file(path);
    const bool bOpen = file.open(QIODevice::ReadOnly);
    if (bOpen && file.size() > KW::c_nMaxFileBytes) {
        return damaged(path, {}, QStringLiteral("larger than %1 bytes").arg(KW::c_nMaxFileBytes));
    }
    const QByteArray bytes = bOpen ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError) {
        return { stateWithoutContent(path), {}, path + ": " + file.errorString(), {} };
    }
    const QString strText = QString::fromUtf8(bytes.constData(), bytes.size());
    const KW::UserDocument parsed = KW::parseUserDocument(strText);
    if (!parsed.isValid()) {
        return damaged(path, { parsed.nLine, parsed.nColumn }, parsed.strError);
    }
    return { FileState::Whole, parsed.document, {}, strText };
}

UserFile readUserFile(const QString& path)
{
    const UserFile file = readDocument(path);
    const QString strRoot = file.document.documentElement().tagName();
    if (file.state != FileState::Whole || strRoot == rootTag()) {
        return file;
    }
    return damaged(path, CTextPositions(file.strText).ofElement(0),
                   QStringLiteral("the root is '%1' instead of '%2'").arg(strRoot, rootTag()));
}

QString rootTag()
{
    return KW::c_szRoot;
}

QString livePath(const QString& configDir)
{
    return QDir(configDir).filePath(QStringLiteral("indexUserConfig.xml"));
}

} // namespace inspect
