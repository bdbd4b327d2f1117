// indexuser_count load|stall|worker [SIZE]: does it once with a user of size M, for callgrind to
// count the instructions of; they repeat exactly, as times do not. indexuser_count peak SIZE: the
// most memory that a load and a save take, in kB.

#include "subjects.h"

#include <indexuser/cpanelgrouplayoutconfig.h>

#include <QCoreApplication>

#include <valgrind/callgrind.h>

#include <cstdio>

#include <sys/resource.h>

namespace {

using namespace bench;

void load(CLibrary& library)
{
    CALLGRIND_TOGGLE_COLLECT;
    library.service().loadSettings();
    CALLGRIND_TOGGLE_COLLECT;
    library.requireLoaded();
}

void stall(CLibrary& library)
{
    library.service().loadSettings();
    CALLGRIND_TOGGLE_COLLECT;
    library.service().saveSettings();
    CALLGRIND_TOGGLE_COLLECT;
    library.waitForWorker();
    library.requireSaved();
}

void worker(CLibrary& library)
{
    COpenManager manager;
    manager.loadSettings();
    QDomDocument doc = buildDocument(library.size());
    CALLGRIND_TOGGLE_COLLECT;
    manager.saveSync(doc);
    CALLGRIND_TOGGLE_COLLECT;
    delete manager.getLayoutConfig();
    library.requireSaved();
}

void peak(CLibrary& library)
{
    library.service().loadSettings();
    library.service().saveSettings();
    library.waitForWorker();
    library.requireSaved();
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    std::printf("%ld\n", usage.ru_maxrss);
}

} // namespace

int main(int argc, char** argv)
{
    qSetGlobalQHashSeed(0);
    const QCoreApplication app(argc, argv);
    const QString strWhat = QCoreApplication::arguments().value(1);
    CLibrary library(sizeOf(QCoreApplication::arguments().value(2, "M")));
    const auto pWork = strWhat == "load" ? load
        : strWhat == "stall"             ? stall
        : strWhat == "worker"            ? worker
        : strWhat == "peak"              ? peak
                                         : nullptr;
    require(pWork != nullptr, "load, stall, worker or peak");
    pWork(library);
    return 0;
}
