#include "roaming/administration.h"

#include "roaming/migrations_p.h"
#include "roaming/postgresconnection_p.h"
#include "roaming/storeerror_p.h"

#include <iterator>

namespace roaming {

namespace {

constexpr char c_szLock[] = "select pg_advisory_lock(hashtext('roaming'))";
constexpr char c_szInstalled[] = "select coalesce(max(version), 0)::bigint from roaming.migration";
constexpr char c_szPersons[] = "select * from roaming.persons()";
constexpr char c_szThin[] = "select * from roaming.thin($1, $2, $3)";
constexpr char c_szSetQuota[] = "select roaming.set_quota($1, $2)";

constexpr int c_nVersion = static_cast<int>(std::size(c_apszMigrations));

Answer<int> installedVersion(CPostgresConnection& connection)
{
    const auto version = connection.run({ { c_szInstalled } });
    if (version.error.cause == StoreCause::OtherSchema) {
        return {};
    }
    return { version.error,
             version.error ? 0 : static_cast<int>(version.value.first().number(0, 0)) };
}

// A version and the note of it are one transaction.
StoreError apply(CPostgresConnection& connection, int version)
{
    const QByteArray strNumber = QByteArray::number(version);
    return connection.script(QByteArray("begin;") + c_apszMigrations[version - 1]
                             + "insert into roaming.migration (version) values (" + strNumber
                             + "); insert into roaming.audit (action, reason) values ('migrate', '"
                             + strNumber + "'); commit");
}

StoreError openForOwner(CPostgresConnection& connection)
{
    if (const StoreError error = connection.open()) {
        return error;
    }
    const Answer<int> installed = installedVersion(connection);
    const bool bOther = !installed.error && installed.value != c_nVersion;
    return bOther ? otherSchema(installed.value, c_nVersion) : installed.error;
}

Answer<QVector<qint64>> personsThere(CPostgresConnection& connection)
{
    const auto rows = connection.run({ { c_szPersons } });
    Answer<QVector<qint64>> persons { rows.error };
    for (int i = 0; !rows.error && i < rows.value.first().count(); ++i) {
        persons.value.append(rows.value.first().number(i, 0));
    }
    return persons;
}

void add(Thinned& thinned, const CRows& one)
{
    thinned.nPersons += one.number(0, 0) > 0 ? 1 : 0;
    thinned.nRevisions += one.number(0, 0);
    thinned.nParts += one.number(0, 1);
    thinned.nBytes += one.number(0, 2);
}

} // namespace

int schemaVersion()
{
    return c_nVersion;
}

Answer<InitAnswer> initialise(const ConnectionOptions& options)
{
    CPostgresConnection connection(options);
    if (const StoreError error = connection.open()) {
        return { error };
    }
    // Of two at once the second finds everything done.
    if (const StoreError error = connection.run({ { c_szLock } }).error) {
        return { error };
    }
    const Answer<int> installed = installedVersion(connection);
    if (installed.error || installed.value > c_nVersion) {
        return { installed.error ? installed.error : otherSchema(installed.value, c_nVersion) };
    }
    StoreError error = connection.script(c_szRoles);
    for (int i = installed.value + 1; !error && i <= c_nVersion; ++i) {
        error = apply(connection, i);
    }
    return { error, { installed.value, c_nVersion } };
}

Answer<Thinned> thin(const ConnectionOptions& options, Thinning thinning, const QDateTime& now)
{
    CPostgresConnection connection(options);
    if (const StoreError error = openForOwner(connection)) {
        return { error };
    }
    const Answer<QVector<qint64>> persons = personsThere(connection);
    Answer<Thinned> answer { persons.error };
    const Value dryRun = flagValue(thinning == Thinning::DryRun);
    for (const qint64 nPerson : persons.value) {
        const StoreError away = connection.isOpen() ? StoreError() : openForOwner(connection);
        if (away) {
            return { away, answer.value };
        }
        const auto one
            = connection.run({ { c_szThin, { numberValue(nPerson), dryRun, timeValue(now) } } });
        if (!one.error) {
            add(answer.value, one.value.first());
        }
        // Whoever holds one person's lock keeps nobody else's contents.
        answer.error = answer.error ? answer.error : one.error;
    }
    return answer;
}

StoreError setQuota(const ConnectionOptions& options, const QString& login, qint64 bytes)
{
    CPostgresConnection connection(options);
    if (const StoreError error = openForOwner(connection)) {
        return error;
    }
    return connection.run({ { c_szSetQuota, { textValue(login), numberValue(bytes) } } }).error;
}

} // namespace roaming
