// The demonstration shows the whole round of a board, and stops where something is not as it says.
#include "support/file_attributes.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(Demonstration, ShowsTheWholeRound) {
  const test::TemporaryDirectory directory;
  const test::ProgramResult shown = test::RunProgram({DEMO_PROGRAM, directory / "a board"});
  EXPECT_EQ(shown.exitCode, 0) << shown.output;
  EXPECT_THAT(shown.output, HasSubstr("The server's directory equals the site, byte for byte: "));
  EXPECT_THAT(shown.output, HasSubstr("Only the mailbox was looked into"));
  EXPECT_TRUE(test::FileExists(directory / "a board/Site/index.htm"));
  EXPECT_TRUE(test::FileExists(directory / "a board-web/www/index.htm"));
  // Tidied up is what is generated, and where that cannot be told the demonstration says so.
  const auto tidied = HasSubstr("so they are gone here and on the server");
  const auto leftOut = HasSubstr("This file system keeps no archive");
  if (test::KeepsFileAttributes(directory.Path())) {
    EXPECT_THAT(shown.output, tidied);
    EXPECT_THAT(shown.output, Not(leftOut));
  } else {
    EXPECT_THAT(shown.output, leftOut);
    EXPECT_THAT(shown.output, Not(tidied));
  }
}

}  // namespace
