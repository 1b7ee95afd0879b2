// Mail servers that stall, drip, close half-way or never end a line, and aborts at every step.
#include "smtp_fixture.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

using test::Mailer;
using test::SmtpDeviating;
using test::SmtpOptions;
using test::Stopwatch;

constexpr DWORD kTimeout = 300;

// One message up to the operation that waits for the reply to this command; its result.
int Reach(Mailer& mailer, const std::string& command) {
  TSMTP& client = mailer.client;
  if (command == "GREETING" || command == "HELO" || command == "EHLO") return mailer.connected;
  client.From("board@example.org");
  const int opened = client.OpenResource("ann@example.org", 2);
  if (command == "MAIL" || command == "RCPT") return opened;
  if (command == "RSET") return client.Abort();
  const int started = client.StartData();
  if (command == "DATA") return started;
  client.Write("body", 4);
  return client.Close();
}

struct Fault {
  const char* name;
  const char* actions;
};

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

class SmtpFaultsTest : public test::NetTest,
                       public ::testing::WithParamInterface<std::tuple<const char*, Fault, DWORD>> {
};

TEST_P(SmtpFaultsTest, EndsInTimeAndFails) {
  const auto [command, fault, mode] = GetParam();
  const std::string greeting = mode != 0 ? "EHLO" : "HELO";
  const std::string step = std::string(command) == "HELO" ? greeting : command;
  const bool connecting = step == "GREETING" || step == greeting;
  const Stopwatch watch;
  Mailer mailer(mode, SmtpDeviating({step + " * " + fault.actions}),
                connecting ? kTimeout : test::kPatience);
  if (!connecting) mailer.ExpectSilence(kTimeout);
  EXPECT_EQ(Reach(mailer, step), 0);
  EXPECT_EQ(mailer.client.Status() & 9, 0u);
  EXPECT_TRUE(mailer.server.Mails().empty());
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  const Stopwatch farewell;
  EXPECT_EQ(mailer.client.Disconnect(), 0);
  EXPECT_LT(farewell.Milliseconds(), test::kAbortBound);
}

constexpr Fault kFaults[] = {
    {"silent", "silent"},
    {"closed", "drop 0"},
    {"reset", "reset 0"},
    {"slow", "delay 3000"},
    {"farewell", "reply \"421 closing\\r\\n\""},
};

INSTANTIATE_TEST_SUITE_P(
    EveryStep, SmtpFaultsTest,
    ::testing::Combine(::testing::Values("GREETING", "HELO", "MAIL", "RCPT", "DATA", "END", "RSET"),
                       ::testing::ValuesIn(kFaults),
                       ::testing::Values(DWORD{0}, DWORD{kStatusStandardMode})));

class SmtpFaultTest : public test::NetTest {};

TEST_F(SmtpFaultTest, ALineWithoutEndIsGivenUpInStandardMode) {
  Mailer mailer(kStatusStandardMode,
                SmtpDeviating({"MAIL * flood 1000000 \"250-xxxxxxxxxxxxxxxxx\""}));
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  EXPECT_EQ(mailer.client.Status() & 9, 0u);
}

TEST_F(SmtpFaultTest, LineAfterLineDoesNotStretchTheTimeout) {
  std::string lines;
  for (int i = 0; i < 600; ++i) lines += "250-x\\r\\n";
  Mailer mailer(kStatusStandardMode,
                SmtpDeviating({"MAIL * reply \"" + lines + "250 end\\r\\n\" dribble 40"}));
  mailer.ExpectSilence(kTimeout);
  const Stopwatch watch;
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  EXPECT_EQ(mailer.client.Status() & 9, 0u);
}

TEST_F(SmtpFaultTest, NobodyListens) {
  TSMTP client;
  client.SetTimeout(test::kPatience);
  EXPECT_EQ(client.Connect("127.0.0.1", static_cast<short>(test::UnusedPort())), 0);
  EXPECT_EQ(client.Status(), 0u);
  EXPECT_EQ(client.OpenResource("a", 2), 0);
  EXPECT_EQ(client.StartData(), 0);
  EXPECT_EQ(client.Write("x", 1), -1);
  EXPECT_EQ(client.WriteLine("x"), -2);
  EXPECT_EQ(client.Close(), 0);
  EXPECT_EQ(client.Abort(), 0);
  EXPECT_EQ(client.SendCommand("NOOP", nullptr), -1);
  EXPECT_EQ(client.GetResponse(nullptr, 0), 0);
  EXPECT_EQ(client.Disconnect(), 0);
}

