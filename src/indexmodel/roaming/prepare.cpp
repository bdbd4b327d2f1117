#include "roaming/prepare.h"

#include "roaming/digest_p.h"
#include "roaming/fetch_p.h"
#include "roaming/roamingtext.h"
#include "roaming/sending.h"

#include <QElapsedTimer>

#include <algorithm>

namespace roaming {

namespace {

constexpr int c_nLockMs = 1000;

const FetchedDocument* newsOf(const Fetched& fetched, const QString& document)
{
    const auto it
        = std::find_if(fetched.news.begin(), fetched.news.end(), [&](const FetchedDocument& each) {
              return each.head.strDocument == document;
          });
    return it == fetched.news.end() ? nullptr : &*it;
}

Revision headOf(const Fetched& fetched, const QString& document)
{
    const auto it = std::find_if(fetched.heads.begin(), fetched.heads.end(),
                                 [&](const Head& each) { return each.strDocument == document; });
    return it == fetched.heads.end() ? Revision() : it->revision;
}

PrepareResult resultOf(Decision decision)
{
    switch (decision) {
    case Decision::Take:
        return PrepareResult::Taken;
    case Decision::Conflict:
        return PrepareResult::Conflict;
    case Decision::Behind:
        return PrepareResult::Behind;
    case Decision::Nothing:
    case Decision::Note:
        break;
    }
    return PrepareResult::InStep;
}

bool isInPlace(const mend::Recovery& recovery)
{
    return recovery.result == mend::RecoveryResult::Recovered
        || recovery.result == mend::RecoveryResult::RecoveredWithLoss
        || recovery.result == mend::RecoveryResult::NothingToDo;
}

/// One run of it, under the lock of the state.
class CPreparation {
public:
    CPreparation(const Desk& desk, const mend::WriteWish& wish, Taking taking)
        : m_desk(desk)
        , m_state(knownState(desk))
        , m_transaction(desk.strConfigDir, wish)
        , m_taking(taking)
    {
        if (desk.arrangement.isKnown()) {
            m_state.strArrangement = desk.arrangement.name();
        }
        // As if the machine had never had it: there is nothing that it could be compared with.
        if (taking == Taking::Always || m_transaction.read().state == inspect::FileState::Missing) {
            m_state.documents.remove(c_szUserDocument);
        }
    }

    Preparation run(const StoreMaker& connect, int deadlineMs)
    {
        const Fetched fetched = fetch(m_desk, m_state, connect, deadlineMs);
        if (fetched.error) {
            m_preparation.result = PrepareResult::Alone;
            m_preparation.error = fetched.error;
            return m_preparation;
        }
        m_preparation.server = headOf(fetched, c_szUserDocument);
        takeDocument(fetched);
        if (m_preparation.result != PrepareResult::Behind) {
            takeSettings(fetched);
        }
        m_state.error = StateError::None;
        m_preparation.bNoted = writeState(m_desk.strConfigDir, m_state);
        return m_preparation;
    }

private:
    void takeDocument(const Fetched& fetched)
    {
        const FetchedDocument* const pNews = newsOf(fetched, c_szUserDocument);
        if (pNews == nullptr) {
            const DocumentState known = m_state.documents.value(c_szUserDocument);
            m_preparation.result = isRewound(m_preparation.server, known) ? PrepareResult::Behind
                                                                          : PrepareResult::InStep;
            return;
        }
        const mend::WriteFailure failure = m_transaction.lock();
        if (failure != mend::WriteFailure::None) {
            m_preparation.result = PrepareResult::NotWritten;
            m_preparation.recovery.write = failure;
            m_preparation.recovery.holder = m_transaction.holder();
            return;
        }
        takeUnderLock(*pNews, fetched.ownLayouts);
    }

    void takeUnderLock(const FetchedDocument& news, const std::optional<QByteArray>& layouts)
    {
        const inspect::FileBytes live = m_transaction.read();
        const std::optional<QByteArray> outgoing = outgoingText(live.bytes);
        const Arrival arrival { news.text, layouts, m_desk.arrangement };
        const std::optional<QByteArray> arrived
            = arrivedText(outgoing ? live.bytes : QByteArray(), arrival);
        const DocumentState known = m_state.documents.value(c_szUserDocument);
        Sides sides;
        sides.nBase = known.nBase;
        sides.bFirst = known.nBase == 0;
        // What others have gone on from needs no sending.
        sides.bUnsent = digestOf(outgoing) != known.digest
            && !(news.bOthers && news.since.contains(digestOf(outgoing)));
        sides.bMissing = live.state == inspect::FileState::Missing;
        sides.bSame = arrived && outgoing && outgoingText(*arrived) == outgoing;
        sides.nHead = news.head.revision.nNumber;
        sides.bOthers = news.bOthers;
        sides.bOwn = known.sent.contains(news.head.revision.digest);
        sides.bRewound = news.bRewound;
        sides.bChosen = news.bChosen && digestOf(outgoing) == known.aside;
        const Decision decision = m_taking == Taking::Always ? Decision::Take : decide(sides);
        m_preparation.result = resultOf(decision);
        if (decision == Decision::Note) {
            note(news.head,
                 sides.bSame ? digestOf(outgoing) : QByteArray(news.head.revision.digest));
        } else if (decision == Decision::Take) {
            take(news.head, arrived, live.bytes);
        }
    }

