#include "roaming/postgresstore.h"

#include "roaming/administration.h"
#include "roaming/digest_p.h"
#include "roaming/documentparts.h"
#include "roaming/postgresconnection_p.h"
#include "roaming/storeerror_p.h"

#include <QSet>

#include <algorithm>
#include <iterator>

namespace roaming {

namespace {

constexpr char c_szVersion[] = "select coalesce(max(version), 0)::bigint from roaming.migration";
constexpr char c_szSave[]
    = "select * from roaming.save($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12, $13)";
constexpr char c_szAllOrNothing[] = "select roaming.all_or_nothing()";
constexpr char c_szParts[] = "select * from roaming.parts_of($1, $2, $3)";
constexpr char c_szResolve[] = "select roaming.resolve($1, $2, $3, $4)";

constexpr char c_szHeads[] = "select * from roaming.heads($1)";
constexpr char c_szRevisions[] = "select * from roaming.revisions($1, $2, $3, $4)";
constexpr char c_szRevision[] = "select * from roaming.revision_of($1, $2, $3)";
constexpr char c_szOpenAsides[] = "select * from roaming.open_asides($1, $2)";
constexpr char c_szNewestWith[] = "select * from roaming.newest_with($1, $2, $3)";

// So much is sent without asking whether the server has it.
constexpr int c_nAskAbove = 64 * 1024;

// In the order of the view "told".
Head headAt(const CRows& rows, int row)
{
    Revision told;
    told.nNumber = rows.number(row, 2);
    told.nBase = rows.number(row, 3);
    told.bAside = rows.flag(row, 4);
    told.bResolved = rows.flag(row, 5);
    told.bThinned = rows.flag(row, 6);
    told.digest = rows.bytes(row, 7).toHex();
    told.nBytes = rows.number(row, 8);
    told.machine = { rows.uuid(row, 9), rows.text(row, 10) };
    told.strArrangement = rows.text(row, 11);
    told.strAuthor = rows.text(row, 12);
    told.strReason = rows.text(row, 13);
    told.written = rows.time(row, 14);
    return { rows.text(row, 1), told };
}

SaveAnswer saveAnswerOf(const CRows& rows)
{
    const QString strOutcome = rows.text(0, 0);
    SaveAnswer answer { SaveOutcome::Behind, rows.number(0, 1), rows.number(0, 2) };
    if (strOutcome == QLatin1String("saved")) {
        answer.outcome = SaveOutcome::Saved;
    } else if (strOutcome == QLatin1String("aside")) {
        answer.outcome = SaveOutcome::Aside;
    }
    return answer;
}

Answer<Revision> first(const Answer<QVector<Revision>>& all)
{
    return { all.error, all.value.value(0) };
}

// What the server lacks of all saves.
QVector<QByteArray> wantsOf(const QVector<CRows>& answers)
{
    QVector<QByteArray> wants;
    for (const CRows& rows : answers) {
        if (rows.text(0, 0) == QLatin1String("wants")) {
            wants += rows.bytesList(0, 3);
        }
    }
    return wants;
}

// The text of a revision, from a row a part.
Answer<QByteArray> joined(const CRows& rows, const QString& document, qint64 revision)
{
    const QString strName = QStringLiteral("revision %1 of %2").arg(revision).arg(document);
    if (rows.count() == 0) {
        return { { StoreCause::Gone, strName + QStringLiteral(" is not there") } };
    }
    if (rows.flag(0, 1)) {
        return { { StoreCause::Gone, strName + QStringLiteral(" was thinned out") } };
    }
    QByteArray text;
    for (int i = 0; i < rows.count(); ++i) {
        text += rows.bytes(i, 3);
    }
    if (sha256(text) != rows.bytes(0, 0)) {
        return { { StoreCause::Damaged, strName + QStringLiteral(" is not what was stored") } };
    }
    return { {}, text };
}

// A wish with its text in parts, and what of them goes along.
struct Parcel {
    const SaveWish* pWish;
    QVector<QByteArray> hashes;
    QHash<QByteArray, QByteArray> contents;
};

Parcel parcelOf(const SaveWish& wish)
{
    Parcel parcel { &wish, {}, {} };
    for (const QByteArray& part : partsOf(wish.text)) {
        parcel.hashes.append(sha256(part));
        parcel.contents.insert(parcel.hashes.last(), part);
    }
    return parcel;
}

} // namespace

class CPostgresStore::Private {
public:
    explicit Private(ConnectionOptions options)
        : m_connection(std::move(options))
    {
    }

