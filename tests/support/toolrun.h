#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <unistd.h>

/// How a run of the command-line host ended.
struct Outcome {
    int nStatus;
    QString strOut;
    QString strErr;
};

/// A process of whoever this one is for the time: Qt refuses to run for two users at once.
class CProcess : public QProcess {
protected:
    void setupChildProcess() override
    {
        if (::getuid() != ::geteuid() && ::setreuid(::geteuid(), ::geteuid()) != 0) {
            ::_exit(127);
        }
    }
};

inline Outcome runProgram(const QString& program, const QStringList& arguments,
                          const QStringList& environment = {}, const QString& directory = {},
                          const QByteArray& input = {})
{
    CProcess process;
    process.setEnvironment(QProcess::systemEnvironment() + environment);
    process.setWorkingDirectory(directory);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        qFatal("%s does not end: %s", qPrintable(program), qPrintable(process.errorString()));
    }
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

inline Outcome runTool(const QStringList& arguments, const QStringList& environment = {})
{
    return runProgram(QStringLiteral(TOOL), arguments, environment);
}

/// A run whose standard output takes nothing.
inline Outcome runOntoFullDisk(const QStringList& arguments)
{
    QProcess process;
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(TOOL), arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        qFatal("the tool does not end: %s", qPrintable(process.errorString()));
    }
    return { process.exitCode(), {}, QString::fromUtf8(process.readAllStandardError()) };
}
