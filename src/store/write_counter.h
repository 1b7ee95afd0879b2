// How much was written into a compound file since its last commit.
#pragma once

#include <brevant/platform_types.h>

#include <atomic>
#include <memory>

namespace brevant {

// Shared by a compound file's root storage and all that is opened inside it.
class WriteCounter {
 public:
  void Add(std::uint64_t bytes) { bytes_ += bytes; }
  void Reset() { bytes_ = 0; }
  // Stops at the largest 32-bit number.
  DWORD Bytes() const {
    const std::uint64_t bytes = bytes_;
    return bytes > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<DWORD>(bytes);
  }

 private:
  std::atomic<std::uint64_t> bytes_{0};
};

// Children are opened through their parent's bare interface, so the counters are found by it. An
// interface has an entry from its opening to just before its release.
std::shared_ptr<WriteCounter> FindWriteCounter(IStorage* storage);
void RegisterWriteCounter(IStorage* storage, const std::shared_ptr<WriteCounter>& counter);
void ForgetWriteCounter(IStorage* storage) noexcept;

}  // namespace brevant