    Answer<QVector<CRows>> run(const QVector<Statement>& statements);
    Answer<QVector<CRows>> read(const QVector<Statement>& statements);
    Answer<QVector<Head>> told(const Statement& statement);
    Answer<QVector<Revision>> revisions(const Statement& statement);
    Answer<QVector<CRows>> deliver(const QVector<Parcel>& parcels);
    Value login() const { return textOrNullValue(m_connection.options().strLogin); }

    CPostgresConnection m_connection;
    QSet<QByteArray> m_known; ///< hashes of what the server was seen to have
    qint64 m_nBytesSent = 0;

private:
    StoreError open();
    Answer<QVector<CRows>> send(const QVector<Parcel>& parcels, const QSet<QByteArray>& wanted);
    Statement statementOf(const Parcel& parcel, const QSet<QByteArray>& wanted);
    QVector<QByteArray> contentsOf(const Parcel& parcel, const QSet<QByteArray>& wanted) const;
};

StoreError CPostgresStore::Private::open()
{
    if (m_connection.isOpen()) {
        return {};
    }
    if (const StoreError error = m_connection.open()) {
        return error;
    }
    const auto version = m_connection.run({ { c_szVersion } });
    const bool bNone = version.error.cause == StoreCause::OtherSchema;
    const qint64 nVersion = version.value.isEmpty() ? 0 : version.value.first().number(0, 0);
    StoreError error = version.error;
    if (bNone || (!error && nVersion != schemaVersion())) {
        error = otherSchema(nVersion, schemaVersion());
    }
    if (error) {
        m_connection.close();
    }
    return error;
}

Answer<QVector<CRows>> CPostgresStore::Private::run(const QVector<Statement>& statements)
{
    if (const StoreError error = open()) {
        return { error };
    }
    return m_connection.run(statements);
}

// Whatever the server warns of, what was only read is not in doubt.
Answer<QVector<CRows>> CPostgresStore::Private::read(const QVector<Statement>& statements)
{
    Answer<QVector<CRows>> rows = run(statements);
    if (rows.error.cause == StoreCause::Unsure) {
        rows.error = {};
    }
    return rows;
}

Answer<QVector<Head>> CPostgresStore::Private::told(const Statement& statement)
{
    m_connection.begin();
    const auto rows = read({ statement });
    Answer<QVector<Head>> answer { rows.error };
    for (int i = 0; !rows.error && i < rows.value.first().count(); ++i) {
        answer.value.append(headAt(rows.value.first(), i));
    }
    return answer;
}

Answer<QVector<Revision>> CPostgresStore::Private::revisions(const Statement& statement)
{
    const Answer<QVector<Head>> heads = told(statement);
    Answer<QVector<Revision>> answer { heads.error };
    for (const Head& head : heads.value) {
        answer.value.append(head.revision);
    }
    return answer;
}

// Of a large text of which nothing is known the server is asked first.
QVector<QByteArray> CPostgresStore::Private::contentsOf(const Parcel& parcel,
                                                        const QSet<QByteArray>& wanted) const
{
    QVector<QByteArray> contents;
    const bool bAsk = m_known.isEmpty() && parcel.pWish->text.size() > c_nAskAbove;
    for (auto it = parcel.contents.begin(); it != parcel.contents.end(); ++it) {
        if (wanted.contains(it.key()) || (!bAsk && !m_known.contains(it.key()))) {
            contents.append(it.value());
        }
    }
    return contents;
}

Statement CPostgresStore::Private::statementOf(const Parcel& parcel, const QSet<QByteArray>& wanted)
{
    const SaveWish& wish = *parcel.pWish;
    const QVector<QByteArray> contents = contentsOf(parcel, wanted);
    for (const QByteArray& content : contents) {
        m_nBytesSent += content.size();
    }
    return { c_szSave,
             { textValue(wish.strDocument), numberValue(wish.nBase), flagValue(wish.bAside),
               uuidValue(wish.id), bytesValue(sha256(wish.text)), bytesListValue(parcel.hashes),
               bytesListValue(contents), uuidValue(wish.machine.id),
               textValue(wish.machine.strName), textValue(wish.strArrangement),
               textValue(wish.strReason), digestValue(wish.baseDigest), login() } };
}

Answer<QVector<CRows>> CPostgresStore::Private::send(const QVector<Parcel>& parcels,
                                                     const QSet<QByteArray>& wanted)
{
    QVector<Statement> statements;
    for (const Parcel& parcel : parcels) {
        statements.append(statementOf(parcel, wanted));
    }
    if (statements.size() > 1) {
        statements.append({ c_szAllOrNothing });
    }
    return run(statements);
}

CPostgresStore::CPostgresStore(ConnectionOptions options)
    : m_p(std::make_unique<Private>(std::move(options)))
{
}

CPostgresStore::~CPostgresStore() = default;

qint64 CPostgresStore::bytesSent() const
{
    return m_p->m_nBytesSent;
}

// A part that was known may have been thinned out since: what the server wants goes along the next
// time, until it wants nothing new.
Answer<QVector<CRows>> CPostgresStore::Private::deliver(const QVector<Parcel>& parcels)
{
    QSet<QByteArray> wanted;
    for (;;) {
        const Answer<QVector<CRows>> rows = send(parcels, wanted);
        const QVector<QByteArray> wants = wantsOf(rows.value);
        const int nBefore = wanted.size();
        wanted += QSet<QByteArray>(wants.begin(), wants.end());
        if (wants.isEmpty()) {
            return rows;
        }
        if (wanted.size() == nBefore) {
            return { { StoreCause::Failed, QStringLiteral("contents that were sent are wanted") } };
        }
    }
}

Answer<QVector<SaveAnswer>> CPostgresStore::save(const QVector<SaveWish>& wishes)
{
    QVector<Parcel> parcels;
    std::transform(wishes.begin(), wishes.end(), std::back_inserter(parcels), parcelOf);
    m_p->m_connection.begin();
    const Answer<QVector<CRows>> rows = m_p->deliver(parcels);
    Answer<QVector<SaveAnswer>> answer { rows.error };
    for (int i = 0; !rows.error && i < parcels.size(); ++i) {
        const QVector<QByteArray>& hashes = parcels[i].hashes;
        answer.value.append(saveAnswerOf(rows.value[i]));
        m_p->m_known += QSet<QByteArray>(hashes.begin(), hashes.end());
    }
    return answer;
}

Answer<QVector<Head>> CPostgresStore::heads()
{
    return m_p->told({ c_szHeads, { m_p->login() } });
}

Answer<QByteArray> CPostgresStore::text(const QString& document, qint64 revision)
{
    const Answer<QVector<QByteArray>> all = texts({ { document, revision } });
    return { all.error, all.error ? QByteArray() : all.value.first() };
}

Answer<QVector<QByteArray>> CPostgresStore::texts(const QVector<RevisionName>& names)
{
    QVector<Statement> statements;
    for (const RevisionName& name : names) {
        statements.append(
            { c_szParts,
              { textValue(name.strDocument), numberValue(name.nNumber), m_p->login() } });
    }
    m_p->m_connection.begin();
    const auto rows = names.isEmpty() ? Answer<QVector<CRows>>() : m_p->read(statements);
    Answer<QVector<QByteArray>> answer { rows.error };
    for (int i = 0; !answer.error && i < names.size(); ++i) {
        const CRows& parts = rows.value[i];
        for (int n = 0; n < parts.count(); ++n) {
            m_p->m_known.insert(parts.bytes(n, 2));
        }
        const Answer<QByteArray> text = joined(parts, names[i].strDocument, names[i].nNumber);
        answer.error = text.error;
        answer.value.append(text.value);
    }
    return answer;
}

Answer<QVector<Revision>> CPostgresStore::revisions(const QString& document, qint64 after,
                                                    int limit)
{
    return m_p->revisions(
        { c_szRevisions,
          { textValue(document), numberValue(after), numberValue(limit), m_p->login() } });
}

Answer<Revision> CPostgresStore::revision(const QString& document, qint64 number)
{
    return first(m_p->revisions(
        { c_szRevision, { textValue(document), numberValue(number), m_p->login() } }));
}

Answer<QVector<Revision>> CPostgresStore::openAsides(const QString& document)
{
    return m_p->revisions({ c_szOpenAsides, { textValue(document), m_p->login() } });
}

Answer<Revision> CPostgresStore::newestWith(const QString& document, const QString& arrangement)
{
    return first(m_p->revisions(
        { c_szNewestWith, { textValue(document), textValue(arrangement), m_p->login() } }));
}

StoreError CPostgresStore::resolve(const QString& document, qint64 aside, Choice choice)
{
    m_p->m_connection.begin();
    const QString strChoice = QLatin1String(choice == Choice::Mine ? "mine" : "theirs");
    return m_p
        ->run(
            { { c_szResolve,
                { textValue(document), numberValue(aside), textValue(strChoice), m_p->login() } } })
        .error;
}

} // namespace roaming
