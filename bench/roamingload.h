#pragma once

#include <roaming/postgresstore.h>

#include <QByteArray>

#include <functional>
#include <memory>
#include <vector>

#include <libpq-fe.h>

namespace bench {

/// A session without anything of ours; stops the program where the server refuses.
class CBareConnection {
public:
    explicit CBareConnection(const QByteArray& user);

    /// The first value of its rows.
    QByteArray run(const char* pszSql);
    /// Into the table "bare".
    void insert(const QByteArray& content);

private:
    std::unique_ptr<PGconn, decltype(&PQfinish)> m_pConnection;
};

/// The tables of roaming, the traders trader0 and so on, and a table "bare".
void makeTables(int traders);
QByteArray traderName(int number);
roaming::ConnectionOptions optionsOf(int trader);

/// A trader's text of about so many bytes, in the form in which it leaves the machine.
class CText {
public:
    CText(int windows, int stocks);

    int size() const { return m_text.size(); }
    /// With another value of one option.
    QByteArray with(int value) const;
    /// The user's file that it is the outgoing form of.
    const QByteArray& file() const { return m_file; }

private:
    QByteArray m_file;
    QByteArray m_text;
    int m_nAt;
};

/// Saves a text, each time with another value of the option.
using Saver = std::function<void()>;
Saver ourSaver(const CText& text, int trader);
Saver bareSaver(const CText& text, int trader);

/// How many of them a second, each on a thread of its own.
double rate(const std::vector<Saver>& savers, int msecs);

double median(std::vector<double> values);

} // namespace bench
