// Keeps exceptions inside: an operation that runs out of memory fails as any other.
#pragma once

#include <exception>

namespace brevant {

template <class Operation, class Result>
Result Guarded(Result failure, Operation operation) noexcept {
  try {
    return static_cast<Result>(operation());
  } catch (const std::exception&) {
    return failure;
  }
}

}  // namespace brevant
