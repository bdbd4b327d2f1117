#include "commands/archive.h"

#include "failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace {

[[noreturn]] void fail(const QString& path, const QString& reason)
{
    throw CFailure(ExitStatus::InputOutput, path + ": " + reason, { path });
}

// What tar packs is what it is told here.
QProcessEnvironment plainEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* pszName : { "TAR_OPTIONS", "GZIP" }) {
        environment.remove(QLatin1String(pszName));
    }
    return environment;
}

// However much there is to pack, something comes of it all the time.
void requireEnd(QProcess& tar, int silenceMs)
{
    while (tar.waitForReadyRead(silenceMs)) { }
    if (tar.state() != QProcess::NotRunning && !tar.waitForFinished(silenceMs)) {
        tar.kill();
        fail(QStringLiteral("tar"),
             QStringLiteral("nothing has come of it for %1 s").arg(silenceMs / 1000.0));
    }
}

} // namespace

CArchive::CArchive(const QString& root, int silenceMs)
    : m_strRoot(root)
    , m_nSilenceMs(silenceMs)
{
    if (!m_directory.isValid()) {
        fail(QDir::tempPath(), m_directory.errorString());
    }
}

void CArchive::add(const QString& name, const QByteArray& bytes, const QDateTime& time)
{
    const QString strPath = m_directory.filePath(m_strRoot + '/' + name);
    QFile file(strPath);
    const bool bFolder = QDir().mkpath(QFileInfo(strPath).path());
    if (!bFolder || !file.open(QIODevice::WriteOnly)
        || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
        || file.write(bytes) != bytes.size() || !file.flush()
        || !file.setFileTime(time, QFileDevice::FileModificationTime)) {
        fail(strPath, file.errorString());
    }
}

QByteArray CArchive::packed() const
{
    QProcess tar;
    tar.setProcessEnvironment(plainEnvironment());
    tar.start(QStringLiteral("tar"),
              { "--create", "--gzip", "--file=-", "--sort=name", "--owner=0", "--group=0",
                "--numeric-owner", "--directory=" + m_directory.path(), m_strRoot });
    if (!tar.waitForStarted(m_nSilenceMs)) {
        fail(QStringLiteral("tar"), tar.errorString());
    }
    requireEnd(tar, m_nSilenceMs);
    if (tar.exitStatus() != QProcess::NormalExit || tar.exitCode() != 0) {
        fail(QStringLiteral("tar"), QString::fromLocal8Bit(tar.readAllStandardError()).trimmed());
    }
    return tar.readAllStandardOutput();
}
