// roamclient DIR CONNECTION FIRST COUNT [SETTLE]: a trader's client on the directory DIR, which
// recovers, prepares, loads, and saves COUNT generations (endless: without end) from FIRST on; a
// generation is the value of an option. Prints each when its save has ended. At the end it waits
// for its sender and prints how that stands, by SenderState.

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>
#include <mend/recovery.h>
#include <platform/filenames.h>
#include <platform/strategybase.h>
#include <roaming/postgresstore.h>
#include <roaming/prepare.h>
#include <roaming/sender.h>
#include <standalone/standalone.h>

#include <QCoreApplication>
#include <QRandomGenerator>

#include <cstdio>

#include <unistd.h>

namespace {

constexpr int c_nPrepareMsecs = 1000;
constexpr int c_nFlushMsecs = 30000;
constexpr int c_nMostPause = 30000; // microseconds

std::optional<QByteArray> mirror()
{
    std::string strValue;
    return se::readConfig({}, KW::c_szMirrorKey, strValue, false) == 0
        ? std::make_optional(QByteArray::fromStdString(strValue))
        : std::nullopt;
}

void save(KW::UserConfigInterface& service, int generation)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    options.reportRefreshTime = generation;
    service.setParamSettingForClient(options);
    service.saveSettings();
    while (!service.getSaveSuccess()) {
        ::usleep(50);
    }
    std::printf("%d\n", generation);
    std::fflush(stdout);
}

roaming::StoreMaker connectionTo(const QString& connection)
{
    roaming::ConnectionOptions options;
    options.strConnection = connection;
    options.connect = std::chrono::seconds(2);
    options.answer = std::chrono::seconds(3);
    return [options] { return std::make_unique<roaming::CPostgresStore>(options); };
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() < 5) {
        return 2;
    }
    const bool bEndless = words[4] == QLatin1String("endless");
    const int nFirst = words[3].toInt();
    const int nEnd = nFirst + words[4].toInt();
    standalone::setConfigDir(words[1]);
    roaming::Desk desk { words[1], roaming::thisMachine(words[1]) };
    desk.settings.mirror = mirror;
    const roaming::StoreMaker connect = connectionTo(words[2]);
    mend::recover(words[1], mend::RunMode::Do);
    roaming::prepare(desk, connect, c_nPrepareMsecs);
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();

    const roaming::SenderTimes times { words.value(5, "10000").toInt(), 10, 100, 1000, 300000 };
    roaming::CSender sender(desk, connect, times);
    standalone::onStored([&sender](const QString&, const QString&) { sender.wake(); });
    for (int i = nFirst; bEndless || i < nEnd; ++i) {
        save(service, i);
        ::usleep(QRandomGenerator::global()->bounded(bEndless ? c_nMostPause : 1));
    }
    sender.flush(c_nFlushMsecs);
    standalone::onStored({});
    std::printf("state %d\n", static_cast<int>(sender.status().state));
    return 0;
}
