// Keeps a message's text from ending the message.
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// Turns every line that is a single "." into "..". A line is what stands between line ends of any
// kind, CR LF, LF or CR, since servers differ in what they take for one. The text comes in pieces
// of any size.
class TDotGuard {
 public:
  // What of the text so far may go out. Valid until the next call.
  const std::string& Take(std::string_view piece);
  // The text ends here.
  const std::string& Finish();

 private:
  enum class TState { kLineStart, kAfterDot, kInLine };

  TState state_ = TState::kLineStart;
  std::string output_;
};

}  // namespace brevant
