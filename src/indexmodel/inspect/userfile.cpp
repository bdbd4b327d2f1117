#include "inspect/userfile.h"

#include "format/sections.h"
#include "format/userdocument.h"
#include "inspect/savemoment_p.h"
#include "inspect/textencoding.h"

#include <platform/filenames.h>
#include <platform/limits.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <filesystem>

namespace inspect {

namespace {

constexpr int c_nSavedMs = 200; // after that whoever saves has met with something

UserFile damaged(const FileError& error)
{
    return { FileState::Damaged, {}, error, {} };
}

QString reasonOf(const FileError& error)
{
    switch (error.cause) {
    case FileCause::None:
    case FileCause::System:
    case FileCause::Malformed:
    case FileCause::TooDeep:
        break;
    case FileCause::NotRegular:
        return QStringLiteral("is no regular file");
    case FileCause::TooLarge:
        return QStringLiteral("larger than %1 bytes").arg(error.strDetail);
    case FileCause::NotUtf8:
        return error.strDetail.isEmpty()
            ? QStringLiteral("holds bytes that are no UTF-8")
            : QStringLiteral("is not UTF-8, but probably ") + error.strDetail;
    case FileCause::NotSetAside:
        return QStringLiteral("cannot be set aside: ") + error.strDetail;
    case FileCause::NotWritten:
        return QStringLiteral("cannot be written");
    case FileCause::Altered:
        return QStringLiteral("is not what was kept under this name");
    case FileCause::OtherRoot:
        return QStringLiteral("the root is '%1' instead of '%2'").arg(error.strDetail, rootTag());
    }
    return error.strDetail;
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
bool isOther(const std::filesystem::file_status& status)
{
    return std::filesystem::is_other(status);
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

FileError otherEncoding(const FileBytes& file)
{
    const EncodingFault fault = encodingFault(file.bytes).value_or(EncodingFault());
    return { FileCause::NotUtf8, file.error.strPath,
             fault.probable ? encodingName(*fault.probable) : QString(), fault.at };
}

UserFile documentOf(const FileBytes& file, OtherBytes others)
{
    if (file.state != FileState::Whole) {
        return { file.state, {}, file.error, {} };
    }
    const std::optional<QString> utf8 = decoded(file.bytes, TextEncoding::Utf8);
    if (!utf8 && others == OtherBytes::Refused) {
        return damaged(otherEncoding(file));
    }
    const QString strText
        = utf8 ? *utf8 : QString::fromUtf8(file.bytes.constData(), file.bytes.size());
    const KW::UserDocument parsed = KW::parseUserDocument(strText);
    if (!parsed.isValid() && !utf8) {
        return damaged(otherEncoding(file));
    }
    if (!parsed.isValid()) {
        const bool bDeep = parsed.error == KW::DocumentError::TooDeep;
        return damaged({ bDeep ? FileCause::TooDeep : FileCause::Malformed,
                         file.error.strPath,
                         parsed.strError,
                         { parsed.nLine, parsed.nColumn } });
    }
    return { FileState::Whole, parsed.document, file.error, strText };
}

} // namespace

FileBytes readBytes(const QString& path, qint64 limit)
{
    const std::filesystem::file_status status = statusOf(path);
    if (isOther(status) && !isOwnDescriptor(path)) {
        return { FileState::Unreadable, {}, { FileCause::NotRegular, path, {}, {} } };
    }
    QFile file(path);
    // What tells its size is refused unread; a stream tells none, and a file may grow.
    const bool bRead = file.open(QIODevice::ReadOnly) && file.size() <= limit;
    const QByteArray bytes = bRead ? upTo(limit + 1, file) : QByteArray();
    if (file.error() != QFileDevice::NoError) {
        // What was missing may be back by now, which does not make it unreadable.
        const bool bMissing = status.type() == std::filesystem::file_type::not_found;
        return { bMissing ? FileState::Missing : stateWithoutContent(path),
                 {},
                 { FileCause::System, path, file.errorString(), {} } };
    }
    if (!bRead || bytes.size() > limit) {
        return { FileState::Damaged,
                 {},
                 { FileCause::TooLarge, path, QString::number(limit), {} } };
    }
    return { FileState::Whole, bytes, { FileCause::None, path, {}, {} } };
}

UserFile readDocument(const QString& path, OtherBytes others)
{
    return documentOf(readBytes(path), others);
}

FileBytes readSavedBytes(const QString& path)
{
    // A save removes the file before it copies the new one to its place.
    FileBytes file = readBytes(path);
    QElapsedTimer timer;
    timer.start();
    while (file.state == FileState::Missing && !timer.hasExpired(c_nSavedMs)
           && isBeingSaved(path)) {
        QThread::msleep(1);
        file = readBytes(path);
    }
    return file;
}

UserFile readUserFile(const QString& path, OtherBytes others)
{
    return userFileOf(readSavedBytes(path), others);
}

UserFile userFileOf(const FileBytes& bytes, OtherBytes others)
{
    const UserFile file = documentOf(bytes, others);
    const QString strRoot = file.document.documentElement().tagName();
    if (file.state != FileState::Whole || strRoot == rootTag()) {
        return file;
    }
    return damaged({ FileCause::OtherRoot, bytes.error.strPath, strRoot,
                     CTextPositions(file.strText).ofElement(0) });
}

QString stateName(FileState state)
{
    return state == FileState::Whole  ? QStringLiteral("whole")
        : state == FileState::Damaged ? QStringLiteral("damaged")
                                      : QStringLiteral("unreadable");
}

QString toText(const FileError& error)
{
    if (error.cause == FileCause::None) {
        return {};
    }
    const QString strPlace = error.at.nLine > 0
        ? QStringLiteral(":%1:%2").arg(error.at.nLine).arg(error.at.nColumn)
        : QString();
    return error.strPath + strPlace + ": " + reasonOf(error);
}

QString rootTag()
{
    return KW::c_szRoot;
}

QString livePath(const QString& configDir)
{
    return QDir(configDir).filePath(KW::c_szLiveFile);
}

} // namespace inspect
