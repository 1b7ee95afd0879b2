// What a newcomer meets first.
#include "host_fixture.h"

#include <regex>
#include <set>

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

// The owner's page names every command that the program has.
TEST_F(Help, AndTheOwnersPageNameTheSameCommands) {
  const std::string page = test::ReadFileBytes(SOURCE_DIRECTORY "/docs/brevant-host.md");
  for (const char* command : {"init", "run", "post", "subscribe", "unsubscribe"}) {
    EXPECT_THAT(page, HasSubstr("`" + std::string(command) + "`"));
    EXPECT_EQ(RunHost({command, "--help"}).exitCode, 0) << command;
  }
  std::set<std::string> named;
  static const std::regex kPair("`(forum|links|list|question|config) ([a-z]+)`");
  for (std::sregex_iterator at(page.begin(), page.end(), kPair), end; at != end; ++at) {
    if (!named.insert(at->str()).second) continue;
    std::vector<std::string> words = {(*at)[1], (*at)[2], "--help"};
    if (words[0] == "config") words.insert(words.begin() + 1, Board());
    EXPECT_EQ(RunHost(words).exitCode, 0) << at->str();
  }
  EXPECT_EQ(named.size(), 4u * 7 + 3);
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
