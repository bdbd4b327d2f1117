#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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

/// Keeps a line for the test that holds what the tool has written against its schema.
inline void keepLine(QJsonObject run, const QStringList& arguments)
{
    const QByteArray directory = qgetenv("INDEXUSER_ANSWERS");
    if (directory.isEmpty()) {
        return;
    }
    static const QString s_strTest = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    static QFile s_file(QFile::decodeName(directory) + '/' + s_strTest + QStringLiteral(".jsonl"));
    if (!s_file.isOpen() && !s_file.open(QIODevice::WriteOnly)) {
        qFatal("%s: %s", qPrintable(s_file.fileName()), qPrintable(s_file.errorString()));
    }
    run.insert("test", s_strTest);
    run.insert("words", QJsonArray::fromStringList(arguments));
    s_file.write(QJsonDocument(run).toJson(QJsonDocument::Compact) + '\n');
    if (!s_file.flush()) {
        qFatal("%s: %s", qPrintable(s_file.fileName()), qPrintable(s_file.errorString()));
    }
}

inline void keepAnswer(const QStringList& arguments, const Outcome& outcome)
{
    const QStringList options = arguments.mid(0, arguments.indexOf(QStringLiteral("--")));
    const bool bJson
        = options.contains(QStringLiteral("--json")) || options.contains(QStringLiteral("--jsonl"));
    if (bJson && arguments.first() != QLatin1String("complete")) {
        keepLine(
            { { "status", outcome.nStatus }, { "out", outcome.strOut }, { "err", outcome.strErr } },
            arguments);
    }
}

/// The same of a patch that a run in \a directory has written; 1 says that there are differences.
inline void keepPatch(const QStringList& arguments, const Outcome& outcome,
                      const QString& directory)
{
    const int nOption = arguments.indexOf(QStringLiteral("--patch"));
    const QString strFile = arguments.value(nOption + 1);
    if (nOption < 0 || outcome.nStatus > 1) {
        return;
    }
    QFile file(QDir(directory).filePath(strFile));
    const bool bOpen = strFile != QLatin1String("-") && file.open(QIODevice::ReadOnly);
    const QString strPatch = bOpen ? QString::fromUtf8(file.readAll()) : outcome.strOut;
    keepLine({ { "patch", strPatch } }, arguments);
}

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
    const Outcome outcome { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                            QString::fromUtf8(process.readAllStandardError()) };
    keepAnswer(arguments, outcome);
    keepPatch(arguments, outcome, directory);
    return outcome;
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
