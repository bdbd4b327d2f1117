#include "roamingload.h"

#include "subjects.h"

#include <roaming/administration.h>
#include <roaming/roamingtext.h>

#include <QUuid>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace bench {

namespace {

const QByteArray c_option = "reportRefreshTime=\"";
constexpr int c_nDigits = 8;

void requireOk(PGresult* pResult)
{
    const ExecStatusType status = PQresultStatus(pResult);
    require(status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK, PQresultErrorMessage(pResult));
}

// A trader's document on the server.
class CSaved {
public:
    CSaved(const CText& text, int trader)
        : m_text(text)
        , m_store(optionsOf(trader))
    {
        m_wish.machine = { QUuid::createUuid(), "desk" };
        // A document that no other machine has saved.
        m_wish.strDocument = "held/" + m_wish.machine.id.toString(QUuid::WithoutBraces);
    }

    void save()
    {
        m_wish.text = m_text.with(++m_nValue);
        m_wish.id = roaming::saveId(m_wish);
        const auto answer = m_store.save({ m_wish });
        require(!answer.error, qPrintable(answer.error.strDetail));
        require(answer.value.first().outcome == roaming::SaveOutcome::Saved, "it is not saved");
        m_wish.nBase = answer.value.first().nHead;
    }

private:
    const CText& m_text;
    roaming::CPostgresStore m_store;
    roaming::SaveWish m_wish;
    int m_nValue = 0;
};

} // namespace

CBareConnection::CBareConnection(const QByteArray& user)
    : m_pConnection(PQconnectdb("user=" + user), &PQfinish)
{
    require(PQstatus(m_pConnection.get()) == CONNECTION_OK, PQerrorMessage(m_pConnection.get()));
    run("set client_min_messages = warning");
}

QByteArray CBareConnection::run(const char* pszSql)
{
    PGresult* const pResult = PQexec(m_pConnection.get(), pszSql);
    requireOk(pResult);
    const QByteArray value = PQntuples(pResult) > 0 ? PQgetvalue(pResult, 0, 0) : "";
    PQclear(pResult);
    return value;
}

void CBareConnection::insert(const QByteArray& content)
{
    const Oid type = 17; // bytea
    const char* const pszValue = content.constData();
    const int nLength = content.size();
    const int nFormat = 1;
    PGresult* const pResult
        = PQexecParams(m_pConnection.get(), "insert into bare (content) values ($1)", 1, &type,
                       &pszValue, &nLength, &nFormat, 1);
    requireOk(pResult);
    PQclear(pResult);
}

QByteArray traderName(int number)
{
    return "trader" + QByteArray::number(number);
}

roaming::ConnectionOptions optionsOf(int trader)
{
    roaming::ConnectionOptions options;
    options.strConnection = "user=" + QString::fromLatin1(traderName(trader));
    options.answer = std::chrono::seconds(120);
    return options;
}

void makeTables(int traders)
{
    roaming::ConnectionOptions owner;
    owner.strConnection = "user=postgres";
    require(!roaming::initialise(owner).error, "no tables");
    CBareConnection connection("postgres");
    connection.run("create table bare (id bigint generated always as identity primary key,"
                   " content bytea compression lz4 not null)");
    connection.run("grant insert on bare to public");
    for (int i = 0; i < traders; ++i) {
        connection.run("create role " + traderName(i) + " login in role roaming_trader");
        connection.run("insert into roaming.person (login, quota) values ('" + traderName(i)
                       + "', 1000000000000)");
    }
}

CText::CText(int windows, int stocks)
    : m_file(userFile({ "", windows, stocks }))
    , m_text(roaming::outgoingText(m_file).value_or(QByteArray()))
    , m_nAt(m_text.indexOf(c_option) + c_option.size())
{
    require(m_nAt > c_option.size(), "the option does not leave the machine");
    m_text.replace(m_nAt, 1, QByteArray(c_nDigits, '0'));
}

QByteArray CText::with(int value) const
{
    QByteArray text = m_text;
    return text.replace(m_nAt, c_nDigits, QByteArray::number(value).rightJustified(c_nDigits, '0'));
}

Saver ourSaver(const CText& text, int trader)
{
    return [pSaved = std::make_shared<CSaved>(text, trader)] { pSaved->save(); };
}

Saver bareSaver(const CText& text, int trader)
{
    const auto pConnection = std::make_shared<CBareConnection>(traderName(trader));
    return [&text, pConnection, nValue = 0]() mutable { pConnection->insert(text.with(++nValue)); };
}

double rate(const std::vector<Saver>& savers, int msecs)
{
    std::atomic_int nSaves { 0 };
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + std::chrono::milliseconds(msecs);
    std::vector<std::thread> threads;
    for (const Saver& saver : savers) {
        threads.emplace_back([&] {
            while (std::chrono::steady_clock::now() < end) {
                saver();
                ++nSaves;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    return nSaves / took.count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace bench
