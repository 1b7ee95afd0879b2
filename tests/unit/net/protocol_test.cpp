// The protocol base class.
#include "net_fixture.h"
#include "support/temporary_directory.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

using test::kAbortBound;
using test::kPatience;
using test::kShortTimeout;
using test::Stopwatch;
using test::TalkingServer;
using test::TemporaryDirectory;

// The smallest client: it records how its resources were opened.
class PlainProtocol : public TProtocol {
 public:
  explicit PlainProtocol(WORD defaultPort = 0) : defaultPort_(defaultPort) {
    SetTimeout(kPatience);
  }
  const char* ProtocolName() override { return "PLAIN"; }
  WORD DefaultPort() override { return defaultPort_; }

  int ConnectTo(WORD port) {
    const TSecurityInfos security(nullptr, nullptr);
    return Connect("127.0.0.1", security, port);
  }
  int Command(const char* command, const char* argument) {
    return SendCommandLine(command, argument);
  }
  bool HasConnection() const { return connection_ != nullptr; }

 private:
  WORD defaultPort_;
};

class OpeningProtocol : public PlainProtocol {
 public:
  using PlainProtocol::PlainProtocol;
  int Connect(const char* host, const TSecurityInfos& security, WORD port) override {
    account = security.account != nullptr ? security.account : "(none)";
    password = security.password != nullptr ? security.password : "(none)";
    copied = security.account != givenAccount;
    usedPort = port;
    return PlainProtocol::Connect(host, security, port);
  }
  int OpenResource(const char* name, int mode) override {
    opened = std::string(name) + " " + std::to_string(mode);
    return 7;
  }
  int OpenResourceIfNewer(const char* name, int mode, const TTime& time) override {
    opened = "newer " + std::string(name) + " " + std::to_string(mode) + " " +
             std::to_string(time.Year());
    return 8;
  }
  int OpenResourceIfOlder(const char* name, int mode, const TTime& time) override {
    opened = "older " + std::string(name) + " " + std::to_string(mode) + " " +
             std::to_string(time.Year());
    return 9;
  }
  std::string account, password, opened;
  const char* givenAccount = nullptr;
  bool copied = false;
  WORD usedPort = 0;
};

class ProtocolTest : public test::NetTest {
 protected:
  const TTime time_{2001, 2, 3, 4, 5, 6};
};

TEST_F(ProtocolTest, NewObjectIsDisconnectedAndEmpty) {
  PlainProtocol protocol;
  EXPECT_FALSE(protocol.HasConnection());
  EXPECT_EQ(protocol.Status(), 0U);
  EXPECT_EQ(protocol.GetSize(), 0U);
  EXPECT_EQ(protocol.GetTransferred(), 0U);
  EXPECT_EQ(protocol.ResourceTime().Year(), TTime::Now().Year());
}

TEST_F(ProtocolTest, BaseOperations) {
  PlainProtocol protocol;
  EXPECT_EQ(protocol.OpenResource("x", 1), 0);
  EXPECT_EQ(protocol.OpenResourceIfNewer("x", 1, time_), 0);
  EXPECT_EQ(protocol.OpenResourceIfOlder("x", 1, time_), 0);
  EXPECT_EQ(protocol.OpenCurrent(1), 0);
  EXPECT_EQ(protocol.GetFirst(), 0);
  EXPECT_EQ(protocol.GetNext(), 0);
  EXPECT_EQ(protocol.Close(), 1);
  EXPECT_EQ(protocol.Interrupt(), 1);
  EXPECT_EQ(protocol.Disconnect(), 1);
  EXPECT_STREQ(protocol.GetDescription(), "PLAIN");
}

TEST_F(ProtocolTest, TimeVariantsOpenWithoutTheTime) {
  class NameOnly : public PlainProtocol {
   public:
    int OpenResource(const char* name, int mode) override {
      return std::string(name) == "file" && mode == 2 ? 5 : 0;
    }
  } protocol;
  EXPECT_EQ(protocol.OpenResourceIfNewer("file", 2, time_), 5);
  EXPECT_EQ(protocol.OpenResourceIfOlder("file", 2, time_), 5);
}

