#include "many/resumefile.h"

#include "failure.h"
#include "terminal/answer.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t c_nOwnerReadsAndWrites = 0600;
constexpr int c_nForm = 2;

QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QJsonObject objectIn(const QByteArray& line)
{
    return QJsonDocument::fromJson(line).object();
}

QString digestOf(const Resumed& resumed, const QString& salt)
{
    return QMessageAuthenticationCode::hash(resumed.all, salt.toLatin1(),
                                            QCryptographicHash::Sha256)
        .toHex();
}

QJsonObject headOf(const Resumed& resumed)
{
    const QString strSalt = QString::number(QRandomGenerator::system()->generate64(), 16);
    return { { "command", resumed.strCommand },
             { "directory", QDir::currentPath() },
             { "digest", digestOf(resumed, strSalt) },
             { "resume", c_nForm },
             { "salt", strSalt } };
}

// Broken off before its first line was whole.
bool isBegun(const QByteArray& bytes)
{
    const QByteArray begin = "{\"command\":\"";
    return !bytes.contains('\n') && (begin.startsWith(bytes) || bytes.startsWith(begin));
}

// Whoever forks keeps this lock to himself, and loses it with his life.
bool lockFile(int descriptor)
{
    struct flock lock { };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(descriptor, F_SETLK, &lock) == 0;
}

bool syncDirectory(const QString& path)
{
    const int nDirectory = ::open(QFile::encodeName(QFileInfo(path).path()).constData(),
                                  O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool bSynced = nDirectory >= 0 && ::fsync(nDirectory) == 0;
    ::close(nDirectory);
    return bSynced;
}

} // namespace

CResumeFile::CResumeFile(const QString& path, const Resumed& resumed)
    : m_file(path)
{
    open();
    read(resumed);
}

void CResumeFile::fail(ExitStatus status, const QString& why) const
{
    throw CFailure(status, m_file.fileName() + ": " + why, { m_file.fileName() });
}

void CResumeFile::open()
{
    struct stat status { };
    if (!m_file.open(QIODevice::ReadWrite)) {
        fail(ExitStatus::InputOutput, m_file.errorString());
    }
    if (::fstat(m_file.handle(), &status) != 0 || !S_ISREG(status.st_mode)) {
        fail(ExitStatus::InputOutput, QStringLiteral("is no regular file"));
    }
    if (!lockFile(m_file.handle())) {
        const bool bHeld = errno == EACCES || errno == EAGAIN;
        fail(bHeld ? ExitStatus::Busy : ExitStatus::InputOutput,
             bHeld ? QStringLiteral("somebody else goes through its users now") : lastError());
    }
    if (status.st_size == 0 && ::fchmod(m_file.handle(), c_nOwnerReadsAndWrites) != 0) {
        fail(ExitStatus::InputOutput, lastError());
    }
}

void CResumeFile::begin(const QByteArray& found, const Resumed& resumed)
{
    if (!isBegun(found)) {
        fail(ExitStatus::Usage, QStringLiteral("is not kept by --resume"));
    }
    if (!m_file.resize(0) || !m_file.seek(0)) {
        fail(ExitStatus::InputOutput, m_file.errorString());
    }
    write(lineOf(headOf(resumed)));
    if (!syncDirectory(m_file.fileName())) {
        fail(ExitStatus::InputOutput, lastError());
    }
}

void CResumeFile::requireSame(const QJsonObject& head, const Resumed& resumed) const
{
    const QString strOther = head["command"].toString();
    if (head["resume"].toInt() != c_nForm) {
        fail(ExitStatus::Usage, QStringLiteral("is not kept by --resume"));
    }
    if (head["directory"].toString() != QDir::currentPath()) {
        fail(ExitStatus::Usage, "is kept for users as named in " + head["directory"].toString());
    }
    if (head["digest"].toString() != digestOf(resumed, head["salt"].toString())) {
        fail(ExitStatus::Usage,
             strOther == resumed.strCommand
                 ? QStringLiteral("is kept for other words, values or files of this command")
                 : "is kept for another command: " + strOther);
    }
}

void CResumeFile::read(const Resumed& resumed)
{
    const QByteArray bytes = m_file.readAll();
    if (m_file.error() != QFileDevice::NoError) {
        fail(ExitStatus::InputOutput, m_file.errorString());
    }
    const int nWhole = bytes.lastIndexOf('\n') + 1;
    if (nWhole == 0) {
        begin(bytes, resumed);
        return;
    }
    const QList<QByteArray> lines = bytes.left(nWhole).split('\n');
    requireSame(objectIn(lines[0]), resumed);
    for (int i = 1; i < lines.size() - 1; ++i) {
        const std::optional<UserAnswer> answer = userAnswerFrom(objectIn(lines[i]));
        if (!answer) {
            fail(ExitStatus::Damaged, QStringLiteral("line %1 names no user").arg(i + 1));
        }
        m_done.append(*answer);
    }
    if (!m_file.resize(nWhole) || !m_file.seek(nWhole)) {
        fail(ExitStatus::InputOutput, m_file.errorString());
    }
}

void CResumeFile::write(const QByteArray& line)
{
    if (m_file.write(line) != line.size() || !m_file.flush() || ::fsync(m_file.handle()) != 0) {
        fail(ExitStatus::InputOutput,
             m_file.error() == QFileDevice::NoError ? lastError() : m_file.errorString());
    }
}

void CResumeFile::append(const UserAnswer& answer)
{
    write(lineOf(toJson(answer)));
}
