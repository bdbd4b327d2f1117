#include "roaming/memorystore.h"

#include "roaming/digest_p.h"

#include <algorithm>

namespace roaming {

namespace {

Revision revisionOf(const SaveWish& wish)
{
    Revision made;
    made.nBase = wish.nBase;
    made.digest = digestOf(wish.text);
    made.nBytes = wish.text.size();
    made.machine = wish.machine;
    made.strArrangement = wish.strArrangement;
    made.strReason = wish.strReason;
    made.written = QDateTime::currentDateTimeUtc();
    return made;
}

} // namespace

void CMemoryServer::fail(const StoreError& error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_error = error;
}

void CMemoryServer::failBehind(const StoreError& error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errorBehind = error;
}

CMemoryServer::Document& CMemoryServer::document(const QString& name)
{
    const auto it = std::find_if(m_documents.begin(), m_documents.end(),
                                 [&](const Document& each) { return each.strName == name; });
    if (it != m_documents.end()) {
        return *it;
    }
    m_documents.append({ name, 0, {} });
    return m_documents.last();
}

// The newest head with the bytes of a wish behind its base, or the base, if the machine has written
// nothing else since.
const CMemoryServer::Entry* CMemoryServer::headSince(const Document& document, const SaveWish& wish)
{
    const auto& entries = document.entries;
    const bool bOwn = std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.revision.nNumber > wish.nBase && !entry.revision.bAside
            && entry.revision.machine.id == wish.machine.id;
    });
    const auto it = std::find_if(entries.rbegin(), entries.rend(), [&](const Entry& entry) {
        return entry.revision.nNumber >= wish.nBase + (bOwn ? 1 : 0) && !entry.revision.bAside
            && entry.text == wish.text;
    });
    return it == entries.rend() ? nullptr : &*it;
}

// The asides of a machine before a later state of it are no choice any more.
void CMemoryServer::resolveUpTo(Document& document, qint64 number, const Machine& machine)
{
    for (Entry& entry : document.entries) {
        Revision& each = entry.revision;
        each.bResolved = each.bResolved
            || (each.bAside && each.nNumber <= number && each.machine.id == machine.id);
    }
}

SaveAnswer CMemoryServer::save(const SaveWish& wish)
{
    Document& found = document(wish.strDocument);
    for (const Entry& entry : qAsConst(found.entries)) {
        if (entry.save == wish.id) {
            return { entry.revision.bAside ? SaveOutcome::Aside : SaveOutcome::Saved,
                     entry.revision.nNumber, found.nHead };
        }
    }
    const bool bOther = wish.nBase > 0 && wish.nBase <= found.nHead && !wish.baseDigest.isEmpty()
        && found.entries[static_cast<int>(wish.nBase) - 1].revision.digest != wish.baseDigest;
    if (wish.nBase > found.nHead || bOther) {
        return { SaveOutcome::Behind, 0, found.nHead };
    }
    const bool bOthers
        = std::any_of(found.entries.begin(), found.entries.end(), [&](const Entry& entry) {
              return entry.revision.nNumber > wish.nBase && !entry.revision.bAside
                  && entry.revision.machine.id != wish.machine.id;
          });
    const Entry* const pSince = headSince(found, wish);
    if (bOthers && !wish.bAside && pSince != nullptr) {
        return { SaveOutcome::Saved, pSince->revision.nNumber, found.nHead };
    }
    Revision made = revisionOf(wish);
    made.nNumber = found.entries.size() + 1;
    made.bAside = wish.bAside || bOthers;
    found.entries.append({ made, wish.id, wish.text });
    found.nHead = made.bAside ? found.nHead : made.nNumber;
    for (Entry& entry : found.entries) {
        Revision& each = entry.revision;
        each.bResolved
            = each.bResolved || (!made.bAside && each.bAside && each.digest == made.digest);
    }
    return { made.bAside ? SaveOutcome::Aside : SaveOutcome::Saved, made.nNumber, found.nHead };
}

