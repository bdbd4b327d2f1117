#include "many/userlist.h"

#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/secret.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <glob.h>
#include <sys/stat.h>

namespace {

// What is known to be something else is no user; what cannot be looked at may be one.
bool isNoDirectory(const char* pszPath)
{
    struct stat status { };
    return ::stat(pszPath, &status) == 0 && !S_ISDIR(status.st_mode);
}

QString g_strUnlisted; // glob() hands its handler nothing of the caller's

// Whoever is behind a directory that cannot be listed would be left out without a word.
int stopAt(const char* pszPath, int error)
{
    g_strUnlisted
        = QFile::decodeName(pszPath) + ": " + QString::fromLocal8Bit(std::strerror(error));
    return error == ENOENT ? 0 : 1;
}

// Two such names would be one.
QString nameOf(const char* pszPath)
{
    const QString strName = QFile::decodeName(pszPath);
    if (strName.toUtf8() != pszPath) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("--users: the name '%1' is not UTF-8").arg(strName));
    }
    return strName;
}

QStringList namesOf(const glob_t& found)
{
    QStringList names;
    for (std::size_t i = 0; i < found.gl_pathc; ++i) {
        if (!isNoDirectory(found.gl_pathv[i])) {
            names.append(nameOf(found.gl_pathv[i]));
        }
    }
    return names;
}

QStringList matching(const QString& pattern)
{
    glob_t found {};
    const int nResult = ::glob(QFile::encodeName(pattern).constData(), GLOB_TILDE, stopAt, &found);
    const std::unique_ptr<glob_t, decltype(&::globfree)> pFreed(&found, &::globfree);
    if (nResult != 0 && nResult != GLOB_NOMATCH) {
        throw CFailure(ExitStatus::InputOutput, "--users: cannot be listed: " + g_strUnlisted);
    }
    const QStringList users = namesOf(found);
    if (users.isEmpty()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("--users: no directory matches '%1'").arg(pattern));
    }
    return users;
}

QStringList linesOf(const QString& word)
{
    const QString strPath = inputPath(word);
    const QList<QByteArray> lines = contentOf(strPath).split('\n');
    QStringList users;
    for (int i = 0; i < lines.size(); ++i) {
        const std::optional<QString> user = firstLine(lines[i]);
        if (!user || user->contains(QChar(u'\0'))) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("%1:%2: that is no name of a directory")
                               .arg(strPath, QString::number(i + 1)),
                           { strPath, i + 1 });
        }
        users += user->isEmpty() ? QStringList() : QStringList(*user);
    }
    if (users.isEmpty()) {
        throw CFailure(ExitStatus::Negative, strPath + " names no user", { strPath });
    }
    return users;
}

// The directory, by whatever name; of one that is not there, the name.
QString identityOf(const QString& user)
{
    struct stat status { };
    return ::stat(QFile::encodeName(user).constData(), &status) == 0
        ? QStringLiteral("//%1:%2").arg(status.st_dev).arg(status.st_ino)
        : user;
}

QString withoutSlash(QString user)
{
    while (user.size() > 1 && user.endsWith('/')) {
        user.chop(1);
    }
    return user;
}

} // namespace

QStringList usersOf(const Request& request)
{
    const QStringList all = request.users ? matching(*request.users) : linesOf(*request.usersFile);
    QStringList users;
    QSet<QString> seen;
    for (const QString& each : all) {
        const QString strIdentity = identityOf(each);
        if (!seen.contains(strIdentity)) {
            seen.insert(strIdentity);
            users.append(withoutSlash(each));
        }
    }
    return users;
}
