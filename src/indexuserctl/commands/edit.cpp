#include "commands/edit.h"

#include "commands/difftable.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"

#include <inspect/doubts.h>
#include <inspect/userdifferences.h>

#include <indexuser/userconfigfactory.h>
#include <platform/limits.h>

namespace {

using mend::EditFailure;

QString messageOf(const Request& request, const mend::Edit& edit)
{
    switch (edit.failure) {
    case EditFailure::None:
        break;
    case EditFailure::NotWhole:
        return toText(edit.error) + encodingHint(edit.error) + recoverHint(request);
    case EditFailure::NotLoaded:
        return QStringLiteral("the service does not hold what is in the file; nothing is changed");
    case EditFailure::TooDeep:
        return QStringLiteral("elements would be nested deeper than %1 levels: %2")
            .arg(QString::number(KW::c_nMaxDepth), edit.strCut);
    case EditFailure::NotWritten:
        return writeFailureText(request, edit.write);
    case EditFailure::NotEnded:
        return QStringLiteral("the save does not end");
    case EditFailure::NotSaved:
        return failedWrite(request, toText(edit.error));
    case EditFailure::OtherSaved:
        return failedWrite(request,
                           "the file does not hold the change: "
                               + (edit.difference ? toText(*edit.difference) : QString())
                               + (edit.strKept.isEmpty()
                                      ? QString()
                                      : "; what it holds is kept as " + edit.strKept));
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
        throw CFailure(statusOf(edit), messageOf(request, edit), placeOf(edit.error));
    }
}

mend::Changer changerOf(const Request& request, const Change& change, const RecordsChange& records)
{
    const QString strLive = inspect::livePath(request.strConfigDir);
    return { *KW::UserConfigFactory::getIndexUserConfig(),
             [strLive](const QByteArray& bytes) { standalone::serveOnce(strLive, bytes); }, change,
             standalone::guardSaves, records };
}

// Whatever became of the save, a file that is there is again what it was besides its content.
void save(const Request& request, mend::CTransaction& transaction, const mend::Changer& changer,
          const CUserGuard& guard, mend::Edit& edit)
{
    if (mend::saveEdit(transaction, changer, edit)) {
        guard.giveBack();
        return;
    }
    try {
        guard.giveBack();
    } catch (const CFailure&) {
        // The save that failed is what has to be told.
    }
    requireNoFailure(request, edit);
}

ExitStatus edit(const Request& request, const Change& change, const RecordsChange& records)
{
    requireOwner(request);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    const bool bLocked = request.isDryRun() || takeLock(request, transaction);
    const CUserGuard guard(request);
    const mend::Changer changer = changerOf(request, change, records);
    mend::Edit edit = mend::prepareEdit(transaction, changer);
    requireNoFailure(request, edit);
    requireSensible(request, edit.before, edit.expected);
    guard.requireReplaceable();
    const auto differences = inspect::differences(edit.before, edit.expected);
    print({ diffTable(request, differences, "the file", "the change") }, request.format);
    const bool bSave = !differences.isEmpty() && !request.isDryRun();
    if (bSave && !bLocked) {
        throw CFailure(ExitStatus::InputOutput,
                       writeFailureText(request, mend::WriteFailure::NoLock));
    }
    if (bSave) {
        save(request, transaction, changer, guard, edit);
        record({ receiptTable(edit.receipt) });
        printLine();
        printReceipt("saved " + inspect::livePath(request.strConfigDir), edit.receipt);
    }
    requireDurable(edit.receipt);
    return ExitStatus::Ok;
}

} // namespace

// What the client would take, and nobody is likely to mean. What was there before is no reason to
// refuse a change of something else.
void requireSensible(const Request& request, const KW::UserRecords& before,
                     const KW::UserRecords& after)
{
    constexpr int nTold = 5;
    const auto doubts = inspect::newDoubts(before, after);
    if (doubts.isEmpty() || request.isForced()) {
        return;
    }
    QStringList texts;
    for (const inspect::Doubt& doubt : doubts.mid(0, nTold)) {
        const QString strPlace = doubt.strPlace.isEmpty() ? QString() : doubt.strPlace + ": ";
        texts.append(strPlace + doubt.strText);
    }
    if (doubts.size() > nTold) {
        texts.append(QStringLiteral("and %1 more").arg(doubts.size() - nTold));
    }
    throw CFailure(ExitStatus::Negative,
                   texts.join(QStringLiteral("; "))
                       + QStringLiteral("; --force makes the change all the same"));
}

ExitStatus edit(const Request& request, const Change& change)
{
    return edit(request, change, {});
}

ExitStatus editRecords(const Request& request, const RecordsChange& change)
{
    return edit(request, {}, change);
}
