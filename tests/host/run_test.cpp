// Running the tasks: order, lock, exit code, interruption.
#include "host_fixture.h"
#include "support/pop3_server.h"

#include <chrono>
#include <thread>

using namespace host_test;

namespace {

class Running : public Host {
 protected:
  void UseMailbox(WORD port) {
    for (const auto& [key, value] :
         std::map<std::string, std::string>{{"POP3 Server", "127.0.0.1"},
                                            {"POP3 Port", std::to_string(port)},
                                            {"POP3 Account", "board"},
                                            {"POP3 Password", "secret"}}) {
      ASSERT_EQ(RunHost({"config", Board(), "set", key, value}).exitCode, 0);
    }
  }
};

constexpr const char* kMail =
    "From: Ann <ann@example.org>\nTo: \"[Test_Board:General_Talk]\" <board@example.org>\n"
    "Subject: By mail\nDate: Mon, 2 Nov 2026 09:12:40 +0000\n\nthe mailed text\n";

TEST_F(Running, AMailedPostBecomesAPage) {
  InitWithForum();
  test::Pop3Server server({kMail, "Subject: stray\n\nnothing for the board\n"});
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Retrieved \"By mail\" successfully"));
  EXPECT_THAT(result.output, HasSubstr("dispatch: not part of this version yet"));
  EXPECT_THAT(result.output, HasSubstr("deliver: not part of this version yet"));
  EXPECT_EQ(server.Messages().size(), 1u);
  EXPECT_THAT(test::ReadFileBytes(InBoard("Site/index.htm")), HasSubstr("General Talk"));
  bool found = false;
  for (const fs::directory_entry& entry : fs::directory_iterator(InBoard("Site"))) {
    found = found ||
            test::ReadFileBytes(entry.path().string()).find("the mailed text") != std::string::npos;
  }
  EXPECT_TRUE(found);
}

TEST_F(Running, WithoutAMailServerEverythingElseRuns) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("retrieve: left out"));
  EXPECT_THAT(result.output, HasSubstr("html: done"));
}

TEST_F(Running, TasksRunInTheirOrderAndOnlyThoseNamed) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board(), "html"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, Not(HasSubstr("retrieve")));
  EXPECT_THAT(result.output, Not(HasSubstr("deliver")));
}

TEST_F(Running, ATaskNotBuiltYetIsAFailureWhenNamed) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board(), "deliver"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("deliver: not part of this version yet"));
}

TEST_F(Running, AnUnknownTaskNameIsRefusedBeforeAnythingRuns) {
  InitWithForum();
  std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result = RunHost({"run", Board(), "html", "explode"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot run \"explode\""));
  EXPECT_THAT(result.output, HasSubstr("retrieve, dispatch, html, files, deliver"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Running, ARefusedLogOnFails) {
  InitWithForum();
  test::Pop3Options options;
  options.account = "board";
  options.password = "another";
  test::Pop3Server server({kMail}, options);
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board(), "retrieve"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot log onto 127.0.0.1"));
  EXPECT_THAT(result.output, Not(HasSubstr("secret")));
  EXPECT_THAT(test::ReadFileBytes(InBoard("error.log")), Not(HasSubstr("secret")));
  EXPECT_EQ(server.Messages().size(), 1u);
}

TEST_F(Running, ASecondRunIsToldThatTheBoardIsInUse) {
  InitWithForum();
  test::Pop3Options options;
  options.deviations = {test::ParseDeviation("GREETING * silent")};
  test::Pop3Server server({kMail}, options);
  UseMailbox(server.Port());
  test::Program first(HostCommand({"run", Board(), "retrieve"}));
  for (int i = 0; i < 500 && server.Server().Accepted() == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_EQ(server.Server().Accepted(), 1);
  test::ProgramResult second = RunHost({"run", Board()});
  EXPECT_EQ(second.exitCode, 1);
  EXPECT_THAT(second.output, HasSubstr("another brevant-host is working on it"));
}

TEST_F(Running, ControlCharactersOfASubjectNeverReachTheTerminal) {
  InitWithForum();
  test::Pop3Server server(
      {"From: a@b.example\nTo: \"[Test_Board:General_Talk]\" <b@c.example>\n"
       "Subject: \x1b]0;owned\x07 %s%n\n\nx\n"});
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board(), "retrieve", "--verbose"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
  EXPECT_THAT(result.output, HasSubstr("%s%n"));
}

}  // namespace
