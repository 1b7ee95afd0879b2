#include "shared/dot_guard.h"

#include <utility>

namespace brevant {

const std::string& TDotGuard::Take(std::string_view piece) {
  output_.clear();
  for (const char c : piece) {
    const bool lineEnd = c == '\r' || c == '\n';
    if (state_ == TState::kAfterDot) output_ += lineEnd ? ".." : ".";
    if (state_ == TState::kLineStart && c == '.') {
      state_ = TState::kAfterDot;
      continue;
    }
    output_ += c;
    state_ = lineEnd ? TState::kLineStart : TState::kInLine;
  }
  return output_;
}

const std::string& TDotGuard::Finish() {
  output_ = std::exchange(state_, TState::kLineStart) == TState::kAfterDot ? ".." : "";
  return output_;
}

}  // namespace brevant
