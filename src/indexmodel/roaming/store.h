#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <QVector>

#include <functional>
#include <memory>

namespace roaming {

/// Why a store did not do what it was asked for.
enum class StoreCause {
    None,
    Away, ///< there is no connection, or it broke
    Late, ///< no answer by the deadline: what was asked for may have been done
    Unsure, ///< the server wrote, and its standby did not say that it has it
    Refused, ///< the session's user may not
    OtherSchema, ///< the tables are of another version of this library
    Quota, ///< the user has used up what he may keep
    Gone, ///< there is no such person, document or revision, or its content was thinned out
    Damaged, ///< what came is not what was stored
    Failed, ///< the server says something else
};

struct StoreError {
    StoreCause cause = StoreCause::None;
    QString strDetail; ///< the server's or the system's words

    explicit operator bool() const { return cause != StoreCause::None; }
};

/// Where a document is written: one user's directory on one computer.
struct Machine {
    QUuid id;
    QString strName; ///< for people
};

/// One state of a document. What was stored although another state had been stored meanwhile is an
/// aside: both are kept, and the head stays.
struct Revision {
    qint64 nNumber = 0; ///< of its document, from 1, never given twice
    qint64 nBase = 0; ///< the head that it was made from; 0 for none
    bool bAside = false;
    bool bResolved = false; ///< of an aside: somebody has chosen
    bool bThinned = false; ///< only this row is kept
    QByteArray digest; ///< SHA-256 of its text, in hexadecimal
    qint64 nBytes = 0;
    Machine machine;
    QString strArrangement; ///< of the screens there; empty where nobody has told
    QString strAuthor; ///< the session's user
    QString strReason; ///< in words, such as "save" or "restore 7"
    QDateTime written; ///< by the server's clock, UTC
};

/// The name of the document of a user's file.
constexpr char c_szUserDocument[] = "user";

/// A text on its way to the store.
struct SaveWish {
    QString strDocument = QString::fromLatin1(c_szUserDocument);
    qint64 nBase = 0; ///< the head that the text was made from; 0: there was none
    QByteArray text;
    QUuid id; ///< of this save: asked for again under the same one, the store answers the same
    Machine machine;
    QString strArrangement = {};
    QString strReason = {};
    bool bAside = false; ///< never becomes the head
    QByteArray baseDigest = {}; ///< of the base as it was seen; empty: it is not looked at
};

enum class SaveOutcome {
    Saved, ///< it is the head
    Aside, ///< the head is another one than the base and not of this machine: see SaveAnswer::nHead
    Behind, ///< the base is not there, or another: a rewound server; nothing was written
};

struct SaveAnswer {
    SaveOutcome outcome = SaveOutcome::Saved;
    qint64 nRevision = 0; ///< 0 where nothing was written
    qint64 nHead = 0;
};

/// An error, or a value.
template <typename T> struct Answer {
    StoreError error;
    T value = {};
};

/// The head of a document.
struct Head {
    QString strDocument;
    Revision revision;
};

/// A revision of a document.
struct RevisionName {
    QString strDocument;
    qint64 nNumber = 0;
};

/// What was kept of an aside when somebody chose.
enum class Choice { Mine, Theirs };

/// The documents of one person, by revisions. One thread at a time; every call ends by the deadline
/// of its store. A base that is the head, or after which all revisions but asides are of the wish's
/// machine, is saved.
///
///     const auto answer = store.save({ wish });
///     if (!answer.error && answer.value.first().outcome == SaveOutcome::Saved) { ... }
class CStore {
public:
    CStore() = default;
    CStore(const CStore&) = delete;
    CStore& operator=(const CStore&) = delete;
    virtual ~CStore() = default;

    /// All of them in one transaction, in their order: after an error nothing was written, unless
    /// its cause says so. An answer for each.
    virtual Answer<QVector<SaveAnswer>> save(const QVector<SaveWish>& wishes) = 0;

    /// Of every document that has one.
    virtual Answer<QVector<Head>> heads() = 0;

    /// The bytes as they were saved.
    virtual Answer<QByteArray> text(const QString& document, qint64 revision) = 0;

    /// Those of several revisions, in their order.
    virtual Answer<QVector<QByteArray>> texts(const QVector<RevisionName>& names);

    /// Those after the number \a after, the newest first, at most \a limit; 0: all.
    virtual Answer<QVector<Revision>> revisions(const QString& document, qint64 after, int limit)
        = 0;

    /// One of them; its number is 0 where there is none.
    virtual Answer<Revision> revision(const QString& document, qint64 number) = 0;

    /// The asides about which nobody has chosen, the newest first.
    virtual Answer<QVector<Revision>> openAsides(const QString& document) = 0;

    /// The newest with the arrangement that is no aside and was not thinned; its number is 0 where
    /// there is none.
    virtual Answer<Revision> newestWith(const QString& document, const QString& arrangement) = 0;

    /// Notes what was chosen of an aside; Gone where the revision is none.
    virtual StoreError resolve(const QString& document, qint64 aside, Choice choice) = 0;
};

/// Connects; a store that could not answers everything with the error of that.
using StoreMaker = std::function<std::unique_ptr<CStore>()>;

/// The id of a save: the same for the same text on the same base from the same machine.
QUuid saveId(const SaveWish& wish);

} // namespace roaming
