#include "postgresserver.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

#include <unistd.h>

namespace {

void start(const QString& where)
{
    CPostgresServer server(CPostgresServer::Durability::None, ::getppid());
    server.leave(where);
}

void stop(const QString& where)
{
    if (const auto pServer = CPostgresServer::adopted(where)) {
        pServer->remove();
        QFile::remove(where);
    }
}

} // namespace

/// The server of a test run, which ends with whoever starts it. Usage: roamserver start|stop FILE
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
