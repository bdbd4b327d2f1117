#include "many/userlist.h"

#include "commands/wholefile.h"
#include "failure.h"

#include <QDir>
#include <QFile>

#include <glob.h>
#include <sys/stat.h>

namespace {

// What is known to be something else is no user; what cannot be looked at may be one.
bool isNoDirectory(const char* pszPath)
{
    struct stat status { };
    return ::stat(pszPath, &status) == 0 && !S_ISDIR(status.st_mode);
}

QStringList matching(const QString& pattern)
{
    glob_t found {};
    const int nResult = ::glob(QFile::encodeName(pattern).constData(), GLOB_TILDE, nullptr, &found);
    QStringList users;
    for (std::size_t i = 0; i < found.gl_pathc; ++i) {
        if (!isNoDirectory(found.gl_pathv[i])) {
            users.append(QFile::decodeName(found.gl_pathv[i]));
        }
    }
    ::globfree(&found);
    if (nResult != 0 && nResult != GLOB_NOMATCH) {
        throw CFailure(ExitStatus::InputOutput, "--users: the directories cannot be listed");
    }
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
        const QString strUser = QString::fromUtf8(lines[i]);
        if (strUser.toUtf8() != lines[i] || lines[i].contains('\0')) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("%1:%2: that is no name of a directory")
                               .arg(strPath, QString::number(i + 1)),
                           { strPath, i + 1 });
        }
        users += strUser.isEmpty() ? QStringList() : QStringList(strUser);
    }
    if (users.isEmpty()) {
        throw CFailure(ExitStatus::Negative, strPath + " names no user", { strPath });
    }
    return users;
}

} // namespace

QStringList usersOf(const Request& request)
{
    QStringList users = request.users ? matching(*request.users) : linesOf(*request.usersFile);
    for (QString& user : users) {
        user = QDir::cleanPath(user);
    }
    users.removeDuplicates();
    return users;
}
