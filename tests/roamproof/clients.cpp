#include "clients.h"

#include <roaming/postgresstore.h>

#include <QDateTime>

namespace roamproof {

namespace {

constexpr int c_nRetryMsecs = 20;

class CClient {
public:
    CClient(const roaming::ConnectionOptions& options, int number)
        : m_store(options)
        , m_machine { QUuid::createUuid(), QStringLiteral("desk %1").arg(number) }
    {
    }

    roaming::SaveWish wish(const QString& document, const QByteArray& text) const
    {
        roaming::SaveWish made;
        made.strDocument = document;
        made.nBase = m_heads.value(document);
        made.text = text;
        made.machine = m_machine;
        made.id = roaming::saveId(made);
        return made;
    }

    roaming::Answer<QVector<roaming::SaveAnswer>> save(const roaming::SaveWish& wish)
    {
        const auto answer = m_store.save({ wish });
        if (!answer.error) {
            m_heads[wish.strDocument] = answer.value.first().nHead;
        }
        return answer;
    }

private:
    roaming::CPostgresStore m_store;
    const roaming::Machine m_machine;
    QHash<QString, qint64> m_heads;
};

} // namespace

QByteArray textOf(int client, int number)
{
    const QByteArray name = QByteArray::number(client) + '-' + QByteArray::number(number);
    return "<r>\n<same text='" + QByteArray(1000, 's') + "'/>\n<own text='" + name + ' '
        + name.repeated(60) + "'/>\n</r>\n";
}

CClients::CClients(const roaming::ConnectionOptions& options, int count, int documents)
    : m_options(options)
    , m_nDocuments(documents)
    , m_nLastMsecs(QDateTime::currentMSecsSinceEpoch())
{
    for (int i = 0; i < count; ++i) {
        m_threads.emplace_back([this, i] { work(i); });
    }
}

CClients::~CClients()
{
    stopped();
}

Heard CClients::stopped()
{
    m_bStop = true;
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
    return m_heard;
}

void CClients::note(const Acknowledged& said)
{
    const qint64 nNow = QDateTime::currentMSecsSinceEpoch();
    m_heard.nLongestGap = std::max(m_heard.nLongestGap, nNow - m_nLastMsecs);
    m_nLastMsecs = nNow;
    m_heard.said.append(said);
}

void CClients::work(int number)
{
    CClient client(m_options, number);
    for (int i = 0; !m_bStop; ++i) {
        const QString strDocument = QStringLiteral("held/%1").arg((number + i) % m_nDocuments);
        const roaming::SaveWish wish = client.wish(strDocument, textOf(number, i));
        auto answer = client.save(wish);
        while (answer.error && !m_bStop) {
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                ++m_heard.failures[static_cast<int>(answer.error.cause)];
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(c_nRetryMsecs));
            answer = client.save(wish);
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        const roaming::SaveAnswer said = answer.value.value(0);
        if (!answer.error && said.outcome == roaming::SaveOutcome::Behind) {
            ++m_heard.nBehind;
        } else if (!answer.error) {
            note({ strDocument, said.nRevision, said.outcome == roaming::SaveOutcome::Aside,
                   wish.text });
        }
    }
}

} // namespace roamproof
