#include "record.h"

#include <QHash>
#include <QPair>
#include <QSet>

#include <libpq-fe.h>

#include <memory>

namespace roamproof {

namespace {

constexpr char c_szRows[]
    = "select r.name::text, r.number::text, r.base::text, r.aside::text, (d.head = r.number)::text,"
      " (select string_agg(p.content, ''::bytea order by u.place) from unnest(r.parts)"
      "  with ordinality u (hash, place) join roaming.part p"
      "  on p.person_id = r.person_id and p.sha256 = u.hash)"
      " from roaming.revision r join roaming.document d using (person_id, name)"
      " order by r.name, r.number";

using Connection = std::unique_ptr<PGconn, decltype(&PQfinish)>;
using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;
using Name = QPair<QString, qint64>;

QByteArray valueAt(const Result& result, int row, int column)
{
    return { PQgetvalue(result.get(), row, column), PQgetlength(result.get(), row, column) };
}

int twice(const QVector<Acknowledged>& said, const QVector<Stored>& there)
{
    QHash<Name, QByteArray> texts;
    int nTwice = 0;
    for (const Acknowledged& each : said) {
        const Name name(each.strDocument, each.nNumber);
        nTwice += texts.contains(name) && texts[name] != each.text ? 1 : 0;
        texts.insert(name, each.text);
    }
    QSet<QPair<QString, QByteArray>> seen;
    for (const Stored& each : there) {
        nTwice += seen.contains({ each.strDocument, each.text }) ? 1 : 0;
        seen.insert({ each.strDocument, each.text });
    }
    return nTwice;
}

// Numbers from 1 without a gap, each on a head that was; the head is the last of those.
class CChain {
public:
    int broken(const Stored& row)
    {
        if (row.strDocument != m_strDocument) {
            m_strDocument = row.strDocument;
            m_heads = { 0 };
            m_nLast = 0;
        }
        const bool bWhole = row.nNumber == ++m_nLast && m_heads.contains(row.nBase);
        m_nLast = row.nNumber;
        if (!row.bAside) {
            m_heads.insert(row.nNumber);
        }
        return bWhole ? 0 : 1;
    }

private:
    QString m_strDocument;
    QSet<qint64> m_heads;
    qint64 m_nLast = 0;
};

int broken(const QVector<Stored>& there)
{
    CChain chain;
    QHash<QString, qint64> last;
    QHash<QString, qint64> heads;
    int nBroken = 0;
    for (const Stored& each : there) {
        nBroken += chain.broken(each);
        if (!each.bAside) {
            last[each.strDocument] = each.nNumber;
        }
        if (each.bHead) {
            heads[each.strDocument] = each.nNumber;
        }
    }
    return nBroken + (last == heads ? 0 : 1);
}

} // namespace

QVector<Stored> storedIn(const roaming::ConnectionOptions& owner)
{
    const Connection connection(PQconnectdb(owner.strConnection.toUtf8().constData()), &PQfinish);
    const Result result(
        PQexecParams(connection.get(), c_szRows, 0, nullptr, nullptr, nullptr, nullptr, 1),
        &PQclear);
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) {
        qFatal("%s", PQerrorMessage(connection.get()));
    }
    QVector<Stored> rows;
    for (int i = 0; i < PQntuples(result.get()); ++i) {
        rows.append({ QString::fromUtf8(valueAt(result, i, 0)), valueAt(result, i, 1).toLongLong(),
                      valueAt(result, i, 2).toLongLong(), valueAt(result, i, 3) == "true",
                      valueAt(result, i, 4) == "true", valueAt(result, i, 5) });
    }
    return rows;
}

Verdict judged(const QVector<Acknowledged>& said, const QVector<Stored>& there)
{
    QHash<Name, const Stored*> rows;
    for (const Stored& each : there) {
        rows.insert({ each.strDocument, each.nNumber }, &each);
    }
    Verdict verdict { said.size() };
    for (const Acknowledged& each : said) {
        const Stored* const pRow = rows.value({ each.strDocument, each.nNumber });
        const bool bThere
            = pRow != nullptr && pRow->text == each.text && pRow->bAside == each.bAside;
        verdict.nLost += bThere ? 0 : 1;
        verdict.nAsides += each.bAside ? 1 : 0;
    }
    verdict.nTwice = twice(said, there);
    verdict.nBroken = broken(there);
    return verdict;
}

QString told(const Verdict& verdict)
{
    return QStringLiteral("%1 acknowledged, %2 beside another's, %3 lost, %4 twice, chain %5")
        .arg(verdict.nAcknowledged)
        .arg(verdict.nAsides)
        .arg(verdict.nLost)
        .arg(verdict.nTwice)
        .arg(verdict.nBroken == 0 ? QStringLiteral("unbroken")
                                  : QStringLiteral("broken %1 times").arg(verdict.nBroken));
}

} // namespace roamproof
