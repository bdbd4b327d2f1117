#include "commands/edit.h"

#include "commands/difftable.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/userdifferences.h>
#include <mend/recovery.h>

#include <indexuser/userconfigfactory.h>
#include <platform/limits.h>

#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

using mend::EditFailure;

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
    using mend::RecoveryResult;
    if (!closedReason(request.strConfigDir).isEmpty()) {
        return {};
    }
    const RecoveryResult result = mend::recover(request.strConfigDir, mend::RunMode::DryRun).result;
    const bool bHelps
        = result == RecoveryResult::Recovered || result == RecoveryResult::RecoveredWithLoss;
    return bHelps ? QStringLiteral("; 'recover' brings a dated copy back") : QString();
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

QString failedSave(const Request& request, const QString& observed)
{
    const QString strCause = causeOf(request);
    return "the save failed: " + (strCause.isEmpty() ? observed : strCause) + recoverHint(request);
}

QString messageOf(const Request& request, const mend::Edit& edit)
{
    switch (edit.failure) {
    case EditFailure::None:
        break;
    case EditFailure::NotWhole:
        return toText(edit.error) + encodingHint(edit.error) + recoverHint(request);
    case EditFailure::NotLoaded:
        return QStringLiteral("the file was read once, but not again; nothing is changed");
    case EditFailure::TooDeep:
        return QStringLiteral("elements would be nested deeper than %1 levels: %2")
            .arg(QString::number(KW::c_nMaxDepth), edit.strCut);
    case EditFailure::NotEnded:
        return QStringLiteral("the save does not end");
    case EditFailure::NotSaved:
        return failedSave(request, toText(edit.error));
    case EditFailure::OtherSaved:
        return failedSave(request,
                          "the file does not hold the change: "
                              + (edit.difference ? toText(*edit.difference) : QString()));
    }
    return {};
}

ExitStatus statusOf(const mend::Edit& edit)
{
    const bool bDamaged
        = edit.failure == EditFailure::NotWhole && edit.state == inspect::FileState::Damaged;
    return edit.failure == EditFailure::TooDeep ? ExitStatus::Negative
        : bDamaged                              ? ExitStatus::Damaged
                                                : ExitStatus::InputOutput;
}

void requireNoFailure(const Request& request, const mend::Edit& edit)
{
    if (edit.failure != EditFailure::None) {
        throw CFailure(statusOf(edit), messageOf(request, edit));
    }
}

} // namespace

ExitStatus edit(const Request& request, const mend::Change& change)
{
    const CUserGuard guard(request);
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    mend::Edit edit = mend::prepareEdit(request.strConfigDir, service, change);
    requireNoFailure(request, edit);
    guard.requireReplaceable();
    const auto differences = inspect::differences(edit.before, edit.expected);
    print({ diffTable(request, differences, "the file", "the change") }, request.format);
    if (!differences.isEmpty() && !request.isDryRun()) {
        mend::saveEdit(request.strConfigDir, service, edit);
        requireNoFailure(request, edit);
        guard.giveBack();
        printLine();
        printDone("saved " + inspect::livePath(request.strConfigDir));
    }
    return ExitStatus::Ok;
}
