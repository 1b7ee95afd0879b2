// Runs a fuzzer's entry over its kept inputs, so that what was once found stays found.
#include "support/temporary_directory.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(Corpus, EveryInputIsSurvived) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(BREVANT_CORPUS)) {
    const std::string bytes = test::ReadFileBytes(entry.path().string());
    SCOPED_TRACE(entry.path().string());
    EXPECT_EQ(
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()),
        0);
    ++inputs;
  }
  EXPECT_GT(inputs, 0);
}
