#include "many/pages.h"

#include "failure.h"
#include "terminal/output.h"

#include <inspect/reportindex.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace {

constexpr int c_nReadable = 60; // of a name: 180 bytes at the most
constexpr int c_nDigest = 10;
constexpr mode_t c_nOwnerOnly = 0700;

QString indexPath(const Request& request)
{
    return request.strOut + "/index.html";
}

inspect::IndexedUser indexed(const UserAnswer& answer)
{
    return { answer.strUser, answer.isFailed() ? QString() : QFileInfo(answer.strPage).fileName(),
             answer.strError, answer.findings };
}

} // namespace

void makePages(const Request& request)
{
    if (request.strOut.isEmpty() || request.strOut == QLatin1String("-")) {
        throw CFailure(ExitStatus::Usage, "--out: many users want the name of a directory");
    }
    requireNothingOfTheUser(request.strConfigDir, indexPath(request));
    if (request.isDryRun() || QFileInfo(request.strOut).isDir()) {
        return;
    }
    if (::mkdir(QFile::encodeName(request.strOut).constData(), c_nOwnerOnly) != 0) {
        throw CFailure(ExitStatus::InputOutput,
                       request.strOut + ": " + QString::fromLocal8Bit(std::strerror(errno)),
                       { request.strOut });
    }
}

// Readable so far as that goes; the digest tells apart what is then alike.
QString pagePath(const Request& request, const QString& user)
{
    QString strName = user.right(c_nReadable);
    for (QChar& c : strName) {
        c = c.isLetterOrNumber() ? c : QLatin1Char('-');
    }
    strName = strName.mid(static_cast<int>(
        std::find_if(strName.begin(), strName.end(), [](QChar c) { return c != '-'; })
        - strName.begin()));
    const QByteArray digest
        = QCryptographicHash::hash(user.toUtf8(), QCryptographicHash::Sha256).toHex();
    return request.strOut + '/' + strName + '-' + digest.left(c_nDigest) + ".html";
}

void writeIndex(const Request& request, const QVector<UserAnswer>& answers)
{
    QVector<inspect::IndexedUser> users;
    std::transform(answers.begin(), answers.end(), std::back_inserter(users), indexed);
    writeFile(request, indexPath(request),
              harmlessPage(inspect::reportIndex(users, QDateTime::currentDateTime())));
}
