// What the fuzzers' entries share.
#pragma once

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
