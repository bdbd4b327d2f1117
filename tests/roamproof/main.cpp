// roamproof SCENARIO [--seconds N] [--count N] [--documents DIR]...: runs one against servers of
// its own and prints its row of the table; status 0 only if what it says holds.

#include "scenarios.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {

using namespace roamproof;

constexpr int c_nSkipped = 77;

struct Scenario {
    const char* pszName;
    Outcome (*pRun)(const Measure&);
};

constexpr Scenario c_scenarios[]
    = { { "clients", manyClients }, { "crashes", crashes },     { "unsynced", crashesUnsynced },
        { "failover", failover },   { "standby", standbyAway }, { "kills", killedClients },
        { "full", fullDisk },       { "password", password },   { "documents", documents } };

int run(const Scenario& scenario, const Measure& measure)
{
    const Outcome outcome = scenario.pRun(measure);
    std::printf("| %s | %s | %s |\n", qPrintable(outcome.strWhat), qPrintable(outcome.strMuch),
                qPrintable(outcome.strResult));
    if (!outcome.bHolds) {
        std::fprintf(stderr, "roamproof %s: that is not how it should be\n", scenario.pszName);
    }
    return outcome.bHolds ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions(
        { { "seconds", {}, "N", "10" }, { "count", {}, "N", "10" }, { "documents", {}, "DIR" } });
    parser.process(application);
    if (!CPostgresServer::isInstalled()) {
        std::puts("PostgreSQL's server is not installed");
        return c_nSkipped;
    }
    const QString strName = parser.positionalArguments().value(0);
    const Measure measure { parser.value("seconds").toInt(), parser.value("count").toInt(),
                            parser.values("documents") };
    for (const Scenario& scenario : c_scenarios) {
        if (strName == QLatin1String(scenario.pszName)) {
            return run(scenario, measure);
        }
    }
    std::fputs("no such scenario\n", stderr);
    return 2;
}
