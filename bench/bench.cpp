// Everything beside its floor and its peers, in one run. See docs/performance.md.

#include "peers.h"
#include "subjects.h"

#include <format/elementtree.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>

namespace {

using namespace bench;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "cannot read");
    return file.readAll();
}

// What the caller waits for; the document stays, with the sections of others in it.
void loadOurs(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    for (auto _ : state) {
        library.service().loadSettings();
        state.PauseTiming();
        library.requireLoaded();
        library.renew();
        state.ResumeTiming();
    }
}

// And all of it destroyed again, as the floor destroys its document.
void loadAndForget(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    for (auto _ : state) {
        library.service().loadSettings();
        library.renew();
    }
}

void loadFloor(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    for (auto _ : state) {
        QDomDocument doc;
        require(doc.setContent(QString::fromUtf8(contentOf(library.livePath()))), "not parsed");
    }
}

void stallOurs(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    library.service().loadSettings();
    for (auto _ : state) {
        library.service().saveSettings();
        state.PauseTiming();
        library.waitForWorker();
        state.ResumeTiming();
    }
    library.requireSaved();
}

void stallFloor(benchmark::State& state, const Size& size)
{
    const CPlan plan(size);
    const int nElements = KW::elementCount(plan.build());
    require(nElements > 0 && nElements == KW::elementCount(buildDocument(size)),
            "another document");
    for (auto _ : state) {
        QDomDocument doc = plan.build();
        state.PauseTiming();
        doc.clear();
        state.ResumeTiming();
    }
}

void workerOurs(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    COpenManager manager;
    manager.loadSettings();
    for (auto _ : state) {
        state.PauseTiming();
        QDomDocument doc = buildDocument(size);
        state.ResumeTiming();
        manager.saveSync(doc);
    }
    delete manager.getLayoutConfig();
    library.requireSaved();
}

void workerFloor(benchmark::State& state, const Size& size)
{
    CLibrary library(size);
    const QString strCopy = library.livePath() + ".copy";
    for (auto _ : state) {
        state.PauseTiming();
        QDomDocument doc = buildDocument(size);
        state.ResumeTiming();
        writeDurably(strCopy, doc.toString(4).toUtf8());
        QFile::remove(library.livePath());
        require(QFile::copy(strCopy, library.livePath()), "not copied");
    }
    library.requireSaved();
}

using Write = void (*)(const QString& path, const Settings& settings);
using Read = int (*)(const QString& path);

void peerLoad(benchmark::State& state, const Size& size, Write write, Read read)
{
    const QTemporaryDir directory(QStringLiteral("bench-XXXXXX"));
    const QString strPath = directory.filePath("peer");
    write(strPath, settingsOf(size));
    for (auto _ : state) {
        require(read(strPath) > 0, "nothing was read");
    }
}

void peerStall(benchmark::State& state, const Size& size, Write write, Read read)
{
    const QTemporaryDir directory(QStringLiteral("bench-XXXXXX"));
    const QString strPath = directory.filePath("peer");
    const Settings settings = settingsOf(size);
    for (auto _ : state) {
        write(strPath, settings);
    }
    require(read(strPath) > 0, "nothing was written");
}

struct Peer {
    const char* pszName;
    Write write;
    Read read;
};

constexpr Peer c_peers[] = { { "qsettings", qsettingsWrite, qsettingsRead },
                             { "kconfig", kconfigWrite, kconfigRead },
                             { "ptree", ptreeWrite, ptreeRead } };

template <typename Function, typename... Args>
void add(const char* pszWhat, const Size& size, const char* pszWho, Function function, Args... args)
{
    const std::string strName = std::string(pszWhat) + '/' + size.pszName + '/' + pszWho;
    benchmark::RegisterBenchmark(strName.c_str(), function, size, args...)
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
}

void registerAll()
{
    for (const Size& size : c_sizes) {
        add("load", size, "ours", loadOurs);
        add("load", size, "ours+forget", loadAndForget);
        add("load", size, "floor", loadFloor);
        add("stall", size, "ours", stallOurs);
        add("stall", size, "floor", stallFloor);
        add("worker", size, "ours", workerOurs);
        add("worker", size, "floor", workerFloor);
        for (const Peer& peer : c_peers) {
            add("load", size, peer.pszName, peerLoad, peer.write, peer.read);
            add("stall", size, peer.pszName, peerStall, peer.write, peer.read);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    qSetGlobalQHashSeed(0);
    const QCoreApplication app(argc, argv);
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
