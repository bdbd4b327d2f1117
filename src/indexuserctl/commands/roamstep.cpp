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
#include <mend/history.h>

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
    int nUnsentSettings = 0;
    int nNewSettings = 0;
    Revision head = {};
    int nAsides = 0;
    roaming::StoreError error = {};

    bool isInStep() const
    {
        return strFile == QLatin1String("sent") && head.nNumber == nBase && nAsides == 0
            && nUnsentSettings + nNewSettings == 0;
    }
};

Status statusOf(const Request& request, const roaming::Desk& desk)
{
    const MachineState state = roaming::knownState(desk);
    Status status { fileState(desk, state), state.documents.value(roaming::c_szUserDocument).nBase,
                    roaming::unsentSettings(desk, state) };
    const auto pStore = openStore(request);
    const auto heads = pStore->heads();
    const auto asides = pStore->openAsides(roaming::c_szUserDocument);
    status.error = heads.error ? heads.error : asides.error;
    status.nNewSettings = roaming::newSettings(heads.value, state);
    status.nAsides = asides.value.size();
    status.head = headIn(heads.value);
    return status;
}

Table statusTable(const roaming::Desk& desk, const Status& status)
{
    const bool bKnown = !status.error;
    return { "roaming",
             "This machine and the server",
             { "machine", "file", "base", "head", "author", "headMachine", "asides",
               "unsentSettings", "newSettings", "server" },
             { { desk.machine.strName, status.strFile, status.nBase,
                 bKnown ? QJsonValue(status.head.nNumber) : QJsonValue(),
                 bKnown ? QJsonValue(status.head.strAuthor) : QJsonValue(),
                 bKnown ? QJsonValue(status.head.machine.strName) : QJsonValue(),
                 bKnown ? QJsonValue(status.nAsides) : QJsonValue(), status.nUnsentSettings,
                 bKnown ? QJsonValue(status.nNewSettings) : QJsonValue(),
                 bKnown ? QStringLiteral("ok") : storeCauseText(status.error) } },
             TableShape::One };
}

bool isOnly(const Request& request)
{
    return !request.strSection.isEmpty();
}

void requireSection(const Request& request)
{
    requireHeld(request.strSection);
    liveFile(request);
    const QByteArray live = contentOf(inspect::livePath(request.strConfigDir));
    if (!roaming::heldText(live, request.strSection)) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("the file has no section '%1'").arg(request.strSection));
    }
}

ExitStatus previewPush(const Request& request, bool unsent, int settings)
{
    liveFile(request);
    if (isOnly(request)) {
        printLine(QStringLiteral("would be sent: the section '%1'").arg(request.strSection));
        return ExitStatus::Ok;
    }
    if (unsent || settings == 0) {
        printLine(unsent ? "would be sent: what the file holds" : "the server has all of it");
    }
    if (settings > 0) {
        printLine(QStringLiteral("settings that would be sent: %1").arg(settings));
    }
    return ExitStatus::Ok;
}

roaming::Sending sendHere(const Request& request, const roaming::Desk& desk, roaming::CStore& store,
                          roaming::SendBase base)
{
    return isOnly(request) ? roaming::sendHeld(desk, store, request.strSection, base)
                           : roaming::send(desk, store, base);
}

// What is sent next is then on top of it.
void notePulled(const Request& request, const Revision& head, const QByteArray& live)
{
    const QByteArray text = roaming::heldText(live, request.strSection).value_or(QByteArray());
    MachineState state = roaming::readState(request.strConfigDir);
    state.documents[roaming::heldDocument(request.strSection)]
        = { head.nNumber, mend::digestOf(text), {}, head.digest };
    requireNoted(request, roaming::writeState(request.strConfigDir, state));
}

ExitStatus pullOnly(const Request& request)
{
    if (!request.isDryRun()) {
        requireOwner(request);
    }
    roaming::CStateLock lock(request.strConfigDir);
    requireTouch(request, lock);
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
    const ExitStatus status
        = bringBack(request, { *text },
                    QStringLiteral("the section '%1', %2").arg(request.strSection, toText(head)));
    if (status == ExitStatus::Ok && !request.isDryRun()) {
        notePulled(request, head, *text);
    }
    return status;
}

} // namespace

ExitStatus roamStatus(const Request& request)
{
    const roaming::Desk desk = deskOf(request);
    const Status status = statusOf(request, desk);
    print({ statusTable(desk, status) }, request.format);
    requireAnswer(status.error);
    requireKnown(request, status.head);
    return status.isInStep() ? ExitStatus::Ok : ExitStatus::Negative;
}

ExitStatus roamPush(const Request& request)
{
    if (isOnly(request)) {
        requireSection(request);
    }
    const roaming::Desk desk = deskOf(request);
    const MachineState state = roaming::knownState(desk);
    const bool bUnsent = roaming::isUnsent(desk, state);
    if (request.isDryRun()) {
        return previewPush(request, bUnsent, roaming::unsentSettings(desk, state));
    }
    requireOwner(request);
    roaming::CStateLock lock(request.strConfigDir);
    requireTouch(request, lock);
    const auto pStore = openStore(request);
    const bool bOver = request.isForced() && (bUnsent || isOnly(request));
    const roaming::Sending sending = sendHere(
        request, desk, *pStore, bOver ? roaming::SendBase::Server : roaming::SendBase::Known);
    // Who has nothing to send has not asked the server.
    if (sending.result == roaming::SendResult::InStep) {
        requireKnown(request, headOf(*pStore));
    }
    return tellSending(request, sending);
}

ExitStatus roamPull(const Request& request)
{
    if (!isOnly(request)) {
        return pullHere(request);
    }
    requireHeld(request.strSection);
    return pullOnly(request);
}
