#include "desk.h"

#include <inspect/userfile.h>
#include <platform/filenames.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace roamproof {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

CClientDesk::CClientDesk(const QString& directory)
    : m_strDir(directory.isEmpty() ? m_own.path() : directory)
{
    QDir().mkpath(m_strDir);
    writeLive(contentOf(SAMPLE_USER "/indexUserConfig.xml"));
}

QByteArray CClientDesk::live() const
{
    return contentOf(inspect::livePath(m_strDir));
}

QByteArray CClientDesk::mirror() const
{
    standalone::setConfigDir(m_strDir);
    return contentOf(standalone::settingFile({}, KW::c_szMirrorKey));
}

void CClientDesk::writeLive(const QByteArray& bytes) const
{
    QFile file(inspect::livePath(m_strDir));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        qFatal("%s cannot be written", qPrintable(file.fileName()));
    }
}

QByteArray CClientDesk::run(const QString& connection, int first, int count, int settleMs) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(ROAMCLIENT,
                  { m_strDir, connection, QString::number(first), QString::number(count),
                    QString::number(settleMs) });
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        qFatal("a client did not end well");
    }
    return process.readAllStandardOutput();
}

std::unique_ptr<QProcess> CClientDesk::start(const QString& connection, int first) const
{
    auto pProcess = std::make_unique<QProcess>();
    pProcess->start(ROAMCLIENT, { m_strDir, connection, QString::number(first), "endless" });
    if (!pProcess->waitForStarted()) {
        qFatal("a client did not start");
    }
    return pProcess;
}

int generationOf(const QByteArray& text)
{
    static const QRegularExpression s_generation("reportRefreshTime=\"([0-9]+)\"");
    return s_generation.match(QString::fromUtf8(text)).captured(1).toInt();
}

} // namespace roamproof
