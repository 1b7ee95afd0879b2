// What a newcomer meets first.
#include "host_fixture.h"

using namespace host_test;

namespace {

using Help = Host;

TEST_F(Help, NamesEveryCommandAndGivesExamples) {
  test::ProgramResult result = RunHost({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char* word : {"init", "run", "forum", "list", "links", "question", "post", "subscribe",
                           "unsubscribe", "config", "Examples:", "cron"}) {
    EXPECT_THAT(result.output, HasSubstr(word));
  }
}

TEST_F(Help, StandsForEveryCommand) {
  for (const char* command : {"init", "run", "post", "config", "subscribe", "unsubscribe"}) {
    test::ProgramResult result = RunHost({command, "--help"});
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_THAT(result.output, HasSubstr("DIR")) << command;
  }
  test::ProgramResult result = RunHost({"forum", "create", "--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, HasSubstr("--maximum"));
}

TEST_F(Help, WithoutArgumentsIsShownAndTheCodeIsTwo) {
  test::ProgramResult result = RunHost({});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.output, HasSubstr("Examples:"));
}

TEST_F(Help, VersionIsOneLine) {
  test::ProgramResult result = RunHost({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, ::testing::StartsWith("brevant-host 0."));
}

TEST_F(Help, AnUnknownCommandEndsWithTwo) { EXPECT_EQ(RunHost({"explode", Board()}).exitCode, 2); }

}  // namespace
