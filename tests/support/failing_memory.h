// Memory that runs out where a test wants it to. A program that uses it takes failing_memory.cpp
// into its own sources: it replaces the global operator new.
#pragma once

namespace test {

enum class Shortage {
  kLasting,  // from some allocation on there is no memory
  kPassing,  // one allocation fails
};

// While it lives, this thread gets so many allocations more; every further one, or only the next
// one, throws bad_alloc.
class FailingMemory {
 public:
  explicit FailingMemory(long allowed, Shortage shortage = Shortage::kLasting);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  // Whether an allocation has failed.
  bool HasFailed() const;
  // How many allocations there were, those that failed included.
  long Allocations() const;

 private:
  long allowed_;
};

// Runs the operation with memory for no allocation, for one, and so on until it gets by with what
// there is. The operation is told nothing; the check is called after each run that lacked memory.
template <typename Operation, typename Check>
void ForEveryShortage(Operation operation, Check check) {
  for (long allowed = 0;; ++allowed) {
    bool failed = false;
    {
      const FailingMemory memory(allowed);
      operation();
      failed = memory.HasFailed();
    }
    if (!failed) return;
    check();
  }
}

}  // namespace test
