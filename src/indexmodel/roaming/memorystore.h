#pragma once

#include "roaming/store.h"

#include <mutex>

namespace roaming {

/// What a server would hold of one person, for tests and demonstrations: several stores share one.
class CMemoryServer {
public:
    /// From now on everything answers this; None: as it should be.
    void fail(const StoreError& error);
    /// The next save is done and answers this.
    void failBehind(const StoreError& error);

private:
    friend class CMemoryStore;

    struct Entry {
        Revision revision;
        QUuid save;
        QByteArray text;
    };
    struct Document {
        QString strName;
        qint64 nHead = 0;
        QVector<Entry> entries;
    };

    static const Entry* headSince(const Document& document, const SaveWish& wish);
    Document& document(const QString& name);
    static void resolveUpTo(Document& document, qint64 number, const Machine& machine);
    SaveAnswer save(const SaveWish& wish);

    std::mutex m_mutex;
    StoreError m_error;
    StoreError m_errorBehind;
    QVector<Document> m_documents;
};

/// A store on a CMemoryServer.
class CMemoryStore : public CStore {
public:
    explicit CMemoryStore(std::shared_ptr<CMemoryServer> pServer);

    Answer<QVector<SaveAnswer>> save(const QVector<SaveWish>& wishes) override;
    Answer<QVector<Head>> heads() override;
    Answer<QByteArray> text(const QString& document, qint64 revision) override;
    Answer<QVector<Revision>> revisions(const QString& document, qint64 after, int limit) override;
    Answer<Revision> revision(const QString& document, qint64 number) override;
    Answer<QVector<Revision>> openAsides(const QString& document) override;
    Answer<Revision> newestWith(const QString& document, const QString& arrangement) override;
    StoreError resolve(const QString& document, qint64 aside, Choice choice) override;

private:
    template <class Predicate>
    Answer<QVector<Revision>> revisionsThat(const QString& document, Predicate are);

    std::shared_ptr<CMemoryServer> m_pServer;
};

} // namespace roaming
