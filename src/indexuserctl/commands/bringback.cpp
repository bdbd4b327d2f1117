#include "commands/bringback.h"

#include "commands/difftable.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"

#include <mend/reencode.h>

namespace {

// Of a file that is not whole nothing can be compared.
QVector<Table> changes(const Request& request, const mend::Restoration& restoration)
{
    const inspect::UserFile live = inspect::readUserFile(inspect::livePath(request.strConfigDir));
    const inspect::UserFile wanted
        = inspect::userFileOf({ inspect::FileState::Whole, restoration.bytes, {} });
    if (live.state != inspect::FileState::Whole || wanted.state != inspect::FileState::Whole) {
        return {};
    }
    const auto differences = inspect::differences(inspect::recordsOf(live.document),
                                                  inspect::recordsOf(wanted.document));
    return { diffTable(request, differences, "the file", "what comes back") };
}

// Of a file that was not whole, or not there, an undo has to be asked twice, or cannot be.
QString wayBack(const mend::Restoration& restoration, const mend::Recovery& recovery,
                const QByteArray& found)
{
    if (recovery.before == inspect::FileState::Missing) {
        return {};
    }
    const QString strCommand = commandBack(
        restoration.action, mend::digestOf(found) == restoration.expected, recovery.receipt.nEdit);
    return recovery.before == inspect::FileState::Whole ? strCommand : strCommand + " --force";
}

} // namespace

QString commandBack(mend::HistoryAction action, bool bExpected, int edit)
{
    if (action == mend::HistoryAction::Edit) {
        return QStringLiteral("undo");
    }
    const QString strCommand = action == mend::HistoryAction::Undo ? "redo" : "undo";
    return bExpected ? strCommand : QStringLiteral("history restore %1").arg(edit);
}

void requireNoFailure(const Request& request, const mend::Recovery& recovery)
{
    if (recovery.result != mend::RecoveryResult::Failed) {
        return;
    }
    if (recovery.write == mend::WriteFailure::Changed) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("the file has been changed since; --force all the same"));
    }
    if (recovery.write != mend::WriteFailure::None) {
        throw writeFailure(request, recovery.write, recovery.holder);
    }
    throw CFailure(mend::isConvertible(recovery.error) ? ExitStatus::Damaged
                                                       : ExitStatus::InputOutput,
                   toText(recovery.error) + encodingHint(recovery.error), placeOf(recovery.error));
}

ExitStatus bringBack(const Request& request, const mend::Restoration& restoration,
                     const QString& what, const QVector<Table>& before)
{
    requireOwner(request);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    // What the file is besides its content is looked at and given back under the lock.
    const CUserGuard guard(request);
    guard.requireReplaceable();
    const QVector<Table> tables = before + changes(request, restoration);
    const mend::Recovery recovery = mend::restore(transaction, restoration, request.mode);
    requireNoFailure(request, recovery);
    if (recovery.result == mend::RecoveryResult::NoSnapshot) {
        throw CFailure(ExitStatus::Damaged,
                       QStringLiteral("what would come back is no whole user file; undo, redo and "
                                      "history restore bring it back with --force"));
    }
    const bool bWritten = recovery.receipt.isWritten();
    if (bWritten) {
        guard.giveBack();
    }
    print(tables, request.format);
    if (bWritten) {
        record({ receiptTable(recovery.receipt) });
    }
    printLine();
    if (!recovery.strSetAside.isEmpty()) {
        printError("what was there before is kept as " + recovery.strSetAside);
    }
    if (bWritten) {
        printReceipt("brought back " + what, recovery.receipt,
                     wayBack(restoration, recovery, transaction.bytes()));
    } else {
        printLine(recovery.result == mend::RecoveryResult::NothingToDo
                      ? "the file is the same already"
                      : "would bring back " + what);
    }
    requireDurable(recovery.receipt);
    return ExitStatus::Ok;
}
