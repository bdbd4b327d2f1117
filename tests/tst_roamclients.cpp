#include "librarytest.h"
#include "postgresserver.h"
#include "roamwishes.h"

#include <roaming/postgresstore.h>

#include <QElapsedTimer>
#include <QSet>

#include <atomic>
#include <thread>
#include <vector>

using namespace roaming;
using namespace roamwishes;

// Many machines of one person at once.
class tst_roamclients : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void nothingIsLostBetweenSixteenMachines();
    void twoTransactionsOverTheSameDocumentsDoNotWaitForEachOther();
};

namespace {

constexpr int c_nClients = 16;
constexpr int c_nDocuments = 4;

struct Acknowledged {
    QString strDocument;
    SaveAnswer answer;
    QByteArray text;
};

struct Client {
    std::vector<Acknowledged> saved;
    QString strError;
};

// Saves on the head that it saw last, now and then on a newer one that it asks for.
void work(const ConnectionOptions& options, int number, int msecs, Client& client)
{
    CPostgresStore store(options);
    const Machine machine { QUuid::createUuid(), QStringLiteral("desk %1").arg(number) };
    QHash<QString, qint64> heads;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; timer.elapsed() < msecs; ++i) {
        const QString strDocument = QStringLiteral("held/%1").arg(i % c_nDocuments);
        const QByteArray text
            = QStringLiteral("<a/>\n<b n='%1-%2'/>\n").arg(number).arg(i).toUtf8();
        const SaveWish made = wishOf(strDocument, text, heads.value(strDocument), machine);
        const auto answer = store.save({ made });
        if (answer.error) {
            client.strError = told(answer.error);
            return;
        }
        client.saved.push_back({ strDocument, answer.value.first(), text });
        heads[strDocument] = answer.value.first().nHead;
    }
}

std::vector<Client> worked(const ConnectionOptions& options, int msecs)
{
    std::vector<Client> clients(c_nClients);
    std::vector<std::thread> threads;
    for (int i = 0; i < c_nClients; ++i) {
        threads.emplace_back([&, i] { work(options, i, msecs, clients[static_cast<size_t>(i)]); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return clients;
}

// Each number once, from 1, without a gap; each head made from a head that was there.
QString brokenLink(const QVector<Revision>& newestFirst)
{
    QSet<qint64> heads { 0 };
    for (int i = newestFirst.size() - 1; i >= 0; --i) {
        const Revision& revision = newestFirst[i];
        if (revision.nNumber != newestFirst.size() - i || !heads.contains(revision.nBase)) {
            return told(revision);
        }
        if (!revision.bAside) {
            heads.insert(revision.nNumber);
        }
    }
    return {};
}

} // namespace

void tst_roamclients::initTestCase()
{
    if (!CPostgresServer::isInstalled()) {
        QSKIP("PostgreSQL's server is not installed");
    }
}

void tst_roamclients::nothingIsLostBetweenSixteenMachines()
{
    CPostgresServer& server = CPostgresServer::shared();
    const ConnectionOptions options = server.options(server.makeDatabase(), "trader1");
    const std::vector<Client> clients = worked(options, 3000);

    CPostgresStore store(options);
    int nConflicts = 0;
    int nSaved = 0;
    QHash<QString, QSet<qint64>> numbers;
    for (const Client& client : clients) {
        QCOMPARE(client.strError, QString());
        for (const Acknowledged& each : client.saved) {
            ++nSaved;
            nConflicts += each.answer.outcome == SaveOutcome::Aside ? 1 : 0;
            QVERIFY(each.answer.outcome != SaveOutcome::Behind);
            QVERIFY(!numbers[each.strDocument].contains(each.answer.nRevision));
            numbers[each.strDocument].insert(each.answer.nRevision);
            QVERIFY(store.text(each.strDocument, each.answer.nRevision).value == each.text);
        }
    }
    qInfo("%d saved, of them %d beside another's", nSaved, nConflicts);
    QVERIFY(nConflicts > 0 && nConflicts < nSaved);
    QCOMPARE(numbers.size(), c_nDocuments);
    for (auto it = numbers.begin(); it != numbers.end(); ++it) {
        const QVector<Revision> revisions = store.revisions(it.key(), 0, 0).value;
        QCOMPARE(revisions.size(), it.value().size());
        QCOMPARE(brokenLink(revisions), QString());
    }
}

void tst_roamclients::twoTransactionsOverTheSameDocumentsDoNotWaitForEachOther()
{
    CPostgresServer& server = CPostgresServer::shared();
    const ConnectionOptions options = server.options(server.makeDatabase(), "trader1");
    std::atomic<int> nErrors { 0 };
    const auto saveBoth = [&](const QString& first, const QString& second, const Machine& machine) {
        CPostgresStore store(options);
        for (int i = 0; i < 50; ++i) {
            const QByteArray text = machine.strName.toUtf8() + QByteArray::number(i);
            const auto answer
                = store.save({ wishOf(first, text, 0, machine), wishOf(second, text, 0, machine) });
            nErrors += answer.error ? 1 : 0;
        }
    };
    std::thread other([&] { saveBoth("held/b", "held/a", c_deskB); });
    saveBoth("held/a", "held/b", c_deskA);
    other.join();

    QCOMPARE(nErrors.load(), 0);
    QCOMPARE(CPostgresStore(options).revisions("held/a", 0, 0).value.size(), 100);
    QCOMPARE(CPostgresStore(options).revisions("held/b", 0, 0).value.size(), 100);
}

QTEST_GUILESS_MAIN(tst_roamclients)
#include "tst_roamclients.moc"
