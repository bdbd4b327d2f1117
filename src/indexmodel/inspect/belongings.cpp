#include "inspect/belongings.h"

#include <platform/filenames.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <optional>
#include <utility>

#include <sys/stat.h>

namespace inspect {

namespace {

constexpr int c_nMaxLinks = 40; // as many as the system follows
constexpr auto c_all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(const QString& path)
{
    struct stat info { };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0
        ? std::make_optional(Identity { info.st_dev, info.st_ino })
        : std::nullopt;
}

QStringList foldersOf(const QString& configDir)
{
    QStringList folders;
    for (const char* pszName :
         { KW::c_szCopiesFolder, KW::c_szSettingsFolder, KW::c_szHistoryFolder }) {
        folders.append(QDir(configDir).filePath(QLatin1String(pszName)));
    }
    return folders;
}

// Names that a user's own have whether they are there or not; some file systems know no case.
bool isOwnName(const QString& name)
{
    static const QStringList s_names { KW::c_szSectorsFile, KW::c_szCopiesFolder,
                                       KW::c_szSettingsFolder, KW::c_szHistoryFolder,
                                       KW::c_szLockFile };
    return name.startsWith(KW::c_szLiveFile, Qt::CaseInsensitive)
        || s_names.contains(name, Qt::CaseInsensitive);
}

// The first of \a paths that is the same thing as \a identity.
QString sameOf(const QStringList& paths, const std::optional<Identity>& identity)
{
    for (const QString& path : paths) {
        if (identity && identityOf(path) == identity) {
            return path;
        }
    }
    return {};
}

// The folder of the user's that \a directory is or lies in.
QString folderAround(const QString& configDir, const QString& directory)
{
    const QStringList folders = foldersOf(configDir);
    const QString strRoot = QStringLiteral("/");
    QString strEach = QFileInfo(directory).canonicalFilePath();
    while (!strEach.isEmpty()) {
        const QString strFound = sameOf(folders, identityOf(strEach));
        if (!strFound.isEmpty() || strEach == strRoot) {
            return strFound;
        }
        strEach = QFileInfo(strEach).path();
    }
    return {};
}

bool isUserDirectory(const QString& directory)
{
    const QFileInfo live(QDir(directory).filePath(KW::c_szLiveFile));
    return live.exists() || live.isSymLink();
}

QString belongingIn(const QString& configDir, const QString& path)
{
    const QString strFile = sameOf(belongings(configDir), identityOf(path));
    if (!strFile.isEmpty()) {
        return strFile;
    }
    const QFileInfo end(endOfLinks(path));
    const bool bBeside = identityOf(end.path()) == identityOf(configDir);
    if (bBeside && isOwnName(end.fileName())) {
        return end.filePath();
    }
    return folderAround(configDir, QFileInfo(path).isDir() ? path : end.path());
}

// A live file is one wherever it is, or is about to be; what else is a user's lies beside one or in
// the folders beside one.
QString belongingOfOthers(const QString& path)
{
    const QFileInfo end(endOfLinks(path));
    if (end.fileName().compare(KW::c_szLiveFile, Qt::CaseInsensitive) == 0) {
        return end.filePath();
    }
    QString strEach = QFileInfo(end.path()).canonicalFilePath();
    while (!strEach.isEmpty()) {
        const QString strFound = isUserDirectory(strEach) ? belongingIn(strEach, path) : QString();
        if (!strFound.isEmpty() || QDir(strEach).isRoot()) {
            return strFound;
        }
        strEach = QFileInfo(strEach).path();
    }
    return {};
}

} // namespace

QStringList belongings(const QString& configDir)
{
    QStringList files;
    const QDir directory(configDir);
    const auto names = directory.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        if (isOwnName(name)) {
            files.append(directory.filePath(name));
        }
    }
    for (const QString& folder : foldersOf(configDir)) {
        QDirIterator all(folder, c_all, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            files.append(all.next());
        }
    }
    return files;
}

QString endOfLinks(const QString& path)
{
    std::filesystem::path end = QFile::encodeName(path).toStdString();
    std::error_code error; // no link, or one that cannot be read: what comes then tells
    for (int i = 0; i < c_nMaxLinks && std::filesystem::is_symlink(end, error); ++i) {
        end = end.parent_path() / std::filesystem::read_symlink(end, error);
    }
    return QFile::decodeName(end.c_str());
}

QString belongingAt(const QString& configDir, const QString& path)
{
    const QString strOwn = belongingIn(configDir, path);
    return strOwn.isEmpty() ? belongingOfOthers(path) : strOwn;
}

bool isSameFile(const QString& left, const QString& right)
{
    const std::optional<Identity> identity = identityOf(left);
    return identity && identity == identityOf(right) && QFileInfo(left).isFile();
}

} // namespace inspect