TEST_F(SmtpFaultTest, NobodyAnswersTheConnection) {
  const test::BlackHole hole;
  TSMTP client;
  client.SetTimeout(test::kShortTimeout);
  const Stopwatch watch;
  EXPECT_EQ(client.Connect("127.0.0.1", static_cast<short>(hole.Port())), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
}

// After a sending that failed nobody knows what the server has: the end of the data would make a
// whole message of a piece of one.
TEST_F(SmtpFaultTest, AMessageCutOffIsNeverEnded) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    brevant::ResetDeadline();
    SmtpOptions options;
    options.pauseInData = 2000;
    Mailer mailer(mode, options);
    EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 1);
    EXPECT_EQ(mailer.client.StartData(), 1);
    mailer.ExpectSilence();
    const std::string block(4 << 20, 'x');
    int sent = 0;
    for (int i = 0; i < 100 && sent >= 0; ++i) {
      sent = mailer.client.Write(block.data(), static_cast<int>(block.size()));
    }
    EXPECT_EQ(sent, -1);
    EXPECT_EQ(mailer.client.Status() & 9, 0u);
    EXPECT_EQ(mailer.client.Write("x", 1), -1);
    EXPECT_EQ(mailer.client.SendCommand("NOOP", nullptr), -1);
    EXPECT_EQ(mailer.client.Close(), 0);
    EXPECT_EQ(mailer.client.Disconnect(), 0);
    ASSERT_TRUE(mailer.server.Server().WaitUntilFinished(1));
    EXPECT_TRUE(mailer.server.Mails().empty());
    EXPECT_EQ(mailer.server.Transcript().find("\r\n.\r\n"), std::string::npos);
    EXPECT_EQ(mailer.server.Transcript().find("QUIT"), std::string::npos);
    mailer.client.SetTimeout(test::kPatience);
    EXPECT_EQ(mailer.Connect(), 1) << "the next connection is not burdened";
  }
}

class SmtpAbortTest : public test::NetTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(SmtpAbortTest, AClearedFlagEndsTheWaitAndResetStillGoesOut) {
  const std::string step = GetParam();
  Mailer mailer(0, SmtpDeviating({step + " * silent"}));
  std::atomic<int> flag{1};
  mailer.client.SetContinueFlag(&flag);
  std::thread other([&flag] {
    Sleep(60);
    flag = 0;
  });
  const Stopwatch watch;
  EXPECT_EQ(Reach(mailer, step), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  other.join();
  EXPECT_EQ(mailer.client.Status() & 9, 0u);
  if (step == "MAIL" || step == "RCPT") {
    EXPECT_EQ(mailer.client.Abort(), 0);
    EXPECT_EQ(mailer.Sent().find("RSET\r\nQUIT\r\n") == std::string::npos, false);
  }
  EXPECT_TRUE(mailer.server.Mails().empty());
}

INSTANTIATE_TEST_SUITE_P(EveryStep, SmtpAbortTest,
                         ::testing::Values("MAIL", "RCPT", "DATA", "END", "RSET"));

// Also of one whose sender the server would not have.
TEST_F(SmtpFaultTest, AMessageThatALostConnectionLeftBehindLeavesNoHeaderToTheNext) {
  Mailer mailer(0, SmtpDeviating({"MAIL 1 reply \"450 later\\r\\n\"", "RCPT 1 drop 0"}));
  ASSERT_EQ(mailer.connected, 1);
  mailer.client.From("board@example.org");
  mailer.client.Subject("one");
  mailer.client.AddHeader("X-Mark", "one");
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  mailer.client.TProtocol::Disconnect();
  ASSERT_EQ(mailer.Connect(), 1);
  mailer.client.AddHeader("X-Mark", "two");
  EXPECT_EQ(mailer.Send("ann@example.org", "body\r\n"), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "board@example.org");
  EXPECT_TRUE(mailer.server.Mails()[0].raw.starts_with("X-Mark: two\r\n\r\nbody"))
      << mailer.server.Mails()[0].raw;
}

TEST_F(SmtpFaultTest, AnInterruptEndsTheWait) {
  Mailer mailer(0, SmtpDeviating({"RCPT * silent"}));
  std::thread other([&mailer] {
    Sleep(60);
    mailer.client.Interrupt();
  });
  const Stopwatch watch;
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  other.join();
}

TEST_F(SmtpFaultTest, ADeadConnectionFailsEveryOperation) {
  Mailer mailer(0, SmtpDeviating({"RCPT 1 drop 0"}));
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  EXPECT_EQ(mailer.client.StartData(), 0);
  EXPECT_EQ(mailer.client.Abort(), 0);
  EXPECT_EQ(mailer.client.OpenResource("ann@example.org", 2), 0);
  EXPECT_EQ(mailer.Connect(), 1);
  EXPECT_EQ(mailer.Send("ann@example.org", "body"), 1);
}

}  // namespace
