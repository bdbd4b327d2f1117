#pragma once

#include <QCoreApplication>
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

/// Keeps an answer in JSON for the test that holds all of them against their schema.
inline void keepAnswer(const QStringList& arguments, const Outcome& outcome)
{
    const QByteArray directory = qgetenv("INDEXUSER_ANSWERS");
    const int nEnd = arguments.indexOf(QStringLiteral("--"));
    const QStringList options = arguments.mid(0, nEnd);
    const bool bJson
        = options.contains(QStringLiteral("--json")) || options.contains(QStringLiteral("--jsonl"));
    if (directory.isEmpty() || !bJson || arguments.first() == QLatin1String("complete")) {
        return;
    }
    static const QString s_strTest = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    static QFile s_file(QFile::decodeName(directory) + '/' + s_strTest + QStringLiteral(".jsonl"));
    if (!s_file.isOpen() && !s_file.open(QIODevice::WriteOnly)) {
        qFatal("%s: %s", qPrintable(s_file.fileName()), qPrintable(s_file.errorString()));
    }
    const QJsonObject run { { "test", s_strTest },
                            { "words", QJsonArray::fromStringList(arguments) },
                            { "status", outcome.nStatus },
                            { "out", outcome.strOut },
                            { "err", outcome.strErr } };
    s_file.write(QJsonDocument(run).toJson(QJsonDocument::Compact) + '\n');
    if (!s_file.flush()) {
        qFatal("%s: %s", qPrintable(s_file.fileName()), qPrintable(s_file.errorString()));
    }
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
