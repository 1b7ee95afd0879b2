// How much was written into a compound file since its last commit.
#pragma once

#include <brevant/platform_types.h>

#include <atomic>
#include <memory>
#include <utility>

namespace brevant {

// A compound file has one, shared by its root storage and all storages opened inside it; every open
// stream has one of its own that hands on to it.
class WriteCounter {
 public:
  WriteCounter() = default;
  // For one stream of the file that file counts for.
  explicit WriteCounter(std::shared_ptr<WriteCounter> file) : file_(std::move(file)) {}

  void Add(std::uint64_t bytes) { bytes_ += bytes; }
  // Of a stream: bytes were written at this position. What was written before since the last commit
  // makes nothing more to commit: a full list that moves up with every insertion counts once.
  void AddWrite(DWORD position, DWORD bytes);
  void Reset() {
    bytes_ = 0;
    ++commits_;
  }
  // Stops at the largest 32-bit number.
  DWORD Bytes() const {
    const std::uint64_t bytes = bytes_;
    return bytes > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<DWORD>(bytes);
  }

 private:
  std::atomic<std::uint64_t> bytes_{0};
  std::atomic<std::uint64_t> commits_{0};

  // Of a stream: one stretch that it has written since the commit with this number. Of several
  // apart the longest is remembered, so that too much is counted rather than too little.
  std::shared_ptr<WriteCounter> file_;
  std::uint64_t stretchCommit_ = 0;
  std::uint64_t stretchBegin_ = 0;
  std::uint64_t stretchEnd_ = 0;
};

// Children are opened through their parent's bare interface, so the counters are found by it. An
// interface has an entry from its opening to just before its release.
std::shared_ptr<WriteCounter> FindWriteCounter(IStorage* storage);
void RegisterWriteCounter(IStorage* storage, const std::shared_ptr<WriteCounter>& counter);
void ForgetWriteCounter(IStorage* storage) noexcept;

}  // namespace brevant
