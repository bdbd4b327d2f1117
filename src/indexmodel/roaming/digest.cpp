#include "roaming/digest_p.h"

#include <openssl/sha.h>

namespace roaming {

QByteArray sha256(const QByteArray& bytes)
{
    QByteArray digest(SHA256_DIGEST_LENGTH, Qt::Uninitialized);
    SHA256(reinterpret_cast<const unsigned char*>(bytes.constData()),
           static_cast<std::size_t>(bytes.size()), reinterpret_cast<unsigned char*>(digest.data()));
    return digest;
}

QByteArray digestOf(const std::optional<QByteArray>& bytes)
{
    return bytes ? sha256(*bytes).toHex() : QByteArray();
}

} // namespace roaming
