#include "mend/filekeeper.h"

#include "mend/durable_p.h"
#include "mend/history.h"

#include <inspect/belongings.h>

#include <platform/commonutil.h>
#include <platform/indexutil.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mend {

namespace {

constexpr mode_t c_nPermissions = 07777;

// What \a path is a link to, in the link's words; empty for no link.
QByteArray linkOf(const QByteArray& path)
{
    char target[PATH_MAX];
    const ssize_t nLength = ::readlink(path.constData(), target, sizeof target);
    return nLength < 0 ? QByteArray() : QByteArray(target, static_cast<int>(nLength));
}

QByteArray besideOf(const QString& path)
{
    return QFile::encodeName(path) + ".link";
}

// Links of others lead nowhere.
QByteArray linkBeside(const QString& path)
{
    const QByteArray beside = besideOf(path);
    struct stat info { };
    const bool bOurs = ::lstat(beside.constData(), &info) == 0 && S_ISLNK(info.st_mode)
        && (info.st_uid == ::geteuid() || info.st_uid == 0);
    return bOurs && linkOf(QFile::encodeName(path)).isEmpty() ? linkOf(beside) : QByteArray();
}

bool isThere(const QString& path)
{
    struct stat info { };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

// Whether the history has seen what is at the end of the link beside \a path.
bool isKnown(const QString& path, const QString& target)
{
    const inspect::FileBytes found = inspect::readBytes(target);
    const QVector<HistoryEntry> all = CHistory(QFileInfo(path).path()).entries();
    const QByteArray digest = digestOf(found.bytes);
    return found.state == inspect::FileState::Whole
        && std::any_of(all.begin(), all.end(), [&](const HistoryEntry& entry) {
               return entry.strSetting.isEmpty()
                   && (entry.before == digest || entry.after == digest);
           });
}

bool isOpen(const QString& directory)
{
    return ::faccessat(AT_FDCWD, QFile::encodeName(directory).constData(), W_OK | X_OK, AT_EACCESS)
        == 0;
}

bool isMember(gid_t group)
{
    if (group == ::getegid() || ::geteuid() == 0) {
        return true;
    }
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
    const int nFound = ::getgroups(static_cast<int>(groups.size()), groups.data());
    return std::find(groups.begin(), groups.begin() + std::max(0, nFound), group) != groups.end();
}

bool copyContent(const QString& from, const QString& to)
{
    std::string strContent;
    std::string strGbkTo = to.toStdString();
    return KW::stdReadFile(QFile::encodeName(from).toStdString(), strContent)
        && utils::safeUtf82Gbk(strGbkTo) == 0 && KW::stdWriteFile(strGbkTo, strContent, "wb");
}

} // namespace

CFileKeeper::CFileKeeper(const QString& path)
    : m_strPath(path)
    , m_link(linkOf(QFile::encodeName(path)))
{
    const bool bLeft = m_link.isEmpty() && linkLeftOf(path).bOurs;
    m_link = bLeft ? linkBeside(path) : m_link;
    const QString strFile = bLeft ? QFile::decodeName(besideOf(path)) : path;
    struct stat info { };
    m_bFile = ::stat(QFile::encodeName(strFile).constData(), &info) == 0 && S_ISREG(info.st_mode);
    m_nOwner = info.st_uid;
    m_nGroup = info.st_gid;
    m_nMode = info.st_mode & c_nPermissions;
    m_strTarget = m_link.isEmpty() ? QString()
        : m_bFile                  ? QFileInfo(strFile).canonicalFilePath()
                                   : inspect::endOfLinks(strFile);
}

bool CFileKeeper::isLost() const
{
    return !m_strTarget.isEmpty() && !QFileInfo(QFileInfo(m_strTarget).path()).isDir();
}

// What is there and no file is not replaced either.
bool CFileKeeper::isClosed() const
{
    return !m_strTarget.isEmpty()
        && (!isOpen(QFileInfo(m_strTarget).path()) || (!m_bFile && isThere(m_strTarget)));
}

KeepObstacle CFileKeeper::obstacle() const
{
    return isLost()                ? KeepObstacle::LostTarget
        : isClosed()               ? KeepObstacle::ClosedTarget
        : !m_bFile                 ? KeepObstacle::None
        : m_nOwner != ::geteuid()  ? KeepObstacle::OtherOwner
        : (m_nMode & S_IWUSR) == 0 ? KeepObstacle::ReadOnly
        : !isMember(m_nGroup)      ? KeepObstacle::OtherGroup
                                   : KeepObstacle::None;
}

// Whoever is not in the group was told so, and went on.
bool CFileKeeper::giveGroup(const QByteArray& file) const
{
    return !isMember(m_nGroup) || ::chown(file.constData(), static_cast<uid_t>(-1), m_nGroup) == 0;
}

bool CFileKeeper::leaveLink() const
{
    const QByteArray beside = besideOf(m_strPath);
    if (m_link.isEmpty() || linkOf(beside) == m_link) {
        return true;
    }
    if (!linkOf(beside).isEmpty()) {
        ::unlink(beside.constData());
    }
    return ::symlink(m_link.constData(), beside.constData()) == 0
        && syncPath(QFileInfo(m_strPath).path());
}

void CFileKeeper::forgetLink() const
{
    const QByteArray beside = besideOf(m_strPath);
    if (!m_link.isEmpty() && linkOf(QFile::encodeName(m_strPath)) == m_link
        && linkOf(beside) == m_link) {
        ::unlink(beside.constData());
    }
}

// A link takes a name over like any file.
bool CFileKeeper::giveBackLink() const
{
    return leaveLink()
        && std::rename(besideOf(m_strPath).constData(), QFile::encodeName(m_strPath).constData())
        == 0
        && syncPath(QFileInfo(m_strPath).path());
}

inspect::FileError CFileKeeper::giveBack() const
{
    const bool bLink = !m_link.isEmpty();
    // Without a file the save has failed: there is nothing to keep, unless a link to the old one.
    const bool bSaved = QFileInfo::exists(m_strPath);
    if (!(m_bFile || (bLink && bSaved)) || !linkOf(QFile::encodeName(m_strPath)).isEmpty()) {
        return {};
    }
    const QString strFile = bLink ? m_strTarget : m_strPath;
    const QByteArray file = QFile::encodeName(strFile);
    const auto failed = [&](const QString& path) {
        return inspect::FileError {
            inspect::FileCause::System, path, QString::fromLocal8Bit(std::strerror(errno)), {}
        };
    };
    if (bLink && bSaved && !copyContent(m_strPath, strFile)) {
        return { inspect::FileCause::NotWritten, strFile, {}, {} };
    }
    if (m_bFile && bSaved && !(giveGroup(file) && ::chmod(file.constData(), m_nMode) == 0)) {
        return failed(strFile);
    }
    return bLink && !giveBackLink() ? failed(m_strPath) : inspect::FileError();
}

LeftLink linkLeftOf(const QString& path)
{
    const QByteArray link = linkBeside(path);
    const QString strTarget = inspect::endOfLinks(QFile::decodeName(besideOf(path)));
    const bool bFree = isOpen(QFileInfo(strTarget).path()) && !isThere(strTarget);
    return { QFile::decodeName(link), !link.isEmpty() && (bFree || isKnown(path, strTarget)) };
}

QString toText(const LeftLink& left, const QString& path)
{
    return left.strLink.isEmpty() ? QString()
        : left.bOurs
        ? QStringLiteral("was a link to %1 before a write that was cut short; the next one, or "
                         "recover, puts it back")
              .arg(left.strLink)
        : QStringLiteral("may have been a link to %1, where something else is now; it is not put "
                         "back: remove %2.link, or put it in the place of the file")
              .arg(left.strLink, path);
}

} // namespace mend
