#pragma once

#include "roaming/connection.h"

namespace roaming {

/// The documents of a person on PostgreSQL. Connects at the first call, and again at the first call
/// after the connection was lost. A call ends within the time of a connect and that of an answer; a
/// call that is late drops its connection and never asks the server to stop, for it would then
/// acknowledge what its standby does not have.
///
///     CPostgresStore store({});
///     const auto heads = store.heads();
class CPostgresStore : public CStore {
public:
    explicit CPostgresStore(ConnectionOptions options);
    ~CPostgresStore() override;

    Answer<QVector<SaveAnswer>> save(const QVector<SaveWish>& wishes) override;
    Answer<QVector<Head>> heads() override;
    Answer<QByteArray> text(const QString& document, qint64 revision) override;
    /// In one round trip.
    Answer<QVector<QByteArray>> texts(const QVector<RevisionName>& names) override;
    Answer<QVector<Revision>> revisions(const QString& document, qint64 after, int limit) override;
    Answer<Revision> revision(const QString& document, qint64 number) override;
    Answer<QVector<Revision>> openAsides(const QString& document) override;
    Answer<Revision> newestWith(const QString& document, const QString& arrangement) override;
    StoreError resolve(const QString& document, qint64 aside, Choice choice) override;

    /// Bytes of parts that saves of this store have sent.
    qint64 bytesSent() const;

private:
    class Private;
    std::unique_ptr<Private> m_p;
};

} // namespace roaming
