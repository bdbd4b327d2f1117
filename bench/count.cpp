// indexuser_count WHAT [SIZE]: does it once with a user of size M, for callgrind to count the
// instructions of; they repeat exactly, as times do not. "peak" prints the most memory that a load
// and a save take, in kB.

#include "peers.h"
#include "subjects.h"

#include <format/elementtree.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

#include <QCoreApplication>

#include <valgrind/callgrind.h>

#include <cstdio>
#include <memory>

#include <malloc.h>
#include <sys/resource.h>

namespace {

using namespace bench;

// Only within its life anything is counted, and valgrind slow.
class CCounted {
public:
    CCounted()
    {
        CALLGRIND_START_INSTRUMENTATION;
        CALLGRIND_TOGGLE_COLLECT;
    }

    ~CCounted()
    {
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_STOP_INSTRUMENTATION;
    }
};

template <typename Work> auto counted(const Work& work)
{
    const CCounted during;
    return work();
}

void load(CLibrary& library)
{
    counted([&] { library.service().loadSettings(); });
    library.requireLoaded();
}

void loadAndForget(CLibrary& library)
{
    counted([&] {
        library.service().loadSettings();
        library.renew();
    });
}

void loadFloor(CLibrary& library)
{
    auto pDocument = std::make_unique<QDomDocument>();
    require(counted([&] { return readByQt(library.livePath(), *pDocument); }), "not parsed");
    require(KW::elementCount(*pDocument) == library.elementCount(), "another document was read");
    counted([&] { pDocument.reset(); });
}

template <int (*read)(const QString& path)> void loadElements(CLibrary& library)
{
    const int nElements = counted([&] { return read(library.livePath()); });
    require(nElements == library.elementCount(), "the peer read another document");
}

// Of what it wrote before.
template <const Peer& peer> void loadPeer(CLibrary& library)
{
    const Settings settings = settingsOf(library.size());
    const QString strPath = library.livePath() + ".peer";
    peer.write(strPath, settings);
    const int nRead = counted([&] { return peer.read(strPath); });
    require(nRead == peer.expected(settings), "the peer read something else");
}

template <const Peer& peer> void savePeer(CLibrary& library)
{
    const Settings settings = settingsOf(library.size());
    const QString strPath = library.livePath() + ".peer";
    counted([&] { peer.write(strPath, settings); });
    require(peer.read(strPath) == peer.expected(settings), "the peer wrote something else");
}

// The floor's plan is there for ours, too, and what the load has freed is gathered: the same heap.
template <typename Work> void countedAfterLoad(CLibrary& library, const Work& work)
{
    const CPlan plan(library.size());
    library.service().loadSettings();
    ::malloc_trim(0);
    counted([&] { work(plan); });
}

void stallFloor(CLibrary& library)
{
    QDomDocument doc;
    countedAfterLoad(library, [&](const CPlan& plan) { doc = plan.build(); });
    require(KW::elementCount(doc) == library.elementCount(), "the floor built another document");
}

void stall(CLibrary& library)
{
    countedAfterLoad(library, [&](const CPlan&) { library.service().saveSettings(); });
    library.waitForWorker();
    library.requireSaved();
}

void worker(CLibrary& library)
{
    COpenManager manager;
    manager.loadSettings();
    QDomDocument doc = buildDocument(library.size());
    counted([&] { manager.saveSync(doc); });
    delete manager.getLayoutConfig();
    library.requireSaved();
}

void workerFloor(CLibrary& library)
{
    const QDomDocument doc = buildDocument(library.size());
    counted([&] { saveByQt(doc, library.livePath()); });
    library.requireSaved();
}

void workerLimit(CLibrary& library)
{
    const CPugiTree tree(library.livePath());
    counted([&] { tree.save(library.livePath()); });
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
           Subject { "load.floor", loadFloor },
           Subject { "load.limit", loadElements<pugiElements> },
           Subject { "load.ptree", loadElements<ptreeElements> },
           Subject { "load.qsettings", loadPeer<c_qsettings> },
           Subject { "load.kconfig", loadPeer<c_kconfig> },
           Subject { "save.ptree", savePeer<c_ptree> },
           Subject { "save.qsettings", savePeer<c_qsettings> },
           Subject { "save.kconfig", savePeer<c_kconfig> }, Subject { "stall", stall },
           Subject { "stall.floor", stallFloor }, Subject { "worker", worker },
           Subject { "worker.floor", workerFloor }, Subject { "worker.limit", workerLimit },
           Subject { "peak", peak } }) {
        if (strWhat == strName) {
            pWork(library);
            return 0;
        }
    }
    require(false, "it counts nothing of that name");
    return 0;
}
