#include "librarytest.h"
#include "logcapture.h"

#include <inspect/userfile.h>
#include <inspect/userrecords.h>

#include <atomic>
#include <functional>
#include <shared_mutex>
#include <thread>
#include <vector>

// Eight threads at the service at once, as careful as a host has to be: whoever touches records or
// releases the instance is alone, all else runs beside each other.
class tst_concurrency : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void eightThreadsAtOnce();
    void backToBackSavesEndWithOneOfThem();
    void aReleaseDuringSavesLosesNone();
};

namespace {

constexpr int c_nRounds = 150;

class CHost {
public:
    void alone(const std::function<void(KW::UserConfigInterface&)>& work)
    {
        const std::unique_lock<std::shared_mutex> lock(m_mutex);
        work(*KW::UserConfigFactory::getIndexUserConfig());
    }

    void together(const std::function<void(KW::UserConfigInterface&)>& work)
    {
        const std::shared_lock<std::shared_mutex> lock(m_mutex);
        work(*KW::UserConfigFactory::getIndexUserConfig());
    }

private:
    std::shared_mutex m_mutex;
};

void setGeneration(KW::UserConfigInterface& service, int generation)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    options.reportRefreshTime = generation;
    options.indexSortUpdate = -generation;
    service.setParamSettingForClient(options);
}

void run(const std::vector<std::function<void(int)>>& workers)
{
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    for (const auto& worker : workers) {
        threads.emplace_back([&worker] {
            for (int i = 1; i <= c_nRounds; ++i) {
                worker(i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A save that nobody waits for would write into the directory of the next test.
int threadCount()
{
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

bool isOneDocument(const QString& path)
{
    const inspect::UserFile file = inspect::readUserFile(path);
    const KW::paramSettingForClient options = inspect::recordsOf(file.document).options;
    return file.state == inspect::FileState::Whole && options.reportRefreshTime > 0
        && options.indexSortUpdate == -options.reportRefreshTime;
}

} // namespace

void tst_concurrency::eightThreadsAtOnce()
{
    const int nThreads = threadCount();
    writeLive("<ICUserConfigFile/>");
    CHost host;
    std::atomic<int> nHeard { 0 };
    const auto notify = [&](int i) {
        host.together([&](auto& service) {
            service.smartKeyConfigChange();
            service.updateAccerPeriod(i);
        });
    };
    const auto listen = [&](int) {
        host.together([&](auto& service) {
            const boost::signals2::scoped_connection stocks
                = service.sigStockListChanged.connect([&] { ++nHeard; });
            const boost::signals2::scoped_connection period
                = service.sigAccerPeriodChanged.connect([&](int) { ++nHeard; });
            service.smartKeyConfigChange();
        });
    };
    const auto change
        = [&](int i) { host.alone([&](auto& service) { setGeneration(service, i); }); };
    const auto save = [&](int) { host.alone([](auto& service) { service.saveSettings(); }); };
    const auto poll = [&](int) { host.together([](auto& service) { service.getSaveSuccess(); }); };
    const auto recreate = [&](int i) {
        if (i % 10 == 0) {
            host.alone([](auto&) { utils::CSingletonT<KW::CUserConfigManager>::release(); });
            host.alone([](auto& service) { service.loadSettings(); });
        }
    };
    run({ notify, notify, listen, listen, change, save, poll, recreate });
    QVERIFY(nHeard >= 2 * c_nRounds);
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), nThreads, 60000);
    logcapture::start(); // a load may have found the file between the two steps of a save
}

void tst_concurrency::backToBackSavesEndWithOneOfThem()
{
    const int nThreads = threadCount();
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    for (int i = 1; i <= c_nRounds; ++i) {
        setGeneration(service(), i);
        service().saveSettings();
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), nThreads, 60000);
    QVERIFY(isOneDocument(livePath()));
    QVERIFY(isOneDocument(datedPath()));
}

void tst_concurrency::aReleaseDuringSavesLosesNone()
{
    writeLive("<ICUserConfigFile/>");
    for (int i = 1; i <= 20; ++i) {
        service().loadSettings();
        setGeneration(service(), i);
        service().saveSettings();
        utils::CSingletonT<KW::CUserConfigManager>::release();
        const auto saved = [&] {
            const inspect::UserFile file = inspect::readUserFile(livePath());
            return file.state == inspect::FileState::Whole
                && inspect::recordsOf(file.document).options.reportRefreshTime == i;
        };
        QTRY_VERIFY_WITH_TIMEOUT(saved(), 60000);
    }
}

QTEST_GUILESS_MAIN(tst_concurrency)
#include "tst_concurrency.moc"
