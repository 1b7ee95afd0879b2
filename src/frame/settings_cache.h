// What a store keeps in memory: its file's path, and the texts and numbers read or set so far.
#pragma once

#include "platform/win32.h"

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace brevant {

// Values by key, whose letter case does not matter. A value stays where it is until its key is set
// again.
template <typename Value>
class TKeyedValues {
 public:
  // Null when there is none.
  const Value* Find(std::string_view key) const {
    const auto found = index_.find(Fold(key));
    return found == index_.end() ? nullptr : &values_[found->second];
  }
  // The value's index, counted in the order in which keys were first set.
  int Set(std::string_view key, Value value) {
    std::string folded = Fold(key);
    std::size_t index = values_.size();
    if (const auto found = index_.find(folded); found != index_.end()) {
      index = found->second;
      values_[index] = std::move(value);
      return static_cast<int>(index);
    }
    // The value first: when memory runs out, no key may lead to one that is not there.
    values_.push_back(std::move(value));
    try {
      index_.emplace(std::move(folded), index);
    } catch (...) {
      values_.pop_back();
      throw;
    }
    return static_cast<int>(index);
  }

 private:
  static std::string Fold(std::string_view key);

  std::unordered_map<std::string, std::size_t> index_;
  std::deque<Value> values_;
};

class TSettingsCache {
 public:
  explicit TSettingsCache(std::string filePath) : path(std::move(filePath)) {}

  const std::string path;
  TKeyedValues<std::string> texts;
  TKeyedValues<DWORD> numbers;
  std::string address;  // the default of "E-Mail Address", put together on demand
};

// Passwords are kept scrambled in the file: each byte raised by its index, modulo 256. Both give
// the text up to the first zero byte.
std::string Scramble(std::string_view text);
std::string Unscramble(std::string_view text);

// Writes the value under the key in the stores' section; line ends in it become blanks. The result
// of the profile write.
int WriteProfileValue(const char* path, const char* key, std::string value);

}  // namespace brevant
