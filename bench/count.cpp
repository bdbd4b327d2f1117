// indexuser_count WHAT [SIZE]: does it once with a user of size M, for callgrind to count the
// instructions of; they repeat exactly, as times do not. "peak" prints the most memory that a load
// and a save take, in kB.

#include "peers.h"
#include "subjects.h"

#include <format/elementtree.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

#include <QCoreApplication>
#include <QFile>

#include <valgrind/callgrind.h>

#include <cstdio>

#include <malloc.h>
#include <sys/resource.h>

namespace {

using namespace bench;

// Everything between begin and end of its life is counted.
class CCounted {
public:
    CCounted() { CALLGRIND_TOGGLE_COLLECT; }
    ~CCounted() { CALLGRIND_TOGGLE_COLLECT; }
};

void load(CLibrary& library)
{
    CALLGRIND_TOGGLE_COLLECT;
    library.service().loadSettings();
    CALLGRIND_TOGGLE_COLLECT;
    library.requireLoaded();
}

void loadAndForget(CLibrary& library)
{
    const CCounted counted;
    library.service().loadSettings();
    library.renew();
}

void loadFloor(CLibrary& library)
{
    const CCounted counted;
    QFile file(library.livePath());
    require(file.open(QIODevice::ReadOnly), "cannot read");
    QDomDocument doc;
    require(doc.setContent(QString::fromUtf8(file.readAll())), "not parsed");
    CALLGRIND_TOGGLE_COLLECT;
    require(KW::elementCount(doc) == library.elementCount(), "the floor read another document");
    CALLGRIND_TOGGLE_COLLECT;
}

void loadTree(CLibrary& library)
{
    CALLGRIND_TOGGLE_COLLECT;
    const int nElements = ptreeElements(library.livePath());
    CALLGRIND_TOGGLE_COLLECT;
    require(nElements == library.elementCount(), "the peer read another document");
}

void stallFloor(CLibrary& library)
{
    const CPlan plan(library.size());
    library.service().loadSettings(); // which ours needs, and which leaves its traces in the heap
    ::malloc_trim(0);
    CALLGRIND_TOGGLE_COLLECT;
    const QDomDocument doc = plan.build();
    CALLGRIND_TOGGLE_COLLECT;
    require(KW::elementCount(doc) == library.elementCount(), "the floor built another document");
}

void workerFloor(CLibrary& library)
{
    const QDomDocument doc = buildDocument(library.size());
    CALLGRIND_TOGGLE_COLLECT;
    saveByQt(doc, library.livePath());
    CALLGRIND_TOGGLE_COLLECT;
    library.requireSaved();
}

void stall(CLibrary& library)
{
    const CPlan plan(library.size()); // the floor's, for the same heap
    library.service().loadSettings();
    ::malloc_trim(0);
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

using Subject = std::pair<QString, void (*)(CLibrary&)>;

} // namespace

int main(int argc, char** argv)
{
    qSetGlobalQHashSeed(0);
    const QCoreApplication app(argc, argv);
    const QString strWhat = QCoreApplication::arguments().value(1);
    CLibrary library(sizeOf(QCoreApplication::arguments().value(2, "M")));
    for (const auto& [strName, pWork] :
         { Subject { "load", load }, Subject { "load+forget", loadAndForget },
           Subject { "load.floor", loadFloor }, Subject { "load.ptree", loadTree },
           Subject { "stall", stall }, Subject { "stall.floor", stallFloor },
           Subject { "worker", worker }, Subject { "worker.floor", workerFloor },
           Subject { "peak", peak } }) {
        if (strWhat == strName) {
            pWork(library);
            return 0;
        }
    }
    require(false, "it counts nothing of that name");
    return 0;
}
