// CRC-64 as the XZ format computes it (ECMA-182's polynomial, reflected): 995DC9BBDF1939FA for the
// nine bytes "123456789".
#pragma once

#include <cstddef>
#include <cstdint>

namespace compound {

// The checksum of some bytes; `before` is that of the bytes in front of them.
std::uint64_t Checksum(const std::uint8_t* bytes, std::size_t count, std::uint64_t before = 0);

}  // namespace compound
