#include "commands/roamdesk.h"
#include "commands/roamstore.h"
#include "commands/userguard.h"
#include "terminal/output.h"

#include <roaming/roamingtext.h>

#include <mend/history.h>

namespace {

using roaming::CStore;
using roaming::Revision;

bool isOwn(const Request& request)
{
    return request.strLogin.isEmpty();
}

// Before anybody connects, who is then that owner.
void beOwner(const Request& request)
{
    if (isOwn(request) && !request.isDryRun()) {
        requireOwner(request);
    }
}

/// The file here and what it was sent as; nothing here in somebody else's name. While there is one,
/// no client is in touch with the server.
class CHere {
public:
    explicit CHere(const Request& request)
        : m_request(request)
        , m_lock(request.strConfigDir)
    {
        if (isOwn(request)) {
            requireTouch(request, m_lock);
            m_state = roaming::readState(request.strConfigDir);
            m_digest = outgoingDigest();
        }
    }

    /// Throws CFailure for a server that is not the one that this machine knows.
    void requireSame(CStore& store) const
    {
        if (isOwn(m_request)) {
            requireKnown(m_request, headOf(store));
        }
    }

    bool isSent() const { return !m_digest.isEmpty() && known().digest == m_digest; }
    bool isIn(const Revision& aside) const { return m_digest == aside.digest; }

private:
    roaming::DocumentState known() const
    {
        return m_state.documents.value(roaming::c_szUserDocument);
    }

    QByteArray outgoingDigest() const
    {
        const auto live = inspect::readSavedBytes(inspect::livePath(m_request.strConfigDir));
        const auto text = roaming::outgoingText(live.bytes);
        return text ? mend::digestOf(*text) : QByteArray();
    }

    const Request& m_request;
    roaming::CStateLock m_lock;
    roaming::MachineState m_state;
    QByteArray m_digest; ///< of what the file would be sent as; empty for none
};

// What was changed here and not sent stays live; to send it is another command.
ExitStatus followHere(const Request& request, bool inStep,
                      roaming::Taking taking = roaming::Taking::Newer)
{
    if (!isOwn(request)) {
        printLine("the client takes it at its next start");
        return ExitStatus::Ok;
    }
    if (!inStep) {
        printLine("the file here stays: it has changes that were not sent");
        return ExitStatus::Ok;
    }
    return pullHere(request, taking);
}

// On top of the head, whatever came before.
roaming::SaveAnswer putOnTop(const Request& request, CStore& store, const QByteArray& text,
                             const Revision& of, const QString& reason)
{
    roaming::SaveWish wish;
    wish.nBase = headOf(store).nNumber;
    wish.text = text;
    wish.machine = supportMachine(request);
    wish.strArrangement = of.strArrangement;
    wish.strReason = reason;
    wish.id = roaming::saveId(wish);
    const auto answers = required(store.save({ wish }));
    if (answers.first().outcome != roaming::SaveOutcome::Saved) {
        throw CFailure(
            ExitStatus::Negative,
            QStringLiteral("meanwhile revision %1 was stored; what was asked for is kept "
                           "beside it as revision %2")
                .arg(answers.first().nHead)
                .arg(answers.first().nRevision));
    }
    return answers.first();
}

void tellMade(const roaming::SaveAnswer& answer, const Revision& of)
{
    record({ { "sent",
               {},
               { "result", "revision", "head", "settings" },
               { { "sent", answer.nRevision, answer.nHead, 0 } },
               TableShape::One } });
    printDone(QStringLiteral("revision %1 holds what revision %2 does")
                  .arg(answer.nRevision)
                  .arg(of.nNumber));
}

Revision openAside(CStore& store, const QString& word)
{
    const Revision aside = revisionOf(store, word);
    if (!aside.bAside || aside.bResolved) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("revision %1 is no aside%2")
                           .arg(aside.nNumber)
                           .arg(aside.bResolved ? " any more: somebody has chosen" : ""));
    }
    return aside;
}

// Broken off behind the first step, the second call finds it done.
void choose(const Request& request, CStore& store, const Revision& aside)
{
    const bool bMine = request.take == Side::Mine;
    if (bMine && headOf(store).digest != aside.digest) {
        const QByteArray text = required(store.text(roaming::c_szUserDocument, aside.nNumber));
        tellMade(
            putOnTop(request, store, text, aside, QStringLiteral("resolve %1").arg(aside.nNumber)),
            aside);
    }
    requireAnswer(store.resolve(roaming::c_szUserDocument, aside.nNumber,
                                bMine ? roaming::Choice::Mine : roaming::Choice::Theirs));
    printDone(bMine ? "chosen: " + toText(aside) : QStringLiteral("chosen: the newest revision"));
}

} // namespace

ExitStatus roamRestore(const Request& request)
{
    beOwner(request);
    const auto pStore = openStore(request);
    const Revision of = revisionOf(*pStore, request.words.first());
    const QByteArray text = required(pStore->text(roaming::c_szUserDocument, of.nNumber));
    if (request.isDryRun()) {
        printLine("would make a new revision of " + toText(of));
        return ExitStatus::Ok;
    }
    bool bInStep = false;
    {
        const CHere here(request);
        here.requireSame(*pStore);
        bInStep = here.isSent();
        tellMade(putOnTop(request, *pStore, text, of, QStringLiteral("restore %1").arg(of.nNumber)),
                 of);
    }
    return followHere(request, bInStep);
}

ExitStatus roamResolve(const Request& request)
{
    beOwner(request);
    const auto pStore = openStore(request);
    const Revision aside = openAside(*pStore, request.words.first());
    if (request.isDryRun()) {
        printLine("would take " + toText(request.take == Side::Mine ? aside : headOf(*pStore)));
        return ExitStatus::Ok;
    }
    bool bInStep = false;
    bool bChosen = false;
    {
        const CHere here(request);
        bInStep = here.isSent();
        here.requireSame(*pStore);
        bChosen = here.isIn(aside);
        choose(request, *pStore, aside);
    }
    return followHere(request, bInStep || bChosen,
                      bChosen ? roaming::Taking::Always : roaming::Taking::Newer);
}
