// Everything beside its floor and its peers, in pairs: one right after the other in one process, in
// turn the one and the other first. See docs/performance.md.

#include "peers.h"
#include "subjects.h"

#include <format/elementtree.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

#include <QCoreApplication>
#include <QVector>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <tuple>

#include <malloc.h>

namespace {

using namespace bench;

constexpr int c_nPairs = 15;
// Quartiles further apart than this part of the median settle nothing.
constexpr double c_dMostSpread = 0.1;

/// Milliseconds of one run; whatever is not to be timed it does before and after.
using Run = std::function<double()>;

template <typename Work> double timed(const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

// The document of the file goes within a load; the records stay until they are forgotten.
double load(CLibrary& library)
{
    const double dTime = timed([&] { library.service().loadSettings(); });
    library.requireLoaded();
    library.renew();
    return dTime;
}

double loadAndForget(CLibrary& library)
{
    return timed([&] {
        library.service().loadSettings();
        library.renew();
    });
}

double loadByQt(CLibrary& library)
{
    auto pDocument = std::make_unique<QDomDocument>();
    double dTime = timed([&] { require(readByQt(library.livePath(), *pDocument), "not parsed"); });
    require(KW::elementCount(*pDocument) == library.elementCount(), "another document");
    dTime += timed([&] { pDocument.reset(); });
    return dTime;
}

double loadByPugi(CLibrary& library)
{
    int nElements = 0;
    const double dTime = timed([&] { nElements = pugiElements(library.livePath()); });
    require(nElements == library.elementCount(), "pugixml read another document");
    return dTime;
}

double stall(CLibrary& library)
{
    library.service().loadSettings();
    ::malloc_trim(0);
    const double dTime = timed([&] { library.service().saveSettings(); });
    library.waitForWorker();
    library.requireSaved();
    library.renew();
    return dTime;
}

// All of a save, until nothing of it is left.
double save(CLibrary& library)
{
    library.service().loadSettings();
    const double dTime = timed([&] {
        library.service().saveSettings();
        library.waitForWorker();
    });
    library.requireSaved();
    library.renew();
    return dTime;
}

// After a load, as ours: memory that was used before costs more to get.
double stallByHand(CLibrary& library, const CPlan& plan)
{
    library.service().loadSettings();
    ::malloc_trim(0);
    QDomDocument doc;
    const double dTime = timed([&] { doc = plan.build(); });
    require(KW::elementCount(doc) == library.elementCount(), "another document");
    library.renew();
    return dTime;
}

double worker(CLibrary& library)
{
    COpenManager manager;
    manager.loadSettings();
    QDomDocument doc = buildDocument(library.size());
    const double dTime = timed([&] { manager.saveSync(doc); });
    delete manager.getLayoutConfig();
    library.requireSaved();
    return dTime;
}

double workerByQt(CLibrary& library)
{
    const QDomDocument doc = buildDocument(library.size());
    const double dTime = timed([&] { saveByQt(doc, library.livePath()); });
    library.requireSaved();
    return dTime;
}

double workerByPugi(CLibrary& library)
{
    const CPugiTree tree(library.livePath());
    const double dTime = timed([&] { tree.save(library.livePath()); });
    library.requireSaved();
    return dTime;
}

// The value below which this part of the values is.
double quantile(QVector<double> values, double part)
{
    const auto it = values.begin() + static_cast<int>(part * (values.size() - 1));
    std::nth_element(values.begin(), it, values.end());
    return *it;
}

double trimmed(const Run& run)
{
    ::malloc_trim(0);
    return run();
}

void compare(const char* pszWhat, const Size& size, const Run& ours, const Run& other)
{
    trimmed(ours);
    trimmed(other);
    QVector<double> times;
    QVector<double> ratios;
    for (int i = 0; i < c_nPairs; ++i) {
        const double dFirst = trimmed(i % 2 == 0 ? ours : other);
        const double dSecond = trimmed(i % 2 == 0 ? other : ours);
        times.append(i % 2 == 0 ? dFirst : dSecond);
        ratios.append(i % 2 == 0 ? dFirst / dSecond : dSecond / dFirst);
    }
    const double dMedian = quantile(ratios, 0.5);
    const double dLow = quantile(ratios, 0.25);
    const double dHigh = quantile(ratios, 0.75);
    const bool bSettled = dHigh - dLow <= c_dMostSpread * dMedian;
    std::printf("| %s | %s | %.2f | %s%.2f | %.2f-%.2f |\n", pszWhat, size.pszName,
                quantile(times, 0.5), bSettled ? "" : "not settled: ", dMedian, dLow, dHigh);
    std::fflush(stdout);
}

void comparePeer(const Size& size, CLibrary& library, const Peer& peer)
{
    const Settings settings = settingsOf(size);
    const QString strPath = library.livePath() + ".peer";
    peer.write(strPath, settings);
    const bool bSameFile = &peer == &c_ptree;
    const Run read = [&] {
        int nRead = 0;
        const double dTime = timed(
            [&] { nRead = bSameFile ? ptreeElements(library.livePath()) : peer.read(strPath); });
        require(nRead == (bSameFile ? library.elementCount() : peer.expected(settings)),
                "something else was read");
        return dTime;
    };
    const Run write = [&] { return timed([&] { peer.write(strPath, settings); }); };
    for (const auto& [strWhat, ours, other] :
         { std::tuple(std::string("load / "), &load, read),
           std::tuple(std::string("stall / "), &stall, write),
           std::tuple(std::string("save / "), &save, write) }) {
        compare((strWhat + peer.pszName).c_str(), size, [&] { return ours(library); }, other);
    }
    require(peer.read(strPath) == peer.expected(settings), "something else was written");
}

void compareAll(const Size& size)
{
    CLibrary library(size);
    const CPlan plan(size);
    const Run byQt = [&] { return loadByQt(library); };
    compare(
        "load / Qt's reading", size, [&] { return load(library); }, byQt);
    compare(
        "load+forget / Qt's reading", size, [&] { return loadAndForget(library); }, byQt);
    compare(
        "stall / bare QDom", size, [&] { return stall(library); },
        [&] { return stallByHand(library, plan); });
    compare(
        "worker / Qt's writing", size, [&] { return worker(library); },
        [&] { return workerByQt(library); });
    compare(
        "load / pugixml", size, [&] { return load(library); }, [&] { return loadByPugi(library); });
    compare(
        "worker / pugixml", size, [&] { return worker(library); },
        [&] { return workerByPugi(library); });
    for (const Peer* pPeer : { &c_qsettings, &c_kconfig, &c_ptree }) {
        comparePeer(size, library, *pPeer);
    }
}

} // namespace

int main(int argc, char** argv)
{
    qSetGlobalQHashSeed(0);
    const QCoreApplication app(argc, argv);
    std::printf("| what | size | ours, ms | ratio | quartiles |\n|---|---|---|---|---|\n");
    for (const Size& size : c_sizes) {
        compareAll(size);
    }
    return 0;
}