TEST_F(ProtocolTest, RemainingIsUnsigned) {
  PlainProtocol protocol;
  TalkingServer server("12345");
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  protocol.SetSize(3);
  std::array<char, 8> buffer{};
  ASSERT_EQ(protocol.Read(buffer.data(), 8), 5);
  EXPECT_EQ(protocol.GetSize(), 3U);
  EXPECT_EQ(protocol.GetTransferred(), 5U);
  EXPECT_EQ(protocol.GetRemaining(), 4294967294U);
}

TEST_F(ProtocolTest, ConnectSetsTheConnectedBit) {
  TalkingServer server("");
  PlainProtocol protocol;
  EXPECT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Status(), DWORD{kStatusConnected});
}

TEST_F(ProtocolTest, Port65535IsTheDefaultPort) {
  TalkingServer server("");
  PlainProtocol protocol(server.Port());
  EXPECT_EQ(protocol.ConnectTo(65535), 1);
}

TEST_F(ProtocolTest, PortZeroIsPortZero) {
  TalkingServer server("");
  PlainProtocol protocol(server.Port());
  EXPECT_EQ(protocol.ConnectTo(0), 0);
  EXPECT_EQ(server.Server().Accepted(), 0);
}

TEST_F(ProtocolTest, AFailedConnectKeepsTheConnectionUntilDisconnect) {
  PlainProtocol protocol;
  EXPECT_EQ(protocol.ConnectTo(test::UnusedPort()), 0);
  EXPECT_TRUE(protocol.HasConnection());
  EXPECT_EQ(protocol.Status(), 0U);
  protocol.Disconnect();
  EXPECT_FALSE(protocol.HasConnection());
}

TEST_F(ProtocolTest, ConnectToAnUnknownHostFails) {
  PlainProtocol protocol;
  protocol.SetTimeout(kShortTimeout);
  const TSecurityInfos security(nullptr, nullptr);
  EXPECT_EQ(protocol.Connect("no-such-host.invalid", security, 1), 0);
  EXPECT_EQ(protocol.Connect(nullptr, security, 1), 0);
  EXPECT_TRUE(protocol.HasConnection());
}

TEST_F(ProtocolTest, ConnectDisconnectsFirst) {
  class Counting : public PlainProtocol {
   public:
    int Disconnect() override {
      ++disconnects;
      return PlainProtocol::Disconnect();
    }
    int disconnects = 0;
  } protocol;
  TalkingServer server("");
  EXPECT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.disconnects, 0);
  EXPECT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.disconnects, 1);
}

TEST_F(ProtocolTest, DisconnectClearsBitsOneAndEightOnly) {
  PlainProtocol protocol;
  protocol.Status() = 1 | 2 | 8 | 256;
  protocol.Disconnect();
  EXPECT_EQ(protocol.Status(), 258U);
}

TEST_F(ProtocolTest, ReadAtTheEndClearsBitsOneAndEight) {
  TalkingServer server("ab", {"GREETING 1 drop 2"});
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  protocol.Status() |= kStatusResourceOpen | 4;
  std::array<char, 8> buffer{};
  EXPECT_EQ(protocol.Read(buffer.data(), 8), 2);
  EXPECT_EQ(protocol.Status(), 13U);
  EXPECT_EQ(protocol.Read(buffer.data(), 8), 0);
  EXPECT_EQ(protocol.Status(), 4U);
  EXPECT_EQ(protocol.GetTransferred(), 2U);
}

TEST_F(ProtocolTest, ReadAtTheTimeoutGivesNegativeAndClearsTheBits) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  protocol.SetTimeout(kShortTimeout);
  brevant::ResetDeadline();
  std::array<char, 8> buffer{};
  EXPECT_LT(protocol.Read(buffer.data(), 8), 0);
  EXPECT_EQ(protocol.Status(), 0U);
}

TEST_F(ProtocolTest, TransfersWithoutAConnectionFail) {
  PlainProtocol protocol;
  char byte = 0;
  EXPECT_LT(protocol.Read(&byte, 1), 0);
  EXPECT_LT(protocol.Write(&byte, 1), 0);
}

