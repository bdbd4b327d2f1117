#pragma once

#include <tests/support/randomdocuments.h>

#include <cstddef>
#include <cstdint>

namespace fuzzkit {

/// One choice a byte; behind the last byte always the first.
inline randomdocuments::Choose choices(const std::uint8_t* data, std::size_t size)
{
    return [data, size, nAt = std::size_t(0)](int bound) mutable {
        return nAt < size && bound > 0 ? data[nAt++] % bound : 0;
    };
}

} // namespace fuzzkit
