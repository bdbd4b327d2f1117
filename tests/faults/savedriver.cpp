// savedriver DIR FIRST COUNT: loads the user in DIR, then saves COUNT generations (0: endless) from
// FIRST on; a generation is the value of an option. Prints each when its save has ended.

#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>
#include <standalone/standalone.h>

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <unistd.h>

namespace {

void arm(int armed)
{
    using Arm = void(int);
    static const auto pArm = reinterpret_cast<Arm*>(::dlsym(RTLD_DEFAULT, "fault_arm"));
    if (pArm != nullptr) {
        pArm(armed);
    }
}

void save(KW::UserConfigInterface& service, int generation)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    options.reportRefreshTime = generation;
    service.setParamSettingForClient(options);
    arm(1);
    service.saveSettings();
    while (!service.getSaveSuccess()) {
        ::usleep(50);
    }
    arm(0);
    std::printf("%d\n", generation);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        return 2;
    }
    standalone::setConfigDir(argv[1]);
    standalone::logToStderr(standalone::LogLines::All);
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();
    const int nFirst = std::atoi(argv[2]);
    const int nCount = std::atoi(argv[3]);
    for (int i = 0; nCount == 0 || i < nCount; ++i) {
        save(service, nFirst + i);
    }
    return 0;
}
