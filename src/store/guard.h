// Nothing throws across an exported function.
#pragma once

namespace brevant {

// The result of work, or failure when it throws (memory has run out).
template <typename Result, typename Work>
Result Guarded(Result failure, Work&& work) noexcept {
  try {
    return work();
  } catch (...) {
    return failure;
  }
}

}  // namespace brevant
