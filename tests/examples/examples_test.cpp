// The example hosts load the built library at run time and run a task on a board.
#include "host/host_fixture.h"

namespace {

using host_test::HasSubstr;
using host_test::Host;

class Example : public Host, public ::testing::WithParamInterface<const char*> {
 protected:
  test::ProgramResult RunExample(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), GetParam());
    return test::RunProgram(arguments);
  }
};

TEST_P(Example, MakesThePagesOfABoard) {
  InitWithForum();
  const test::ProgramResult made = RunExample({BREVANT_LIBRARY, Board()});
  EXPECT_EQ(made.exitCode, 0) << made.output;
  EXPECT_THAT(made.output, HasSubstr("HTML: done"));
  // The status function was called.
  EXPECT_THAT(made.output, HasSubstr(" ..."));
  EXPECT_THAT(test::ReadFileBytes(InBoard("Site/index.htm")), HasSubstr("General Talk"));
}

TEST_P(Example, ShowsWhatFailed) {
  InitWithForum();
  const test::ProgramResult port = RunHost({"config", Board(), "set", "POP3 Server", "127.0.0.1"});
  ASSERT_EQ(port.exitCode, 0) << port.output;
  // The discard port: nobody listens there on a machine that runs tests.
  ASSERT_EQ(RunHost({"config", Board(), "set", "POP3 Port", "9"}).exitCode, 0);
  const test::ProgramResult failed = RunExample({BREVANT_LIBRARY, Board(), "MAIL RETRIEVAL"});
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_THAT(failed.output, HasSubstr("Cannot log onto 127.0.0.1"));
  EXPECT_THAT(failed.output, HasSubstr("MAIL RETRIEVAL: failed"));
  EXPECT_THAT(test::ReadFileBytes(InBoard("error.log")), HasSubstr("Cannot log onto 127.0.0.1"));
}

TEST_P(Example, SaysThatThereIsNoLibrary) {
  const test::ProgramResult failed = RunExample({directory_ / "missing.dll", Board()});
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_THAT(failed.output, HasSubstr("cannot load"));
}

INSTANTIATE_TEST_SUITE_P(Hosts, Example, ::testing::Values(EXAMPLE_C, EXAMPLE_CPP),
                         [](const auto& example) { return example.index == 0 ? "C" : "Cpp"; });

}  // namespace
