#include "commands/bringback.h"
#include "commands/roamdesk.h"
#include "commands/roamstore.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "terminal/output.h"

#include <roaming/policy.h>
#include <roaming/roamingtext.h>

#include <inspect/closest.h>

#include <algorithm>

namespace {

using roaming::DocumentState;
using roaming::MachineState;
using roaming::Revision;

void requireHeld(const QString& section)
{
    const QStringList held = roaming::sectionsWith(roaming::Rule::Held);
    if (!held.contains(section)) {
        throw CFailure(
            ExitStatus::Usage,
            QStringLiteral("--only: '%1' is not held back%2; those are %3")
                .arg(section, inspect::didYouMean(section, held), held.join(QStringLiteral(", "))));
    }
}

// Of a file that is not there, or not whole, nothing is sent.
QString fileState(const roaming::Desk& desk, const MachineState& state)
{
    const inspect::FileState file
        = inspect::readUserFile(inspect::livePath(desk.strConfigDir)).state;
    if (file != inspect::FileState::Whole) {
        return file == inspect::FileState::Missing ? "missing" : inspect::stateName(file);
    }
    return roaming::isUnsent(desk, state) ? "unsent" : "sent";
}

struct Status {
    QString strFile;
    qint64 nBase = 0;
    Revision head = {};
    int nAsides = 0;
    roaming::StoreError error = {};

    bool isInStep() const
    {
        return strFile == QLatin1String("sent") && head.nNumber == nBase && nAsides == 0;
    }
};

Status statusOf(const Request& request, const roaming::Desk& desk)
{
    const MachineState state = roaming::readState(request.strConfigDir);
    Status status { fileState(desk, state),
                    state.documents.value(roaming::c_szUserDocument).nBase };
    const auto pStore = openStore(request);
    const auto revisions = pStore->revisions(roaming::c_szUserDocument, 0, 0);
    status.error = revisions.error;
    for (const Revision& each : revisions.value) {
        status.nAsides += each.bAside && !each.bResolved ? 1 : 0;
        const bool bHead = !each.bAside && each.nNumber > status.head.nNumber;
        status.head = bHead ? each : status.head;
    }
    return status;
}

Table statusTable(const roaming::Desk& desk, const Status& status)
{
    const bool bKnown = !status.error;
    return { "roaming",
             "This machine and the server",
             { "machine", "file", "base", "head", "author", "headMachine", "asides", "server" },
             { { desk.machine.strName, status.strFile, status.nBase,
                 bKnown ? QJsonValue(status.head.nNumber) : QJsonValue(),
                 bKnown ? QJsonValue(status.head.strAuthor) : QJsonValue(),
                 bKnown ? QJsonValue(status.head.machine.strName) : QJsonValue(),
                 bKnown ? QJsonValue(status.nAsides) : QJsonValue(),
                 bKnown ? QStringLiteral("ok") : storeCauseText(status.error) } },
             TableShape::One };
}

ExitStatus tellPush(const Request& request, const roaming::Desk& desk)
{
    requireWhole(request);
    const bool bUnsent = roaming::isUnsent(desk, roaming::readState(request.strConfigDir));
    printLine(bUnsent ? "would be sent: what the file holds" : "the server has all of it");
    return ExitStatus::Ok;
}

// Nobody else's copy of it is looked at: whoever asks for it by name wants that of here.
roaming::Sending sendOnly(const Request& request, const roaming::Desk& desk, roaming::CStore& store)
{
    const auto base = request.isForced() ? roaming::SendBase::Server : roaming::SendBase::Known;
    return roaming::sendHeld(desk, store, request.strSection, base);
}

ExitStatus pullOnly(const Request& request)
{
    const auto pStore = openStore(request);
    const QString strDocument = roaming::heldDocument(request.strSection);
    const Revision head = headOf(*pStore, strDocument);
    if (head.nNumber == 0) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("nobody has sent the section '%1'").arg(request.strSection));
    }
    const QByteArray held = required(pStore->text(strDocument, head.nNumber));
    liveFile(request);
    const auto text = roaming::withHeld(contentOf(inspect::livePath(request.strConfigDir)), held);
    if (!text) {
        throw CFailure(ExitStatus::Damaged,
                       QStringLiteral("%1 of the section '%2' is no user's file")
                           .arg(toText(head), request.strSection));
    }
    return bringBack(request, { *text },
                     QStringLiteral("the section '%1', %2").arg(request.strSection, toText(head)));
}

} // namespace

ExitStatus roamStatus(const Request& request)
{
    const roaming::Desk desk = deskOf(request);
    const Status status = statusOf(request, desk);
    print({ statusTable(desk, status) }, request.format);
    requireAnswer(status.error);
    return status.isInStep() ? ExitStatus::Ok : ExitStatus::Negative;
}

ExitStatus roamPush(const Request& request)
{
    const roaming::Desk desk = deskOf(request);
    if (!request.strSection.isEmpty()) {
        requireHeld(request.strSection);
    }
    if (request.isDryRun()) {
        return tellPush(request, desk);
    }
    requireOwner(request);
    roaming::CStateLock lock(request.strConfigDir);
    requireTouch(request, lock);
    const auto pStore = openStore(request);
    return tellSending(request,
                       request.strSection.isEmpty() ? roaming::send(desk, *pStore)
                                                    : sendOnly(request, desk, *pStore));
}

ExitStatus roamPull(const Request& request)
{
    if (request.strSection.isEmpty()) {
        return pullHere(request);
    }
    requireHeld(request.strSection);
    return pullOnly(request);
}
