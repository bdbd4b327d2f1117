#include "postgresserver.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <cstdio>

#include <unistd.h>

namespace {

// Should the test run be killed, nobody else would stop the server.
void stopAfter(pid_t run, const QString& where)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setProgram("setsid");
    process.setArguments({ "sh", "-c",
                           "while kill -0 \"$1\" && [ -e \"$2\" ]; do sleep 1; done; "
                           "exec \"$0\" stop \"$2\"",
                           QCoreApplication::applicationFilePath(), QString::number(run), where });
    if (!process.startDetached()) {
        qFatal("setsid");
    }
}

void start(const QString& where)
{
    CPostgresServer server;
    server.leave(where);
    stopAfter(::getppid(), where);
}

void stop(const QString& where)
{
    if (const auto pServer = CPostgresServer::adopted(where)) {
        pServer->remove();
        QFile::remove(where);
    }
}

} // namespace

/// The server of a test run. Usage: roamserver start|stop FILE
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("Usage: roamserver start|stop FILE\n", stderr);
        return 2;
    }
    if (!CPostgresServer::isInstalled()) {
        std::puts("PostgreSQL's server is not installed");
        return 0;
    }
    arguments[1] == QLatin1String("start") ? start(arguments[2]) : stop(arguments[2]);
    return 0;
}
