// Any bytes as a compound file: opened, read, changed, committed, read again. With libFuzzer:
//   clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -Isrc -Itests
//     tests/fuzz/compound_fuzzer.cpp tests/unit/compound/exercise.cpp src/compound/*.cpp
#include "unit/compound/exercise.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::ExerciseBytes(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
