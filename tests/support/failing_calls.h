// Calls to the system that fail where a test wants it: not only those that change files, but every
// one that the library makes. POSIX only.
//
// A program takes the target test_failing_calls into its own objects. Its link options lead the
// library's calls through this layer (the linker's --wrap); the C and C++ libraries' own calls, and
// those of other threads, are left alone. It also leads malloc there, for the few places that use
// it. Memory of operator new is support/failing_memory.h. In such a program syncs do nothing.
#pragma once

#include <string>

namespace test {

enum class CallFault {
  kNone,         // only counts
  kError,        // the call fails as the system can make it fail; each time another way
  kInterrupted,  // a call that a signal can interrupt is, once; others are not counted
  kShort,        // a transfer moves about half of its bytes; others are not counted
};

// While it lives, the calls of this thread are counted, and the n-th one (from 1) goes wrong.
class FailingCalls {
 public:
  FailingCalls(CallFault fault, long n);
  ~FailingCalls();
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  // How many calls there were that could go wrong so.
  long Calls() const;
  // The call that went wrong and how, as "open: EMFILE"; empty when none did.
  std::string Struck() const;
};

}  // namespace test
