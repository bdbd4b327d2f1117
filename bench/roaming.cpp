// What roaming costs, beside bare statements on the server that libpq's environment names. See
// docs/performance.md.

#include "roamingload.h"
#include "subjects.h"

#include <roaming/prepare.h>
#include <roaming/sender.h>
#include <standalone/standalone.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>

#include <malloc.h>
#include <unistd.h>

namespace {

using namespace bench;

constexpr int c_nTraders = 16;
constexpr int c_nPairs = 5;
constexpr int c_nMsecs = 2000;
constexpr int c_nLogged = 30;
constexpr int c_nStarts = 9;
constexpr int c_nStalls = 41;

struct Sample {
    const char* pszName;
    int nWindows;
    int nStocks;
};
constexpr Sample c_samples[]
    = { { "13 kB", 5, 130 }, { "1 MB", 50, 8700 }, { "5 MB", 250, 43000 } };

template <typename Work> double timed(const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

struct Pairs {
    std::vector<double> ours;
    std::vector<double> other;
    std::vector<double> ratios;

    void add(double ourOne, double otherOne)
    {
        ours.push_back(ourOne);
        other.push_back(otherOne);
        ratios.push_back(ourOne / otherOne);
    }

    void print(const char* pszWhat, const char* pszSize, const char* pszClients) const
    {
        std::printf("| %s | %s | %s | %.1f | %.1f | %.2f |\n", pszWhat, pszSize, pszClients,
                    median(ours), median(other), median(ratios));
        std::fflush(stdout);
    }
};

void saves(const Sample& sample, const CText& text, int clients)
{
    std::vector<Saver> ours;
    std::vector<Saver> bare;
    for (int i = 0; i < clients; ++i) {
        ours.push_back(ourSaver(text, i));
        bare.push_back(bareSaver(text, i));
        ours.back()(); // the whole text goes once
        bare.back()();
    }
    Pairs pairs;
    for (int i = 0; i < c_nPairs; ++i) {
        const bool bOursFirst = i % 2 == 0;
        const double dFirst = rate(bOursFirst ? ours : bare, c_nMsecs);
        const double dSecond = rate(bOursFirst ? bare : ours, c_nMsecs);
        bOursFirst ? pairs.add(dFirst, dSecond) : pairs.add(dSecond, dFirst);
    }
    pairs.print("saves a second / bare `INSERT`", sample.pszName,
                QByteArray::number(clients).constData());
    CBareConnection("postgres").run("truncate bare");
}

double loggedKilobytes(CBareConnection& owner, const Saver& saver)
{
    const QByteArray before = owner.run("select pg_current_wal_lsn()");
    for (int i = 0; i < c_nLogged; ++i) {
        saver();
    }
    const QByteArray bytes
        = owner.run("select pg_wal_lsn_diff(pg_current_wal_lsn(), '" + before + "')");
    return bytes.toDouble() / 1024 / c_nLogged;
}

void log(const Sample& sample, const CText& text)
{
    CBareConnection owner("postgres");
    const Saver ours = ourSaver(text, 0);
    const Saver bare = bareSaver(text, 0);
    ours();
    bare();
    Pairs pairs;
    pairs.add(loggedKilobytes(owner, ours), loggedKilobytes(owner, bare));
    pairs.print("log of an option that changed / of the whole text, kB", sample.pszName, "");
}

// A machine that has nothing, then the same in step.
void starts(const Sample& sample, const CText& text)
{
    const roaming::ConnectionOptions options = optionsOf(0);
    const roaming::StoreMaker connect
        = [options] { return std::make_unique<roaming::CPostgresStore>(options); };
    roaming::SaveWish wish;
    wish.text = text.with(1);
    wish.machine = { QUuid::createUuid(), "desk" };
    wish.id = roaming::saveId(wish);
    CBareConnection("postgres").run("truncate roaming.document cascade");
    require(!connect()->save({ wish }).error, "it is not saved");
    Pairs first;
    Pairs next;
    for (int i = 0; i < c_nStarts; ++i) {
        const QTemporaryDir directory;
        const roaming::Desk desk { directory.path(), roaming::thisMachine(directory.path()) };
        const auto start = [&](roaming::PrepareResult result) {
            return timed([&] {
                require(roaming::prepare(desk, connect, 60000).result == result, "prepare");
            });
        };
        const double dBare = timed([] { CBareConnection("trader0").run("select 1"); });
        first.add(start(roaming::PrepareResult::Taken), dBare);
        next.add(start(roaming::PrepareResult::InStep), dBare);
    }
    first.print("first start of a machine / bare connect, ms", sample.pszName, "1");
    next.print("start in step / bare connect, ms", sample.pszName, "1");
}

// On a thread of its own a save goes on for a while; it is to be over before the next begins.
double stall(CLibrary& library, int value)
{
    KW::UserConfigInterface& service = library.service();
    service.loadSettings();
    KW::paramSettingForClient options = service.getParamSettingForClient();
    options.reportRefreshTime = value;
    service.setParamSettingForClient(options);
    ::malloc_trim(0);
    const double dTime = timed([&] { service.saveSettings(); });
    while (!service.getSaveSuccess()) {
        ::usleep(100);
    }
    ::usleep(50000);
    library.renew();
    return dTime;
}

double stallWithSender(CLibrary& library, int value)
{
    const QString strDir = QFileInfo(library.livePath()).absolutePath();
    const roaming::ConnectionOptions options = optionsOf(1);
    roaming::CSender sender({ strDir, roaming::thisMachine(strDir) }, [options] {
        return std::make_unique<roaming::CPostgresStore>(options);
    });
    require(sender.flush(60000), "the sender is not in step");
    standalone::onStored([&sender](const QString&, const QString&) { sender.wake(); });
    const double dTime = stall(library, value);
    require(sender.flush(60000), "the sender is not in step");
    standalone::onStored({});
    return dTime;
}

void stalls(const char* pszSize)
{
    CLibrary library(sizeOf(pszSize));
    int nValue = 1000;
    Pairs pairs;
    for (int i = 0; i < c_nStalls; ++i) {
        const bool bOursFirst = i % 2 == 0;
        const double dFirst
            = bOursFirst ? stallWithSender(library, ++nValue) : stall(library, ++nValue);
        const double dSecond
            = bOursFirst ? stall(library, ++nValue) : stallWithSender(library, ++nValue);
        bOursFirst ? pairs.add(dFirst, dSecond) : pairs.add(dSecond, dFirst);
    }
    pairs.print("stall of `saveSettings()` with a sender / without one, ms", pszSize, "1");
}

void all(const Sample& sample)
{
    const CText text(sample.nWindows, sample.nStocks);
    for (const int nClients : { 1, 8, c_nTraders }) {
        saves(sample, text, nClients);
    }
    log(sample, text);
    starts(sample, text);
}

} // namespace

// indexuser_roambench [SIZE]...: those alone; "stall" is a size of its own.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList sizes = QCoreApplication::arguments().mid(1);
    makeTables(c_nTraders);
    std::puts("| what | size | clients | ours | beside it | ratio |\n|---|---|---|---|---|---|");
    for (const Sample& sample : c_samples) {
        if (sizes.isEmpty() || sizes.contains(sample.pszName)) {
            all(sample);
        }
    }
    if (sizes.isEmpty() || sizes.contains("stall")) {
        stalls("M");
    }
    return 0;
}
