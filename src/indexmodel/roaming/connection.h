#pragma once

#include "roaming/store.h"

#include <chrono>

namespace roaming {

/// How a server is reached. Host, port, database, password and TLS are told to libpq in its own
/// ways: PGSERVICE, PGPASSFILE, PGHOST, PGSSLMODE and so on, several hosts too.
struct ConnectionOptions {
    QString strConnection = {}; ///< goes before those ways: "service=roaming"; never a password
    QString strLogin = {}; ///< whose documents; empty: those of the session's user
    std::chrono::seconds connect { 5 }; ///< for each host; libpq takes no less than 2
    std::chrono::milliseconds answer { 10000 }; ///< for each call after that
};

} // namespace roaming
