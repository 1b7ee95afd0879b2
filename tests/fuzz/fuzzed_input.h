// What the fuzzers' entries share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace test {

// A property that must hold whatever the input; breaking it counts as a crash.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken property: %s\n", what);
  std::abort();
}

// The same for two texts, with where they differ.
inline void RequireEqual(const std::string& is, const std::string& wanted, const char* what) {
  if (is == wanted) return;
  std::size_t at = 0;
  while (at < is.size() && at < wanted.size() && is[at] == wanted[at]) ++at;
  const std::size_t from = at - std::min<std::size_t>(at, 40);
  std::fprintf(stderr, "at %zu of %zu and %zu bytes:\n%s\ninstead of\n%s\n", at, is.size(),
               wanted.size(), is.substr(from, 120).c_str(), wanted.substr(from, 120).c_str());
  Require(false, what);
}

// The input cut into parts that the fuzzer can shape one by one: a zero byte ends a part.
class FuzzedInput {
 public:
  FuzzedInput(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  unsigned Byte() {
    if (rest_.empty()) return 0;
    const unsigned byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
  }
  std::string Part() {
    const std::size_t end = rest_.find('\0');
    const std::string part(rest_.substr(0, end));
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return part;
  }
  std::string Rest() { return std::string(rest_); }
  bool Empty() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

}  // namespace test
