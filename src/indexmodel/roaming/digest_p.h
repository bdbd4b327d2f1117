#pragma once

#include <QByteArray>

#include <optional>

namespace roaming {

/// SHA-256 of \a bytes, 32 bytes. OpenSSL's, which libpq brings, takes a tenth of the time of Qt's,
/// and a save hashes all of a text.
QByteArray sha256(const QByteArray& bytes);

/// The same in hex; of nothing it is empty.
QByteArray digestOf(const std::optional<QByteArray>& bytes);

} // namespace roaming
