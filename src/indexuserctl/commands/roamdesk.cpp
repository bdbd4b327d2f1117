#include "commands/roamdesk.h"

#include "commands/bringback.h"
#include "commands/roamsettings.h"
#include "commands/roamstore.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "terminal/output.h"

#include <algorithm>

namespace {

using roaming::PrepareResult;
using roaming::SendResult;

// Later than a save may take, so that the server's own words come first.
constexpr int c_nDeadlineMs = 15000;

// Without screens it is the one that the client was last at.
roaming::CArrangement arrangementOf(const Request& request)
{
    if (request.strScreens.isEmpty()) {
        return roaming::CArrangement::named(
            roaming::readState(request.strConfigDir).strArrangement);
    }
    const inspect::ScreenList list = inspect::screensFromText(request.strScreens);
    if (!list.strError.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "--screens: " + list.strError);
    }
    return roaming::CArrangement(list.screens);
}

CFailure behindFailure()
{
    return { ExitStatus::Negative,
             QStringLiteral("the server does not know what this machine has had from it: it is "
                            "another one, or was set back; the file is neither sent nor changed") };
}

CFailure busyFailure()
{
    return { ExitStatus::Busy,
             QStringLiteral("busy: another process of this user is in touch with the server") };
}

void requirePrepared(const Request& request, const roaming::Preparation& preparation)
{
    switch (preparation.result) {
    case PrepareResult::Alone:
        throw storeFailure(preparation.error);
    case PrepareResult::Behind:
        throw behindFailure();
    case PrepareResult::Busy:
        throw busyFailure();
    case PrepareResult::NotWritten:
        requireNoFailure(request, preparation.recovery);
        throw writeFailure(request, preparation.recovery.write, preparation.recovery.holder);
    case PrepareResult::InStep:
    case PrepareResult::Taken:
    case PrepareResult::Conflict:
        break;
    }
}

void printTaken(const roaming::Preparation& preparation)
{
    const mend::Receipt& receipt = preparation.recovery.receipt;
    if (!preparation.recovery.strSetAside.isEmpty()) {
        printError("what was there before is kept as " + preparation.recovery.strSetAside);
    }
    if (receipt.isWritten()) {
        record({ receiptTable(receipt) });
        const bool bNew = preparation.recovery.before == inspect::FileState::Missing;
        printReceipt("took " + toText(preparation.server), receipt, bNew ? "" : "undo");
    } else {
        printLine("the file is the same already as " + toText(preparation.server));
    }
    requireDurable(receipt);
}

QString nameOf(PrepareResult result)
{
    const bool bConflict = result == PrepareResult::Conflict;
    return result == PrepareResult::Taken ? "taken" : bConflict ? "conflict" : "in step";
}

Table fetchedTable(const QString& result, const roaming::Preparation& preparation)
{
    return { "fetched",
             {},
             { "result", "revision", "machine", "settings" },
             { { result, preparation.server.nNumber, preparation.server.machine.strName,
                 preparation.nSettings } },
             TableShape::One };
}

void printSettings(const Request& request, const roaming::Preparation& preparation)
{
    if (preparation.nSettings > 0) {
        printLine(QLatin1String(request.isDryRun() ? "settings that are newer on the server: "
                                                   : "settings taken: ")
                  + QString::number(preparation.nSettings));
    }
}

void printPreparation(const Request& request, const roaming::Preparation& preparation)
{
    record({ fetchedTable(nameOf(preparation.result), preparation) });
    printSettings(request, preparation);
    if (preparation.result == PrepareResult::Taken) {
        printTaken(preparation);
    } else if (preparation.result == PrepareResult::Conflict) {
        printLine("both have changed: the file here stays as it is, and so does "
                  + toText(preparation.server) + " on the server");
    } else {
        printLine("the file on the server is not newer than the one here");
    }
}

// Neither what the client would do with it nor what the system thinks of a write is asked for.
ExitStatus previewPull(const Request& request)
{
    const auto pStore = openStore(request);
    const roaming::Desk desk = deskOf(request);
    const roaming::MachineState state = roaming::readState(request.strConfigDir);
    const qint64 nBase = state.documents.value(roaming::c_szUserDocument).nBase;
    roaming::Preparation preparation;
    const auto heads = required(pStore->heads());
    preparation.server = headIn(heads);
    preparation.nSettings = roaming::newSettings(heads, state);
    const auto since = required(pStore->revisions(roaming::c_szUserDocument, nBase, 0));
    const bool bOthers = std::any_of(since.begin(), since.end(), [&](const auto& each) {
        return !each.bAside && each.machine.id != desk.machine.id;
    });
    const QString strLive = inspect::livePath(request.strConfigDir);
    const bool bMissing = inspect::readSavedBytes(strLive).state == inspect::FileState::Missing;
    const roaming::Decision decision
        = roaming::decide({ bMissing ? 0 : nBase, state.isFirst(), roaming::isUnsent(desk, state),
                            bMissing, false, preparation.server.nNumber, bOthers });
    if (decision == roaming::Decision::Behind) {
        throw behindFailure();
    }
    if (decision == roaming::Decision::Take) {
        record({ fetchedTable("taken", preparation) });
        printLine("would take " + toText(preparation.server));
        printSettings(request, preparation);
        return ExitStatus::Ok;
    }
    const bool bConflict = decision == roaming::Decision::Conflict;
    preparation.result = bConflict ? PrepareResult::Conflict : PrepareResult::InStep;
    printPreparation(request, preparation);
    return bConflict ? ExitStatus::Negative : ExitStatus::Ok;
}

