// Ctrl-C. Not built for Windows: a console would be needed to send it.
#include "host_fixture.h"
#include "support/pop3_server.h"

#include <chrono>
#include <thread>

using namespace host_test;

namespace {

class Interruption : public Host {
 protected:
  void UseMailbox(WORD port) {
    ASSERT_EQ(RunHost({"config", Board(), "set", "POP3 Server", "127.0.0.1"}).exitCode, 0);
    ASSERT_EQ(RunHost({"config", Board(), "set", "POP3 Port", std::to_string(port)}).exitCode, 0);
  }
  static std::string Mail(int number) {
    return "From: a@b.example\nTo: \"[Test_Board:General_Talk]\" <b@c.example>\nSubject: number " +
           std::to_string(number) + "\n\ntext\n";
  }
};

TEST_F(Interruption, EndsARunCleanlyAndKeepsWhatWasFiled) {
  InitWithForum();
  test::Pop3Options options;
  options.deviations = {test::ParseDeviation("RETR 2 silent")};
  test::Pop3Server server({Mail(1), Mail(2)}, options);
  UseMailbox(server.Port());
  test::Program program(HostCommand({"run", Board()}));
  for (int i = 0; i < 1000 && server.Transcript().find("RETR 2") == std::string::npos &&
                  server.Transcript().find("Retr 2") == std::string::npos;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(program.Interrupt());
  test::ProgramResult result = program.Wait();
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - start);
  RecordProperty("milliseconds", static_cast<int>(taken.count()));
  EXPECT_LT(taken.count(), 2000);
  EXPECT_EQ(result.exitCode, 130) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Interrupted"));
  // No later task was begun, and the first message is on disk.
  EXPECT_THAT(result.output, Not(HasSubstr("html:")));
  EXPECT_THAT(RunHost({"forum", "show", Board(), "General Talk"}).output, HasSubstr("number 1"));
}

TEST_F(Interruption, FreesTheBoardForTheNextRun) {
  InitWithForum();
  test::Pop3Options options;
  options.deviations = {test::ParseDeviation("GREETING 1 silent")};
  test::Pop3Server server({Mail(1)}, options);
  UseMailbox(server.Port());
  test::Program program(HostCommand({"run", Board(), "retrieve"}));
  for (int i = 0; i < 500 && server.Server().Accepted() == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_TRUE(program.Interrupt());
  EXPECT_EQ(program.Wait().exitCode, 130);
  test::ProgramResult next = RunHost({"run", Board(), "retrieve"});
  EXPECT_EQ(next.exitCode, 0) << next.output;
}

}  // namespace
