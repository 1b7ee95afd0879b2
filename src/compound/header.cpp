#include "compound/header.h"

#include <algorithm>
#include <atomic>
#include <chrono>

namespace compound {
namespace {

constexpr std::array<std::uint8_t, 8> kSignature = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

constexpr std::size_t kMinorVersionAt = 24;
constexpr std::size_t kMajorVersionAt = 26;
constexpr std::size_t kByteOrderAt = 28;
constexpr std::size_t kSectorShiftAt = 30;
constexpr std::size_t kMiniShiftAt = 32;
constexpr std::size_t kDirectorySectorsAt = 40;
constexpr std::size_t kFatSectorsAt = 44;
constexpr std::size_t kFirstDirectoryAt = 48;
constexpr std::size_t kSequenceAt = 52;  // the format's transaction signature number
constexpr std::size_t kCutoffAt = 56;
constexpr std::size_t kFirstMiniFatAt = 60;
constexpr std::size_t kMiniFatSectorsAt = 64;
constexpr std::size_t kFirstDifatAt = 68;
constexpr std::size_t kDifatSectorsAt = 72;
constexpr std::size_t kDifatAt = 76;

std::uint32_t AnyNumber() {
  static std::atomic<std::uint64_t> calls{0};
  const auto now =
      std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  // Knuth's multiplicative hash.
  return static_cast<std::uint32_t>(
      ((static_cast<std::uint64_t>(now) + ++calls) * 0x9E3779B97F4A7C15U) >> 32);
}

}  // namespace

Header NewHeader(std::uint16_t majorVersion) {
  Header header;
  header.majorVersion = majorVersion;
  header.sectorShift = majorVersion == 4 ? 12 : 9;
  header.sequence = AnyNumber();
  header.difat.fill(kFreeSector);
  std::uint8_t* bytes = header.bytes.data();
  std::copy(kSignature.begin(), kSignature.end(), bytes);
  Store16(bytes + kMinorVersionAt, 0x3E);
  Store16(bytes + kMajorVersionAt, majorVersion);
  Store16(bytes + kByteOrderAt, 0xFFFE);
  Store16(bytes + kSectorShiftAt, static_cast<std::uint16_t>(header.sectorShift));
  Store16(bytes + kMiniShiftAt, kMiniShift);
  Store32(bytes + kCutoffAt, kMiniCutoff);
  header.dirty = true;
  return header;
}

Header ReadHeader(ByteFile& file) {
  Header header;
  std::size_t got = 0;
  Check(file.ReadAt(0, header.bytes.data(), kHeaderBytes, &got));
  const std::uint8_t* bytes = header.bytes.data();
  if (got < kHeaderBytes || !std::equal(kSignature.begin(), kSignature.end(), bytes)) {
    throw Error(Status::kNotCompound);
  }
  header.majorVersion = Load16(bytes + kMajorVersionAt);
  header.sectorShift = Load16(bytes + kSectorShiftAt);
  const bool known = (header.majorVersion == 3 && header.sectorShift == 9) ||
                     (header.majorVersion == 4 && header.sectorShift == 12);
  if (!known || Load16(bytes + kByteOrderAt) != 0xFFFE ||
      Load16(bytes + kMiniShiftAt) != kMiniShift || Load32(bytes + kCutoffAt) != kMiniCutoff) {
    throw Error(Status::kCorrupt);
  }
  header.directorySectors = Load32(bytes + kDirectorySectorsAt);
  header.fatSectors = Load32(bytes + kFatSectorsAt);
  header.firstDirectorySector = Load32(bytes + kFirstDirectoryAt);
  header.sequence = Load32(bytes + kSequenceAt);
  header.firstMiniFatSector = Load32(bytes + kFirstMiniFatAt);
  header.miniFatSectors = Load32(bytes + kMiniFatSectorsAt);
  header.firstDifatSector = Load32(bytes + kFirstDifatAt);
  header.difatSectors = Load32(bytes + kDifatSectorsAt);
  for (std::size_t i = 0; i < kHeaderDifat; ++i) {
    header.difat[i] = Load32(bytes + kDifatAt + 4 * i);
  }
  return header;
}

void StoreHeader(Header& header) {
  std::uint8_t* bytes = header.bytes.data();
  Store32(bytes + kDirectorySectorsAt, header.majorVersion == 4 ? header.directorySectors : 0);
  Store32(bytes + kFatSectorsAt, header.fatSectors);
  Store32(bytes + kFirstDirectoryAt, header.firstDirectorySector);
  Store32(bytes + kSequenceAt, header.sequence);
  Store32(bytes + kFirstMiniFatAt, header.firstMiniFatSector);
  Store32(bytes + kMiniFatSectorsAt, header.miniFatSectors);
  Store32(bytes + kFirstDifatAt, header.firstDifatSector);
  Store32(bytes + kDifatSectorsAt, header.difatSectors);
  for (std::size_t i = 0; i < kHeaderDifat; ++i) {
    Store32(bytes + kDifatAt + 4 * i, header.difat[i]);
  }
}

}  // namespace compound
