// What the tests of load measure and print: lines "NAME=VALUE".
#pragma once

#include "support/process_facts.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>

namespace soak {

template <typename Value>
void Print(const std::string& name, const Value& value) {
  std::cout << name << '=' << value << std::endl;
}

// Of a piece of work: the time, which is only told, and how much memory it took at the most beside
// what was there before.
class Work {
 public:
  explicit Work(std::string name) : name_(std::move(name)) { test::ForgetPeak(); }

  // KiB. Prints both figures.
  long Finish() {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start_;
    const long grown = std::max(test::PeakMemory() - before_, 0L);
    Print(name_ + "_seconds", took.count());
    Print(name_ + "_memory_kib", grown);
    return grown;
  }

 private:
  std::string name_;
  long before_ = test::ResidentMemory();
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Settings and state stay open once they were written.
inline constexpr std::size_t kProfiles = 2;

// Of all files below the directory.
inline std::uintmax_t BytesBelow(const std::string& directory) {
  std::uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

inline std::size_t FilesBelow(const std::string& directory, const std::string& extension) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file() && entry.path().extension() == extension) ++count;
  }
  return count;
}

}  // namespace soak
