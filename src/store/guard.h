// Nothing throws across an exported function.
#pragma once

#include <atomic>

namespace brevant {

// How often memory ran out without the caller being told: what reads values gives defaults then.
// Tasks look here before they do what cannot be taken back.
inline std::atomic<unsigned> memoryFailures{0};

// The result of work, or failure when it throws (memory has run out).
template <typename Result, typename Work>
Result Guarded(Result failure, Work&& work) noexcept {
  try {
    return work();
  } catch (...) {
    ++memoryFailures;
    return failure;
  }
}

}  // namespace brevant