CMemoryStore::CMemoryStore(std::shared_ptr<CMemoryServer> pServer)
    : m_pServer(std::move(pServer))
{
}

Answer<QVector<SaveAnswer>> CMemoryStore::save(const QVector<SaveWish>& wishes)
{
    const std::lock_guard<std::mutex> lock(m_pServer->m_mutex);
    if (m_pServer->m_error) {
        return { m_pServer->m_error };
    }
    Answer<QVector<SaveAnswer>> answer { std::exchange(m_pServer->m_errorBehind, {}) };
    for (const SaveWish& wish : wishes) {
        answer.value.append(m_pServer->save(wish));
    }
    return answer;
}

Answer<QVector<Head>> CMemoryStore::heads()
{
    const std::lock_guard<std::mutex> lock(m_pServer->m_mutex);
    Answer<QVector<Head>> answer { m_pServer->m_error };
    for (const auto& document : qAsConst(m_pServer->m_documents)) {
        if (!answer.error && document.nHead > 0) {
            const int nPlace = static_cast<int>(document.nHead) - 1;
            answer.value.append({ document.strName, document.entries[nPlace].revision });
        }
    }
    return answer;
}

Answer<QByteArray> CMemoryStore::text(const QString& document, qint64 revision)
{
    const std::lock_guard<std::mutex> lock(m_pServer->m_mutex);
    const auto& entries = m_pServer->document(document).entries;
    if (m_pServer->m_error) {
        return { m_pServer->m_error };
    }
    if (revision < 1 || revision > entries.size()) {
        return { { StoreCause::Gone, QStringLiteral("no revision %1").arg(revision) } };
    }
    return { {}, entries[static_cast<int>(revision) - 1].text };
}

template <class Predicate>
Answer<QVector<Revision>> CMemoryStore::revisionsThat(const QString& document, Predicate are)
{
    const std::lock_guard<std::mutex> lock(m_pServer->m_mutex);
    Answer<QVector<Revision>> answer { m_pServer->m_error };
    const auto& entries = m_pServer->document(document).entries;
    for (auto it = entries.rbegin(); !answer.error && it != entries.rend(); ++it) {
        if (are(it->revision)) {
            answer.value.append(it->revision);
        }
    }
    return answer;
}

Answer<QVector<Revision>> CMemoryStore::revisions(const QString& document, qint64 after, int limit)
{
    auto found
        = revisionsThat(document, [&](const Revision& each) { return each.nNumber > after; });
    found.value = limit == 0 ? found.value : found.value.mid(0, limit);
    return found;
}

Answer<Revision> CMemoryStore::revision(const QString& document, qint64 number)
{
    const auto found
        = revisionsThat(document, [&](const Revision& each) { return each.nNumber == number; });
    return { found.error, found.value.value(0) };
}

Answer<QVector<Revision>> CMemoryStore::openAsides(const QString& document)
{
    return revisionsThat(document,
                         [](const Revision& each) { return each.bAside && !each.bResolved; });
}

Answer<Revision> CMemoryStore::newestWith(const QString& document, const QString& arrangement)
{
    const auto found = revisionsThat(document, [&](const Revision& each) {
        return !each.bAside && each.strArrangement == arrangement;
    });
    return { found.error, found.value.value(0) };
}

StoreError CMemoryStore::resolve(const QString& document, qint64 aside, Choice)
{
    const std::lock_guard<std::mutex> lock(m_pServer->m_mutex);
    auto& entries = m_pServer->document(document).entries;
    for (const auto& entry : qAsConst(entries)) {
        if (entry.revision.nNumber == aside && entry.revision.bAside && !m_pServer->m_error) {
            CMemoryServer::resolveUpTo(m_pServer->document(document), aside,
                                       entry.revision.machine);
            return {};
        }
    }
    return m_pServer->m_error
        ? m_pServer->m_error
        : StoreError { StoreCause::Gone, QStringLiteral("revision %1 is no aside").arg(aside) };
}

} // namespace roaming
