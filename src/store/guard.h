// Nothing throws across an exported function.
#pragma once

#include <atomic>

namespace brevant {

// How often a value was given as a default because memory ran out, or because it could not be read,
// without the caller being told. Tasks look here before they do what cannot be taken back.
inline std::atomic<unsigned> silentFailures{0};

// The result of work, or failure when it throws (memory has run out).
template <typename Result, typename Work>
Result Guarded(Result failure, Work&& work) noexcept {
  try {
    return work();
  } catch (...) {
    ++silentFailures;
    return failure;
  }
}

}  // namespace brevant
