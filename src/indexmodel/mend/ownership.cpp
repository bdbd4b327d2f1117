#include "mend/ownership.h"

#include <platform/filenames.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mend {

namespace {

constexpr uid_t c_nRoot = 0;
constexpr mode_t c_nOthers = 077;

struct Account {
    std::string strName; ///< empty for a number without an entry
    gid_t nGroup = 0;
};

std::optional<Account> accountOf(uid_t uid)
{
    std::vector<char> buffer(1U << 14U);
    passwd entry {};
    passwd* pFound = nullptr;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &pFound) != 0
        || pFound == nullptr) {
        return std::nullopt;
    }
    return Account { entry.pw_name, entry.pw_gid };
}

OwnershipFailure systemFailure(const QString& path)
{
    return { OwnershipCause::System, path, QString::fromLocal8Bit(std::strerror(errno)) };
}

// Groups go first: without root's rights nobody may change them.
bool become(uid_t owner, gid_t groupOfDirectory)
{
    const std::optional<Account> account = accountOf(owner);
    const gid_t nGroup = account ? account->nGroup : groupOfDirectory;
    const int nGroups
        = account ? ::initgroups(account->strName.c_str(), nGroup) : ::setgroups(1, &nGroup);
    return nGroups == 0 && ::setresgid(nGroup, nGroup, nGroup) == 0
        && ::setresuid(owner, owner, owner) == 0;
}

QString nearestDirectory(const QString& path)
{
    QString strPath = QDir(path).absolutePath();
    while (!QFile::exists(strPath) && strPath != QLatin1String("/")) {
        strPath = QFileInfo(strPath).path();
    }
    return strPath;
}

OwnershipFailure foreignLink(const QString& configDir, uid_t owner)
{
    for (const char* pszName : { KW::c_szCopiesFolder, KW::c_szSettingsFolder,
                                 KW::c_szHistoryFolder, KW::c_szLiveFile }) {
        const QString strPath = QDir(configDir).filePath(QLatin1String(pszName));
        struct stat info { };
        // What is not there is made, and what cannot be looked at fails by itself.
        if (::lstat(QFile::encodeName(strPath).constData(), &info) == 0 && S_ISLNK(info.st_mode)
            && info.st_uid != owner && info.st_uid != c_nRoot) {
            return { OwnershipCause::OtherLink, strPath, accountName(info.st_uid) };
        }
    }
    return {};
}

// The folders of a user's directory that are no links, with the directory itself for the live file
// and for the lock, which nobody else could take over once its holder has died.
template <typename Visit> void visitFiles(const QString& configDir, Visit visit)
{
    const int nUser
        = ::open(QFile::encodeName(configDir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    visit(nUser, QLatin1String(KW::c_szLiveFile), configDir);
    visit(nUser, QLatin1String(KW::c_szLockFile), configDir);
    for (const char* pszFolder :
         { KW::c_szCopiesFolder, KW::c_szSettingsFolder, KW::c_szHistoryFolder }) {
        visit(nUser, QString::fromLatin1(pszFolder), configDir);
        const int nFolder
            = ::openat(nUser, pszFolder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        const QString strFolder = QDir(configDir).filePath(QLatin1String(pszFolder));
        const auto names = nFolder < 0
            ? QStringList()
            : QDir(strFolder).entryList(QDir::Files | QDir::Hidden | QDir::System);
        for (const QString& name : names) {
            visit(nFolder, name, strFolder);
        }
        ::close(nFolder);
    }
    ::close(nUser);
}

uid_t ownerOf(const QString& configDir)
{
    struct stat info { };
    return ::stat(QFile::encodeName(configDir).constData(), &info) == 0 ? info.st_uid : c_nRoot;
}

// A second name may be that of a file somewhere else.
bool isOfOneName(const struct stat& info)
{
    return S_ISDIR(info.st_mode) || (S_ISREG(info.st_mode) && info.st_nlink == 1);
}

void give(int folder, const QString& name, uid_t owner, gid_t group)
{
    const int nFile = ::openat(folder, QFile::encodeName(name).constData(),
                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat info { };
    const bool bGiven = nFile >= 0 && ::fstat(nFile, &info) == 0 && info.st_uid == c_nRoot
        && isOfOneName(info) && ::fchown(nFile, owner, group) == 0;
    if (bGiven) {
        ::fsync(nFile);
    }
    ::close(nFile);
}

} // namespace

QVector<StrangersFile> strangersFiles(const QString& configDir)
{
    QVector<StrangersFile> found;
    const uid_t nOwner = ownerOf(configDir);
    visitFiles(configDir, [&](int folder, const QString& name, const QString& directory) {
        struct stat info { };
        if (::fstatat(folder, QFile::encodeName(name).constData(), &info, AT_SYMLINK_NOFOLLOW) == 0
            && !S_ISLNK(info.st_mode) && info.st_uid != nOwner) {
            found.append({ QDir(directory).filePath(name), accountName(info.st_uid),
                           info.st_uid == c_nRoot });
        }
    });
    return found;
}

void giveToOwner(const QString& configDir)
{
    struct stat info { };
    if (::stat(QFile::encodeName(configDir).constData(), &info) == 0 && info.st_uid != c_nRoot) {
        visitFiles(configDir, [&](int folder, const QString& name, const QString&) {
            give(folder, name, info.st_uid, info.st_gid);
        });
    }
}

QString toText(const OwnershipFailure& failure)
{
    switch (failure.cause) {
    case OwnershipCause::None:
        return {};
    case OwnershipCause::System:
        return failure.strPath + ": " + failure.strDetail;
    case OwnershipCause::OtherOwner:
        return QStringLiteral("%1 belongs to %2, who could not read what %3 writes there")
            .arg(failure.strPath, failure.strDetail, accountName(::geteuid()));
    case OwnershipCause::OtherLink:
        return QStringLiteral("%1 is a link of %2's, and is not followed")
            .arg(failure.strPath, failure.strDetail);
    }
    return {};
}

OwnershipFailure becomeOwner(const QString& configDir)
{
    const QString strDirectory = nearestDirectory(configDir);
    struct stat info { };
    if (::stat(QFile::encodeName(strDirectory).constData(), &info) != 0) {
        return systemFailure(strDirectory);
    }
    // Who makes the directory owns it.
    const bool bThere = QFile::exists(configDir);
    if (bThere && ::geteuid() != c_nRoot && ::geteuid() != info.st_uid) {
        return { OwnershipCause::OtherOwner, strDirectory, accountName(info.st_uid) };
    }
    if (::geteuid() == c_nRoot && info.st_uid != c_nRoot && !become(info.st_uid, info.st_gid)) {
        return systemFailure(strDirectory);
    }
    ::umask(c_nOthers);
    return foreignLink(configDir, ::geteuid());
}

QString accountName(unsigned int uid)
{
    const std::optional<Account> account = accountOf(uid);
    return account ? QString::fromStdString(account->strName) : QString::number(uid);
}

} // namespace mend
