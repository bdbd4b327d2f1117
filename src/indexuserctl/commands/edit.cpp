#include "commands/edit.h"

#include "commands/difftable.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/userdifferences.h>

#include <indexuser/userconfigfactory.h>
#include <indexuser/userdocument.h>

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int c_nSaveTimeoutMs = 30000;

QString recoverHint(const Request& request)
{
    using inspect::RecoveryResult;
    const RecoveryResult result
        = inspect::recover(request.strConfigDir, inspect::RunMode::DryRun).result;
    const bool bHelps
        = result == RecoveryResult::Recovered || result == RecoveryResult::RecoveredWithLoss;
    return bHelps ? QStringLiteral("; 'recover' brings a dated copy back") : QString();
}

inspect::UserFile editableFile(const Request& request)
{
    try {
        return liveFile(request);
    } catch (const CFailure& failure) {
        throw CFailure(failure.status(), failure.message() + recoverHint(request));
    }
}

// The service reads the file for itself, and goes on with defaults when it cannot: saved, they
// would take the place of all that the user has.
void requireLoaded(KW::UserConfigInterface& service, const QDomDocument& file)
{
    if (!inspect::differences(inspect::recordsOf(file), inspect::recordsOf(service, file))
             .isEmpty()) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("the file was read once, but not again; nothing is changed"));
    }
}

// A window stands deeper in a template than in the layout; a save would cut what gets too deep.
void requireUncut(const inspect::UserRecords& changed)
{
    QDomDocument doc = inspect::documentOf(changed);
    const QStringList cut = KW::userDocumentText(doc).cut;
    if (!cut.isEmpty()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("elements would be nested deeper than %1 levels: %2")
                           .arg(QString::number(KW::c_nMaxDepth), cut.first()));
    }
}

// The service does not tell what refused; the siblings know of files, the system of directories.
QString causeOf(const Request& request)
{
    const QByteArray directory = QFile::encodeName(request.strConfigDir);
    if (::faccessat(AT_FDCWD, directory.constData(), W_OK, AT_EACCESS) != 0) {
        return QString::fromLocal8Bit(std::strerror(errno)) + ": " + request.strConfigDir;
    }
    const standalone::WriteFailure failure = standalone::lastWriteFailure();
    return failure.strReason.isEmpty() ? QString() : failure.strReason + ": " + failure.strPath;
}

[[noreturn]] void failSave(const Request& request, const QString& observed)
{
    const QString strCause = causeOf(request);
    throw CFailure(ExitStatus::InputOutput,
                   "the save failed: " + (strCause.isEmpty() ? observed : strCause)
                       + recoverHint(request));
}

// A save replaces the live file in two steps, and the service says "done" after either.
void requireSaved(const Request& request, const inspect::UserRecords& expected)
{
    const inspect::UserFile file = inspect::readUserFile(inspect::livePath(request.strConfigDir));
    if (file.state != inspect::FileState::Whole) {
        failSave(request, file.strError);
    }
    const auto differences = inspect::differences(expected, inspect::recordsOf(file.document));
    if (!differences.isEmpty()) {
        failSave(request,
                 "the file does not hold the change: " + inspect::toText(differences.first()));
    }
}

} // namespace

ExitStatus edit(const Request& request, const Change& change)
{
    const QDomDocument file = editableFile(request).document;
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();
    requireLoaded(service, file);
    change(service);
    const inspect::UserRecords changed = inspect::recordsOf(service, file);
    requireUncut(changed);
    const inspect::UserRecords expected = inspect::savedForm(changed);
    const auto differences = inspect::differences(inspect::recordsOf(file), expected);
    print({ diffTable(differences, "the file", "the change", request.secrets) }, request.format);
    if (!differences.isEmpty() && !request.isDryRun()) {
        saveAndWait(service);
        requireSaved(request, expected);
        printLine();
        printDone("saved " + inspect::livePath(request.strConfigDir));
    }
    return ExitStatus::Ok;
}

void saveAndWait(KW::UserConfigInterface& service)
{
    QElapsedTimer timer;
    timer.start();
    service.saveSettings();
    while (!service.getSaveSuccess()) {
        if (timer.hasExpired(c_nSaveTimeoutMs)) {
            throw CFailure(ExitStatus::InputOutput, QStringLiteral("the save does not end"));
        }
        QThread::msleep(1);
    }
}
