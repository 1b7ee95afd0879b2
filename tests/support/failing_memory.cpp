#include "support/failing_memory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool isLimited = false;
thread_local long left = 0;
thread_local bool isPassing = false;
thread_local bool hasFailed = false;

void* Allocate(std::size_t size) {
  if (isLimited && (isPassing ? left-- == 0 : left-- <= 0)) {
    hasFailed = true;
    throw std::bad_alloc();
  }
  // Not malloc, whose calls by the library itself are counted elsewhere (support/failing_calls.h),
  // and nothing that the compiler makes one of.
  void* volatile nothing = nullptr;
  if (void* memory = std::realloc(nothing, size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace test {

FailingMemory::FailingMemory(long allowed, Shortage shortage) : allowed_(allowed) {
  left = allowed;
  isPassing = shortage == Shortage::kPassing;
  hasFailed = false;
  isLimited = true;
}

FailingMemory::~FailingMemory() { isLimited = false; }

bool FailingMemory::HasFailed() const { return hasFailed; }

long FailingMemory::Allocations() const { return allowed_ - left; }

}  // namespace test
