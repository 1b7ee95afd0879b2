// The numbers of the compound file format.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace compound {

// Sector numbers above kMaxSector are marks in the allocation tables.
inline constexpr std::uint32_t kMaxSector = 0xFFFFFFFA;
inline constexpr std::uint32_t kDifatSector = 0xFFFFFFFC;
inline constexpr std::uint32_t kFatSector = 0xFFFFFFFD;
inline constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
inline constexpr std::uint32_t kFreeSector = 0xFFFFFFFF;

using EntryId = std::uint32_t;
inline constexpr EntryId kNoEntry = 0xFFFFFFFF;
inline constexpr EntryId kRootEntry = 0;

inline constexpr std::size_t kHeaderBytes = 512;
inline constexpr std::size_t kHeaderDifat = 109;  // FAT locations that the header itself holds
inline constexpr std::size_t kEntryBytes = 128;
inline constexpr unsigned kMiniShift = 6;
inline constexpr std::uint32_t kMiniSectorBytes = 1U << kMiniShift;
inline constexpr std::uint32_t kMiniCutoff = 4096;  // streams below live in the mini stream
inline constexpr std::size_t kMaxNameUnits = 31;    // UTF-16 units, without the final zero
// Bytes from here on hold byte-range locks in files shared with other programs.
inline constexpr std::uint64_t kRangeLockOffset = 0x7FFFFF00;

using ClassId = std::array<std::uint8_t, 16>;

inline std::uint16_t Load16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t Load32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
inline std::uint64_t Load64(const std::uint8_t* p) {
  return Load32(p) | (static_cast<std::uint64_t>(Load32(p + 4)) << 32);
}
inline void Store16(std::uint8_t* p, std::uint16_t value) {
  p[0] = static_cast<std::uint8_t>(value);
  p[1] = static_cast<std::uint8_t>(value >> 8);
}
inline void Store32(std::uint8_t* p, std::uint32_t value) {
  Store16(p, static_cast<std::uint16_t>(value));
  Store16(p + 2, static_cast<std::uint16_t>(value >> 16));
}
inline void Store64(std::uint8_t* p, std::uint64_t value) {
  Store32(p, static_cast<std::uint32_t>(value));
  Store32(p + 4, static_cast<std::uint32_t>(value >> 32));
}

}  // namespace compound
