#include "compound/checksum.h"

#include "compound/format.h"

#include <array>

namespace compound {
namespace {

using Table = std::array<std::uint64_t, 256>;

// tables[k][b] is what byte b contributes when k more bytes follow it: eight bytes go in one step.
constexpr std::array<Table, 8> MakeTables() {
  std::array<Table, 8> tables{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    std::uint64_t value = byte;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value >> 1) ^ ((value & 1) != 0 ? 0xC96C5795D7870F42U : 0U);
    }
    tables[0][byte] = value;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint64_t value = tables[k - 1][byte];
      tables[k][byte] = (value >> 8) ^ tables[0][value & 0xFF];
    }
  }
  return tables;
}

constexpr std::array<Table, 8> kTables = MakeTables();

}  // namespace

std::uint64_t Checksum(const std::uint8_t* bytes, std::size_t count, std::uint64_t before) {
  std::uint64_t sum = ~before;
  for (; count >= 8; bytes += 8, count -= 8) {
    const std::uint64_t word = sum ^ Load64(bytes);
    sum = 0;
    for (unsigned i = 0; i < 8; ++i) sum ^= kTables[7 - i][(word >> (8 * i)) & 0xFF];
  }
  for (; count > 0; ++bytes, --count) sum = (sum >> 8) ^ kTables[0][(sum ^ *bytes) & 0xFF];
  return ~sum;
}

}  // namespace compound