QString nameOf(SendResult result)
{
    const bool bStep = result == SendResult::InStep;
    return result == SendResult::Conflict ? "aside" : bStep ? "in step" : "sent";
}

// Of a held section there is nothing to choose: the newest is what others take by name.
QString asideText(const Request& request, const roaming::Sending& sending)
{
    const QString strHow = request.strSection.isEmpty()
        ? QStringLiteral("'roam resolve %1' chooses").arg(sending.nRevision)
        : QStringLiteral("'--force' puts this one on top of it");
    return QStringLiteral("stored as revision %1, an aside: revision %2 is another machine's; ")
               .arg(sending.nRevision)
               .arg(sending.nHead)
        + strHow;
}

void printSending(const Request& request, const roaming::Sending& sending)
{
    if (sending.result == SendResult::InStep) {
        printLine("the server has all of it");
    } else if (sending.result == SendResult::Conflict && sending.nRevision == 0) {
        printLine(request.strSection.isEmpty()
                      ? "the server has it as an aside that nobody has chosen of: see 'roam asides'"
                      : "the server has it as an aside; '--force' puts it on top");
    } else if (sending.result == SendResult::Conflict) {
        printDone(asideText(request, sending));
    } else if (sending.nRevision > 0) {
        printDone(QStringLiteral("sent as revision %1").arg(sending.nRevision));
    }
    if (sending.nSettings > 0) {
        printDone(QStringLiteral("settings sent: %1").arg(sending.nSettings));
    }
}

} // namespace

roaming::Desk deskOf(const Request& request)
{
    return { request.strConfigDir, roaming::thisMachine(request.strConfigDir),
             arrangementOf(request), settingsAccess() };
}

roaming::Machine supportMachine(const Request& request)
{
    const roaming::Machine here = roaming::thisMachine(request.strConfigDir);
    return { QUuid::createUuidV5(here.id, "indexuserctl for " + request.strLogin.toUtf8()),
             here.strName };
}

void requireTouch(const Request& request, roaming::CStateLock& lock)
{
    if (request.isDryRun()) {
        return;
    }
    const mend::LockState state = lock.take(wishOf(request).nWaitMs);
    if (state == mend::LockState::Refused) {
        throw writeFailure(request, mend::WriteFailure::NoLock, {});
    }
    if (state != mend::LockState::Taken) {
        throw busyFailure();
    }
}

void requireWhole(const Request& request)
{
    liveFile(request);
}

void requireNoted(const Request& request, bool noted)
{
    if (!noted) {
        const QString strPath = request.strConfigDir + '/' + roaming::c_szStateFile;
        throw CFailure(ExitStatus::InputOutput,
                       strPath + " cannot be written; the next call asks the server again",
                       { strPath });
    }
}

void requireKnown(const Request& request, const roaming::Revision& head)
{
    const auto documents = roaming::readState(request.strConfigDir).documents;
    if (roaming::isRewound(head, documents.value(roaming::c_szUserDocument))) {
        throw behindFailure();
    }
}

QString toText(const roaming::Revision& revision)
{
    return QStringLiteral("revision %1 of %2").arg(revision.nNumber).arg(revision.machine.strName);
}

ExitStatus pullHere(const Request& request, roaming::Taking taking)
{
    if (request.isDryRun()) {
        return previewPull(request);
    }
    requireOwner(request);
    const CUserGuard guard(request);
    guard.requireReplaceable();
    const roaming::Preparation preparation = roaming::prepare(
        deskOf(request), [&request] { return openStore(request); }, c_nDeadlineMs, wishOf(request),
        taking);
    requirePrepared(request, preparation);
    if (preparation.result == PrepareResult::Taken) {
        guard.giveBack();
    }
    printPreparation(request, preparation);
    requireNoted(request, preparation.bNoted);
    if (preparation.nSettingsRefused > 0) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("settings that could not be stored: %1")
                           .arg(preparation.nSettingsRefused));
    }
    return preparation.result == PrepareResult::Conflict ? ExitStatus::Negative : ExitStatus::Ok;
}

ExitStatus tellSending(const Request& request, const roaming::Sending& sending)
{
    if (sending.result == SendResult::Failed) {
        throw storeFailure(sending.error);
    }
    if (sending.result == SendResult::Behind) {
        throw behindFailure();
    }
    record({ { "sent",
               {},
               { "result", "revision", "head", "settings" },
               { { nameOf(sending.result), sending.nRevision, sending.nHead, sending.nSettings } },
               TableShape::One } });
    printSending(request, sending);
    requireNoted(request, sending.result != SendResult::NotNoted);
    if (sending.result == SendResult::NotWhole) {
        requireWhole(request);
    }
    return sending.result == SendResult::Conflict ? ExitStatus::Negative : ExitStatus::Ok;
}
