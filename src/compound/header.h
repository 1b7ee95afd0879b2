// The first 512 bytes of a compound file.
#pragma once

#include "compound/byte_file.h"
#include "compound/format.h"

namespace compound {

struct Header {
  std::uint16_t majorVersion = 3;
  unsigned sectorShift = 9;
  std::uint32_t directorySectors = 0;  // counted in version 4 only
  std::uint32_t fatSectors = 0;
  std::uint32_t firstDirectorySector = kEndOfChain;
  std::uint32_t sequence = 0;  // another one after each commit
  std::uint32_t firstMiniFatSector = kEndOfChain;
  std::uint32_t miniFatSectors = 0;
  std::uint32_t firstDifatSector = kEndOfChain;
  std::uint32_t difatSectors = 0;
  std::array<std::uint32_t, kHeaderDifat> difat{};
  // What the file held in its reserved fields is kept as it was.
  std::array<std::uint8_t, kHeaderBytes> bytes{};
  bool dirty = false;

  std::uint32_t SectorBytes() const { return 1U << sectorShift; }
};

// The header of a new document: version 3, or version 4 with its sectors of 4096 bytes. Its first
// sequence number is any: no two documents agree in it, nor two commits of one.
Header NewHeader(std::uint16_t majorVersion);
// Throws kNotCompound when the signature is missing, kCorrupt when a fixed field is not as it must.
Header ReadHeader(ByteFile& file);
// Writes the header's fields over its bytes.
void StoreHeader(Header& header);

}  // namespace compound