    void take(const Head& head, const std::optional<QByteArray>& arrived, const QByteArray& local)
    {
        if (!arrived) {
            m_preparation.result = PrepareResult::Alone;
            m_preparation.error = { StoreCause::Damaged, QStringLiteral("no user's file") };
            return;
        }
        mend::Restoration restoration { *arrived };
        restoration.expected = mend::digestOf(local);
        restoration.keeping = mend::Keeping::HistoryOrBeside;
        m_preparation.recovery = mend::restore(m_transaction, restoration, mend::RunMode::Do);
        if (isInPlace(m_preparation.recovery)) {
            note(head, digestOf(outgoingText(*arrived)));
        } else {
            m_preparation.result = PrepareResult::NotWritten;
        }
    }

    void note(const Head& head, const QByteArray& digest)
    {
        m_state.documents[head.strDocument]
            = { head.revision.nNumber, digest, {}, head.revision.digest };
    }

    void takeSettings(const Fetched& fetched)
    {
        const auto all = m_desk.settings.all ? m_desk.settings.all() : std::nullopt;
        for (const FetchedDocument& each : fetched.news) {
            const auto setting = settingOf(each.head.strDocument, each.text);
            if (all && setting && m_desk.settings.write) {
                takeSetting(each, *setting, *all);
            }
        }
    }

    void takeSetting(const FetchedDocument& news, const SharedSetting& setting,
                     const QVector<SharedSetting>& all)
    {
        const QString strDocument = news.head.strDocument;
        const auto it = std::find_if(all.begin(), all.end(), [&](const SharedSetting& each) {
            return settingDocument(each) == strDocument;
        });
        const QByteArray here = it == all.end() ? QByteArray() : settingText(*it);
        const DocumentState known = m_state.documents.value(strDocument);
        const bool bUnsent = known.nBase == 0 ? !here.isEmpty() : digestOf(here) != known.digest;
        const Decision decision = decide({ known.nBase, known.nBase == 0, bUnsent, false,
                                           here == news.text, news.head.revision.nNumber, true });
        if (decision == Decision::Take && !m_desk.settings.write(setting)) {
            ++m_preparation.nSettingsRefused;
        } else if (decision == Decision::Take || decision == Decision::Note) {
            m_preparation.nSettings += decision == Decision::Take ? 1 : 0;
            note(news.head, news.head.revision.digest);
        }
    }

    const Desk& m_desk;
    MachineState m_state;
    mend::CTransaction m_transaction;
    const Taking m_taking;
    Preparation m_preparation;
};

} // namespace

Decision decide(const Sides& sides)
{
    if (sides.nHead < sides.nBase || sides.bRewound) {
        return Decision::Behind;
    }
    if (sides.nHead == 0 || (sides.nHead == sides.nBase && !sides.bMissing)) {
        return Decision::Nothing;
    }
    if (sides.bSame && !sides.bMissing) {
        return Decision::Note;
    }
    if (sides.bMissing || sides.bFirst || sides.bChosen) {
        return Decision::Take;
    }
    if (!sides.bOthers) {
        return sides.bUnsent || sides.bOwn ? Decision::Note : Decision::Take;
    }
    return sides.bUnsent ? Decision::Conflict : Decision::Take;
}

Preparation prepare(const Desk& desk, const StoreMaker& connect, int deadlineMs,
                    const mend::WriteWish& wish, Taking taking)
{
    QElapsedTimer since;
    since.start();
    CStateLock lock(desk.strConfigDir);
    const mend::LockState state = lock.take(std::min(deadlineMs, c_nLockMs));
    if (state == mend::LockState::Refused) {
        Preparation preparation { PrepareResult::NotWritten };
        preparation.recovery.write = mend::WriteFailure::NoLock;
        return preparation;
    }
    if (state != mend::LockState::Taken) {
        return { PrepareResult::Busy };
    }
    CPreparation preparation(desk, wish, taking);
    return preparation.run(connect,
                           std::max<int>(0, deadlineMs - static_cast<int>(since.elapsed())));
}

} // namespace roaming
