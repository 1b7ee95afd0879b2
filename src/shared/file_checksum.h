// The checksum by which delivery tells that a file has changed: a 32-bit CRC over the whole file,
// most significant bit first, generator polynomial 0x04C11DB7, beginning with 0, nothing reflected,
// nothing inverted. 89A1897F for the nine bytes "123456789".
#pragma once

#include <brevant/platform_types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brevant {

// The checksum of some bytes; before is that of the bytes in front of them.
std::uint32_t FileChecksum(const void* bytes, std::size_t count, std::uint32_t before = 0);

struct TFileSum {
  DWORD checksum = 0;
  DWORD size = 0;  // bytes, modulo 2^32
};

// Reads files for their sums, all through one buffer.
class TFileSummer {
 public:
  // goOn: reading ends at a block when it is clear.
  explicit TFileSummer(const std::atomic<int>& goOn);
  // Nothing when the file cannot be opened or read, or reading was ended.
  std::optional<TFileSum> Sum(const std::string& path);

 private:
  const std::atomic<int>& goOn_;
  std::vector<char> block_;
};

}  // namespace brevant
