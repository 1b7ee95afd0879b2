// Servers that stall, dribble, close half-way or never end a line: every operation ends in time.
#include "net_fixture.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

namespace {

using test::Mailbox;
using test::ParseDeviation;
using test::Pop3Options;
using test::Stopwatch;

enum class Step { kConnect, kLogin, kGetInfo, kOpen, kRead };
enum class Fault { kSilent, kDribble, kClose, kEndless };

struct FaultCase {
  Step step;
  Fault fault;
};

void PrintTo(const FaultCase& value, std::ostream* out) {
  constexpr const char* kSteps[] = {"connect", "login", "GetInfo", "OpenCurrent", "Read"};
  constexpr const char* kFaults[] = {"silent", "one byte a second", "closed half-way",
                                     "a line without end"};
  *out << kSteps[static_cast<int>(value.step)] << ", " << kFaults[static_cast<int>(value.fault)];
}

std::string CommandOf(Step step) {
  constexpr const char* kCommands[] = {"GREETING", "PASS", "TOP", "RETR", "RETR"};
  return kCommands[static_cast<int>(step)];
}

// The fault for each step; what was said before it is as it should be.
test::Deviation MakeFault(const FaultCase& value) {
  test::Deviation deviation;
  deviation.command = CommandOf(value.step);
  deviation.replaced = true;
  const bool headers = value.step == Step::kGetInfo || value.step == Step::kOpen;
  deviation.reply = headers                     ? "+OK\r\nSubject: hal"
                    : value.step == Step::kRead ? "+OK\r\nSubject: s\r\n\r\nhalf a li"
                                                : "+O";
  if (value.fault == Fault::kSilent && value.step != Step::kRead) deviation.silent = true;
  if (value.fault == Fault::kDribble) {
    // Each byte comes well within the time-out, the line does not. A header is shorter: without
    // standard mode each piece of it is a line with a time-out of its own.
    deviation.burst = static_cast<long>(deviation.reply.size());
    deviation.dribble = 100;
    deviation.reply += std::string(headers ? 15 : 600, 'x');
  }
  if (value.fault == Fault::kClose) deviation.dropAfter = 1000;
  return deviation;
}

class FaultsTest : public test::NetTest,
                   public ::testing::WithParamInterface<std::tuple<FaultCase, DWORD>> {
 protected:
  static void ReadHalfALine(Mailbox<TPOP3>& mailbox, Fault fault) {
    mailbox.ExpectSilence(kTimeout);
    std::array<char, 2048> line{};
    const int count = mailbox.client.Read(line.data(), 2048);
    const std::string_view got(line.data(), static_cast<std::size_t>(std::max(count, 0)));
    EXPECT_EQ(got.substr(0, 9), "half a li") << "what came of the line";
    if (fault == Fault::kDribble) {
      EXPECT_LT(count, 609);
    } else {
      EXPECT_EQ(count, 9);
      EXPECT_EQ(mailbox.client.Read(line.data(), 2048), 0);
      EXPECT_EQ(mailbox.client.Status() & 9, 0U);
    }
  }

  static constexpr DWORD kTimeout = 1000;
};

TEST_P(FaultsTest, EndsInTime) {
  const auto [value, mode] = GetParam();
  Pop3Options options;
  options.lastRead = 0;
  options.deviations.push_back(MakeFault(value));
  const bool connecting = value.step == Step::kConnect || value.step == Step::kLogin;
  const Stopwatch watch;
  Mailbox<TPOP3> mailbox({"Subject: s\n\nbody\n"}, mode, options,
                         connecting ? kTimeout : test::kPatience);
  TPOP3& client = mailbox.client;
  if (connecting) {
    // A piece of a line is the line to the plain reader, and this one begins with "+"; but what
    // comes behind a greeting that was closed or drips is no reply to "USER".
    const bool partial = value.fault != Fault::kSilent && mode == 0;
    const bool noReply = value.step == Step::kConnect && value.fault != Fault::kEndless;
    EXPECT_EQ(mailbox.connected, partial && !noReply ? 1 : 0);
  } else {
    ASSERT_EQ(mailbox.connected, 1);
    if (value.step != Step::kRead) mailbox.ExpectSilence(kTimeout);
    client.GetFirst();
    if (value.step == Step::kGetInfo) {
      // Whatever is known of the header, the connection is of no use any more.
      EXPECT_EQ(client.Status() & kStatusConnected, 0U);
    } else if (value.step == Step::kOpen) {
      EXPECT_EQ(client.OpenCurrent(1), 0);
      EXPECT_EQ(client.Status() & kStatusResourceOpen, 0U);
    } else {
      ASSERT_EQ(client.OpenCurrent(1), 1);
      ReadHalfALine(mailbox, value.fault);
    }
  }
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  const Stopwatch farewell;
  client.Disconnect();
  EXPECT_LT(farewell.Milliseconds(), test::kAbortBound);
}

std::vector<FaultCase> AllFaults() {
  std::vector<FaultCase> all;
  for (const Step step : {Step::kConnect, Step::kLogin, Step::kGetInfo, Step::kOpen, Step::kRead}) {
    for (const Fault fault : {Fault::kSilent, Fault::kDribble, Fault::kClose, Fault::kEndless})
      all.push_back({step, fault});
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(EveryStep, FaultsTest,
                         ::testing::Combine(::testing::ValuesIn(AllFaults()),
                                            ::testing::Values(DWORD{0},
                                                              DWORD{kStatusStandardMode})));

class FaultTest : public test::NetTest {};

TEST_F(FaultTest, NobodyListens) {
  TPOP3 client;
  client.SetTimeout(test::kPatience);
  const Stopwatch watch;
  const TSecurityInfos security("u", "p");
  EXPECT_EQ(client.Connect("127.0.0.1", security, test::UnusedPort()), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  client.Disconnect();
}

TEST_F(FaultTest, NobodyAnswersTheConnection) {
  const test::BlackHole hole;
  TPOP3 client;
  client.SetTimeout(test::kShortTimeout);
  brevant::ResetDeadline();
  const Stopwatch watch;
  const TSecurityInfos security("u", "p");
  EXPECT_EQ(client.Connect("127.0.0.1", security, hole.Port()), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
}

TEST_F(FaultTest, AResetInTheMiddleOfAMessage) {
  Pop3Options options = test::RawMessage("Subject: s\r\n\r\n" + std::string(5000, 'x') + "\r\n");
  options.deviations[0].dropAfter = 3000;
  options.deviations[0].reset = true;
  Mailbox<TPOP3> mailbox({}, 0, options);
  if (mailbox.client.OpenResource("1", 1) == 1) {
    std::array<char, 8192> line;
    while (mailbox.client.Read(line.data(), 8192) > 0) {
    }
  }
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(FaultTest, ContinueFlagFromAnotherThreadEndsARead) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    brevant::ResetDeadline();
    Mailbox<TPOP3> mailbox({}, mode, test::RawMessage("Subject: s\r\n\r\n"));
    ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
    std::atomic<int> flag{1};
    mailbox.client.SetContinueFlag(&flag);
    std::atomic<long> clearedAt{0};
    const Stopwatch watch;
    std::thread other([&] {
      Sleep(60);
      clearedAt = watch.Milliseconds();
      flag = 0;
    });
    std::array<char, 64> line;
    EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
    const long delay = watch.Milliseconds() - clearedAt;
    other.join();
    std::printf("read ended %ld ms after the flag was cleared\n", delay);
    EXPECT_LT(delay, test::kAbortBound);
  }
}

TEST_F(FaultTest, AHeaderWithoutEndIsGivenUp) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Pop3Options options = test::RawMessage("");
    options.deviations.clear();
    options.deviations.push_back(ParseDeviation("RETR 1 flood 40000000 \"+OK: x\\r\\n\""));
    Mailbox<TPOP3> mailbox({"Subject: s\n\n"}, mode, options);
    EXPECT_EQ(mailbox.client.OpenResource("1", 1), 0);
    EXPECT_EQ(mailbox.client.Status() & 9, 0U);
  }
}

}  // namespace
