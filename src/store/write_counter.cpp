#include "store/write_counter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace brevant {

namespace {

struct Registry {
  std::mutex mutex;
  std::unordered_map<IStorage*, std::shared_ptr<WriteCounter>> counters;
};

// Never destroyed: a host may close its last forum from the destructor of an object of its own.
Registry& TheRegistry() {
  alignas(Registry) static std::array<std::byte, sizeof(Registry)> room;
  static Registry* const registry = std::construct_at(reinterpret_cast<Registry*>(room.data()));
  return *registry;
}

}  // namespace

void WriteCounter::AddWrite(DWORD position, DWORD bytes) {
  const std::uint64_t begin = position;
  const std::uint64_t end = begin + bytes;
  const std::uint64_t commit = file_->commits_;
  if (stretchCommit_ != commit) {
    stretchCommit_ = commit;
    stretchBegin_ = stretchEnd_ = begin;
  }
  if (begin > stretchEnd_ || end < stretchBegin_) {
    file_->Add(bytes);
    if (bytes <= stretchEnd_ - stretchBegin_) return;
    stretchBegin_ = begin;
    stretchEnd_ = end;
    return;
  }
  const std::uint64_t known = stretchEnd_ - stretchBegin_;
  stretchBegin_ = std::min(stretchBegin_, begin);
  stretchEnd_ = std::max(stretchEnd_, end);
  file_->Add(stretchEnd_ - stretchBegin_ - known);
}

std::shared_ptr<WriteCounter> FindWriteCounter(IStorage* storage) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.counters.find(storage);
  return found == registry.counters.end() ? nullptr : found->second;
}

void RegisterWriteCounter(IStorage* storage, const std::shared_ptr<WriteCounter>& counter) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  registry.counters[storage] = counter;
}

void ForgetWriteCounter(IStorage* storage) noexcept {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  registry.counters.erase(storage);
}

}  // namespace brevant
