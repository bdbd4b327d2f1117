#include "many/resumefile.h"

#include "failure.h"
#include "terminal/answer.h"

#include <QFileInfo>
#include <QJsonDocument>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t c_nOwnerOnly = 0600;

QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QJsonObject objectIn(const QByteArray& line)
{
    return QJsonDocument::fromJson(line).object();
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

CResumeFile::CResumeFile(const QString& path, const QString& command)
    : m_file(path)
{
    open();
    read(lineOf({ { "resume", 1 }, { "command", command } }));
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
        fail(ExitStatus::Busy, QStringLiteral("somebody else goes through its users now"));
    }
    if (status.st_size == 0 && ::fchmod(m_file.handle(), c_nOwnerOnly) != 0) {
        fail(ExitStatus::InputOutput, lastError());
    }
}

void CResumeFile::read(const QByteArray& head)
{
    const QByteArray bytes = m_file.readAll();
    const int nWhole = bytes.lastIndexOf('\n') + 1;
    const QList<QByteArray> lines = bytes.left(nWhole).split('\n');
    if (nWhole == 0 && head.startsWith(bytes)) {
        write(head.mid(bytes.size()));
        if (!syncDirectory(m_file.fileName())) {
            fail(ExitStatus::InputOutput, lastError());
        }
        return;
    }
    if (lines[0] + '\n' != head) {
        const QString strOther = objectIn(lines[0])["command"].toString();
        fail(ExitStatus::Usage,
             strOther.isEmpty() ? QStringLiteral("is not kept by --resume")
                                : QStringLiteral("is kept for another command: ") + strOther);
    }
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
