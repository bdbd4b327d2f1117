#pragma once

#include "roaming/connection.h"

/// What whoever administrates the server does; the session's user is a member of roaming_owner, and
/// the first time one who may create roles and schemas.
namespace roaming {

/// The version of the tables that this library works with.
int schemaVersion();

struct InitAnswer {
    int nFrom = 0; ///< the version that was there; 0: none
    int nTo = 0; ///< the version that is there now
};

/// Makes the roles, the schema and its functions, or brings them to this library's version; each
/// version is a transaction. OtherSchema where the server's is newer.
Answer<InitAnswer> initialise(const ConnectionOptions& options);

enum class Thinning { DryRun, Real };

struct Thinned {
    qint64 nPersons = 0; ///< who had something to thin out
    qint64 nRevisions = 0; ///< whose contents went; their rows stay
    qint64 nParts = 0; ///< contents that no revision has any longer
    qint64 nBytes = 0; ///< of those contents
};

/// Forgets contents: kept are those of 7 days, the last of each day for 90 days and the last of
/// each month, by UTC; every head, the newest of each arrangement, and asides about which nobody
/// has chosen. A transaction a person; one that fails stops no other, and its error is the
/// answer's.
///
///     const auto thinned = thin({}, Thinning::DryRun);
Answer<Thinned> thin(const ConnectionOptions& options, Thinning thinning,
                     const QDateTime& now = QDateTime::currentDateTimeUtc());

/// Lets a person keep so many bytes; Gone where there is no such person.
StoreError setQuota(const ConnectionOptions& options, const QString& login, qint64 bytes);

} // namespace roaming
