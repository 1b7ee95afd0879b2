#include "store/write_counter.h"

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