TEST_F(ProtocolTest, WriteCountsWhatItMoved) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Write("hello", 5), 5);
  EXPECT_EQ(protocol.Write("you", 3), 3);
  EXPECT_EQ(protocol.GetTransferred(), 8U);
}

TEST_F(ProtocolTest, OpenUrlConnectsAndOpensThePath) {
  TalkingServer server("");
  OpeningProtocol protocol;
  protocol.SetSize(99);
  const TURL url{"plain", "joe", "pw", "127.0.0.1", "dir/file", server.Port()};
  protocol.givenAccount = url.account;
  EXPECT_EQ(protocol.OpenURL(url, 1), 7);
  EXPECT_EQ(protocol.opened, "dir/file 1");
  EXPECT_EQ(protocol.account, "joe");
  EXPECT_EQ(protocol.password, "pw");
  EXPECT_TRUE(protocol.copied);
  EXPECT_EQ(protocol.GetSize(), 0U);
  EXPECT_EQ(protocol.GetTransferred(), 0U);
}

TEST_F(ProtocolTest, OpenUrlTimeVariants) {
  TalkingServer server("");
  OpeningProtocol protocol;
  const TURL url{nullptr, nullptr, nullptr, "127.0.0.1", "p", server.Port()};
  EXPECT_EQ(protocol.OpenURLIfNewer(url, 1, time_), 8);
  EXPECT_EQ(protocol.opened, "newer p 1 2001");
  EXPECT_EQ(protocol.OpenURLIfOlder(url, 2, time_), 9);
  EXPECT_EQ(protocol.opened, "older p 2 2001");
  EXPECT_EQ(protocol.account, "(none)");
}

TEST_F(ProtocolTest, OpenUrlPortZeroIsTheDefaultPort) {
  TalkingServer server("");
  OpeningProtocol protocol(server.Port());
  const TURL url{nullptr, nullptr, nullptr, "127.0.0.1", "p", 0};
  EXPECT_EQ(protocol.OpenURL(url, 1), 7);
  EXPECT_EQ(protocol.usedPort, server.Port());
}

TEST_F(ProtocolTest, OpenUrlOpensNothingWhenItCannotConnect) {
  OpeningProtocol protocol;
  const TURL url{nullptr, nullptr, nullptr, "127.0.0.1", "p", test::UnusedPort()};
  EXPECT_EQ(protocol.OpenURL(url, 1), 0);
  EXPECT_EQ(protocol.opened, "");
}

TEST_F(ProtocolTest, GetIntoAFileThatIsNotThereFails) {
  const TemporaryDirectory directory;
  PlainProtocol protocol;
  EXPECT_EQ(protocol.Get((directory / "none").c_str()), 0);
  EXPECT_FALSE(test::FileExists(directory / "none"));
  EXPECT_EQ(protocol.Get(nullptr), 0);
}

TEST_F(ProtocolTest, GetLeavesTheOldTailBehindTheCopy) {
  const TemporaryDirectory directory;
  const std::string content(300, 'n');
  const std::string old(400, 'o');
  test::WriteFileBytes(directory / "file", old);
  TalkingServer server(content, {"GREETING 1 drop 300"});
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Get((directory / "file").c_str()), 1);
  EXPECT_EQ(test::ReadFileBytes(directory / "file"), content + std::string(100, 'o'));
}

TEST_F(ProtocolTest, GetGivesOneThoughTheConnectionBreaks) {
  const TemporaryDirectory directory;
  test::WriteFileBytes(directory / "file", "");
  PlainProtocol protocol;
  EXPECT_EQ(protocol.Get((directory / "file").c_str()), 1);
}

TEST_F(ProtocolTest, PutSendsTheWholeFile) {
  const TemporaryDirectory directory;
  const std::string content(1000, 'p');
  test::WriteFileBytes(directory / "file", content);
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Put((directory / "file").c_str()), 1);
  EXPECT_EQ(protocol.GetTransferred(), 1000U);
  protocol.Disconnect();
  ASSERT_TRUE(server.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Server().Transcript(), content);
}

TEST_F(ProtocolTest, PutOfAFileThatIsNotThereFails) {
  const TemporaryDirectory directory;
  PlainProtocol protocol;
  EXPECT_EQ(protocol.Put((directory / "none").c_str()), 0);
}

