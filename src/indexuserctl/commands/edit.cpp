#include "commands/edit.h"

#include "commands/difftable.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/userdifferences.h>

#include <format/userdocument.h>
#include <indexuser/servicerecords.h>
#include <indexuser/userconfigfactory.h>

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int c_nSaveTimeoutMs = 30000;

// What keeps a directory from being changed, in the system's words; empty if nothing does.
QString closedReason(const QString& directory)
{
    const QByteArray path = QFile::encodeName(directory);
    return ::faccessat(AT_FDCWD, path.constData(), W_OK | X_OK, AT_EACCESS) == 0
        ? QString()
        : QString::fromLocal8Bit(std::strerror(errno));
}

// Where somebody may only look, nothing can be brought back either.
QString recoverHint(const Request& request)
{
    using inspect::RecoveryResult;
    if (!closedReason(request.strConfigDir).isEmpty()) {
        return {};
    }
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
void requireLoaded(const KW::UserRecords& found, const KW::UserRecords& loaded)
{
    if (!(found == loaded)) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("the file was read once, but not again; nothing is changed"));
    }
}

// A window stands deeper in a template than in the layout; a save would cut what gets too deep.
// Nothing else that can be changed here has any depth.
void requireUncut(const KW::UserRecords& changed)
{
    KW::UserRecords layouts;
    layouts.layouts = changed.layouts;
    QDomDocument doc = KW::documentOf(layouts);
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
    const QString strClosed = closedReason(request.strConfigDir);
    if (!strClosed.isEmpty()) {
        return strClosed + ": " + request.strConfigDir;
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
void requireSaved(const Request& request, const KW::UserRecords& expected)
{
    const inspect::UserFile file = inspect::readUserFile(inspect::livePath(request.strConfigDir));
    if (file.state != inspect::FileState::Whole) {
        failSave(request, file.strError);
    }
    const KW::UserRecords found = KW::recordsOf(file.document);
    if (!(expected == found)) {
        const auto differences = inspect::differences(expected, found);
        failSave(request,
                 "the file does not hold the change: "
                     + (differences.isEmpty() ? QString() : inspect::toText(differences.first())));
    }
}

} // namespace

ExitStatus edit(const Request& request, const Change& change)
{
    const KW::UserRecords before = KW::recordsOf(editableFile(request).document);
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();
    requireLoaded(before, KW::recordsOf(service, before.sections));
    change(service);
    const KW::UserRecords changed = KW::recordsOf(service, before.sections);
    requireUncut(changed);
    const KW::UserRecords expected = KW::savedForm(changed);
    const auto differences = inspect::differences(before, expected);
    print({ diffTable(request, differences, "the file", "the change") }, request.format);
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
