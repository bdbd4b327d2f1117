// A host from start to end: recover, lock, load, listen, change, save, make sure, stop. Built
// against the installed package. Usage: host DIRECTORY

#include <indexuser/cuserconfigmanager.h>
#include <indexuser/servicerecords.h>
#include <indexuser/userconfigfactory.h>
#include <inspect/userfile.h>
#include <mend/recovery.h>
#include <mend/userlock.h>
#include <standalone/standalone.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>
#include <QThread>

namespace {

QTextStream& out()
{
    static QTextStream s_out(stdout);
    return s_out;
}

// Before the first load: after it, a save would replace what could not be read by defaults.
bool isSafeToLoad(const QString& directory)
{
    const mend::Recovery recovery = mend::recover(directory, mend::RunMode::Do);
    switch (recovery.result) {
    case mend::RecoveryResult::NothingToDo:
        return true;
    case mend::RecoveryResult::Recovered:
    case mend::RecoveryResult::RecoveredWithLoss:
        out() << "recovered from " << recovery.source.strPath << '\n';
        return true;
    case mend::RecoveryResult::NoSnapshot:
        // A new user has neither file nor copies; of a damaged file without copies the user
        // decides.
        return inspect::readUserFile(inspect::livePath(directory)).state
            == inspect::FileState::Missing;
    case mend::RecoveryResult::Failed:
        break;
    }
    out() << toText(recovery.error) << '\n';
    return false;
}

// getSaveSuccess() tells that a save has ended, not how.
bool waitForSave(KW::UserConfigInterface& service)
{
    constexpr int c_nTimeoutMs = 30000;
    QElapsedTimer timer;
    timer.start();
    while (!service.getSaveSuccess() && !timer.hasExpired(c_nTimeoutMs)) {
        QThread::msleep(5);
    }
    return service.getSaveSuccess();
}

bool isOnDisk(KW::UserConfigInterface& service, const QString& directory)
{
    const inspect::UserFile file = inspect::readUserFile(inspect::livePath(directory));
    const KW::UserRecords held = KW::recordsOf(service, KW::otherSections(file.document));
    return file.state == inspect::FileState::Whole
        && KW::savedForm(held) == KW::recordsOf(file.document);
}

void listen(KW::UserConfigInterface& service)
{
    service.sigStockListChanged.connect([] { out() << "stock lists changed\n"; });
    QObject::connect(utils::CSingletonT<KW::CUserConfigManager>::instance(),
                     &KW::CUserConfigManager::sigOptionSettingChange,
                     [] { out() << "options changed\n"; });
}

void change(KW::UserConfigInterface& service)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    options.reportRefreshTime = 750;
    service.setParamSettingForClient(options);
    service.optionSettingChange();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const QString strDirectory = QCoreApplication::arguments().value(1, QStringLiteral("."));
    standalone::setConfigDir(strDirectory);
    standalone::logToStderr(standalone::LogLines::Problems);
    if (!isSafeToLoad(strDirectory)) {
        return 1;
    }
    // Until the end: whoever edits the file meanwhile is told who runs.
    mend::CUserLock lock(strDirectory);
    if (lock.take(0) != mend::LockState::Taken) {
        out() << "process " << lock.holder().nProcess << " may write the file, too\n";
        return 1;
    }

    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    listen(service);
    service.loadSettings();
    change(service);
    service.saveSettings();
    const bool bSaved = waitForSave(service) && isOnDisk(service, strDirectory);
    out() << (bSaved ? "saved" : "NOT saved") << '\n';

    utils::CSingletonT<KW::CUserConfigManager>::release();
    return bSaved ? 0 : 1;
}