TEST_F(ProtocolTest, PutGivesOneThoughNothingCanBeSent) {
  const TemporaryDirectory directory;
  test::WriteFileBytes(directory / "file", "content");
  PlainProtocol protocol;
  EXPECT_EQ(protocol.Put((directory / "file").c_str()), 1);
}

TEST_F(ProtocolTest, CommandsGoOutWithOneBlankAndALineEnd) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Command("STAT", nullptr), 6);
  EXPECT_EQ(protocol.Command("USER", "joe"), 10);
  protocol.Disconnect();
  ASSERT_TRUE(server.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Server().Transcript(), "STAT\r\nUSER joe\r\n");
}

TEST_F(ProtocolTest, LineEndsInACommandAreRefusedBeforeAnythingIsSent) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  EXPECT_EQ(protocol.Command("USER", "joe\r\nDELE 1"), 0);
  EXPECT_EQ(protocol.Command("USER", "joe\n"), 0);
  EXPECT_EQ(protocol.Command("US\rER", nullptr), 0);
  EXPECT_EQ(protocol.Status(), DWORD{kStatusConnected});
  protocol.Disconnect();
  ASSERT_TRUE(server.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Server().Transcript(), "");
}

TEST_F(ProtocolTest, HistoryGoesToTheHookWhenThereIsOne) {
  PlainProtocol protocol;
  protocol.DisplayHistory("lost %d", 1);
  const test::History history;
  protocol.DisplayHistory("%s (POP3:%d)", "no", 7);
  EXPECT_EQ(test::History::Lines(), std::vector<std::string>{"no (POP3:7)"});
}

TEST_F(ProtocolTest, SecurityInfosOwnCopies) {
  std::string account = "joe";
  const TSecurityInfos security(account.c_str(), nullptr);
  account = "bob";
  EXPECT_STREQ(security.account, "joe");
  EXPECT_EQ(security.password, nullptr);
}

TEST_F(ProtocolTest, InterruptFromAnotherThreadEndsARead) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  std::atomic<long> interruptedAt{0};
  const Stopwatch watch;
  std::thread other([&] {
    Sleep(60);
    interruptedAt = watch.Milliseconds();
    protocol.Interrupt();
  });
  char byte = 0;
  EXPECT_LT(protocol.Read(&byte, 1), 0);
  std::printf("read ended %ld ms after the interrupt\n", watch.Milliseconds() - interruptedAt);
  EXPECT_LT(watch.Milliseconds() - interruptedAt, kAbortBound);
  other.join();
}

TEST_F(ProtocolTest, InterruptWithoutAConnectionLeavesTheDeadlineAlone) {
  PlainProtocol protocol;
  const DWORD deadline = brevant::ArmDeadline(60000);
  EXPECT_EQ(protocol.Interrupt(), 1);
  EXPECT_EQ(brevant::CurrentDeadline(), deadline);
}

TEST_F(ProtocolTest, TheContinueFlagReachesAConnectionThatIsThere) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  const std::atomic<int> flag{0};
  protocol.SetContinueFlag(&flag);
  char byte = 0;
  const Stopwatch watch;
  EXPECT_LT(protocol.Read(&byte, 1), 0);
  EXPECT_LT(watch.Milliseconds(), kAbortBound);
}

TEST_F(ProtocolTest, ALongDeadlineCoversAShorterOneArmedLater) {
  const Stopwatch watch;
  brevant::ArmDeadline(1500);
  TalkingServer server("");
  PlainProtocol protocol;
  protocol.SetTimeout(kShortTimeout);
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  char byte = 0;
  EXPECT_LT(protocol.Read(&byte, 1), 0);
  EXPECT_GE(watch.Milliseconds(), 1400);
}

TEST_F(ProtocolTest, TheTimeoutReachesAConnectionThatIsThere) {
  TalkingServer server("");
  PlainProtocol protocol;
  ASSERT_EQ(protocol.ConnectTo(server.Port()), 1);
  protocol.SetTimeout(kShortTimeout);
  brevant::ResetDeadline();
  char byte = 0;
  const Stopwatch watch;
  EXPECT_LT(protocol.Read(&byte, 1), 0);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
}
}  // namespace
