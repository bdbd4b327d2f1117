#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/// How a run of the command-line host ended.
struct Outcome {
    int nStatus;
    QString strOut;
    QString strErr;
};

inline Outcome runProgram(const QString& program, const QStringList& arguments,
                          const QStringList& environment = {}, const QString& directory = {})
{
    QProcess process;
    process.setEnvironment(QProcess::systemEnvironment() + environment);
    process.setWorkingDirectory(directory);
    process.start(program, arguments);
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
