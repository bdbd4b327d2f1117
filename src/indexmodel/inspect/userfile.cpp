#include "inspect/userfile.h"

#include "inspect/textpositions.h"

#include "format/sections.h"
#include "format/userdocument.h"

#include <platform/limits.h>

#include <QDir>
#include <QFile>

#include <algorithm>
#include <filesystem>

namespace inspect {

namespace {

UserFile damaged(const QString& path, const TextPosition& at, const QString& reason)
{
    const QString strPlace
        = at.nLine > 0 ? QStringLiteral(":%1:%2").arg(at.nLine).arg(at.nColumn) : QString();
    return { FileState::Damaged, {}, path + strPlace + ": " + reason, {} };
}

std::filesystem::file_status statusOf(const QString& path)
{
    std::error_code error; // told by the type, too
    return std::filesystem::status(QFile::encodeName(path).toStdString(), error);
}

// Where not even the name can be looked up nobody knows whether the file is there.
FileState stateWithoutContent(const QString& path)
{
    return statusOf(path).type() == std::filesystem::file_type::not_found ? FileState::Missing
                                                                          : FileState::Unreadable;
}

// Neither a file nor a directory, which fails by itself.
bool isOther(const QString& path)
{
    return std::filesystem::is_other(statusOf(path));
}

bool isOwnDescriptor(const QString& path)
{
    return path == QLatin1String("/dev/stdin") || path.startsWith(QLatin1String("/dev/fd/"));
}

QByteArray upTo(qint64 limit, QFile& file)
{
    constexpr qint64 nBlock = 1 << 20;
    QByteArray bytes;
    QByteArray block;
    do {
        block = file.read(std::min(nBlock, limit - bytes.size()));
        bytes += block;
    } while (!block.isEmpty() && bytes.size() < limit);
    return bytes;
}

} // namespace

FileBytes readBytes(const QString& path, qint64 limit)
{
    if (isOther(path) && !isOwnDescriptor(path)) {
        return { FileState::Unreadable, {}, path + ": is no regular file" };
    }
    QFile file(path);
    // What tells its size is refused unread; a stream tells none, and a file may grow.
    const bool bRead = file.open(QIODevice::ReadOnly) && file.size() <= limit;
    const QByteArray bytes = bRead ? upTo(limit + 1, file) : QByteArray();
    if (file.error() != QFileDevice::NoError) {
        return { stateWithoutContent(path), {}, path + ": " + file.errorString() };
    }
    if (!bRead || bytes.size() > limit) {
        return { FileState::Damaged,
                 {},
                 path + QStringLiteral(": larger than %1 bytes").arg(limit) };
    }
    return { FileState::Whole, bytes, {} };
}

UserFile readDocument(const QString& path)
{
    const FileBytes file = readBytes(path);
    if (file.state != FileState::Whole) {
        return { file.state, {}, file.strError, {} };
    }
    const QString strText = QString::fromUtf8(file.bytes.constData(), file.bytes.size());
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
