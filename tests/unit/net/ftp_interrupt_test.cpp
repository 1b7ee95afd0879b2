// Interruptions and aborts of the FTP client, at any point of a transfer.
#include "ftp_fixture.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using test::Deviating;
using test::FtpSite;
using test::Lines;
using test::Stopwatch;

class FtpInterruptTest : public test::FtpTest {};

// Calls the operation as soon as the server has moved so many bytes or got the command.
class Trigger {
 public:
  explicit Trigger(std::function<void()> operation)
      : thread_([this, operation = std::move(operation)] {
          while (!fired_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
          // The client is meant to be waiting by then.
          std::this_thread::sleep_for(std::chrono::milliseconds(30));
          operation();
        }) {}
  ~Trigger() {
    fired_ = true;
    thread_.join();
  }
  void Fire() { fired_ = true; }

 private:
  std::atomic<bool> fired_{false};
  std::thread thread_;
};

TEST_F(FtpInterruptTest, AnInterruptEndsAStalledStoreAndSendsAbor) {
  FtpSite site(Deviating({}, {"1 stall 100000"}));
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  const std::string bytes(32 << 20, 'x');
  Trigger trigger([&] { site.client.Interrupt(); });
  trigger.Fire();
  const Stopwatch stopwatch;
  EXPECT_LT(site.client.Write(bytes.data(), static_cast<int>(bytes.size())), 1);
  EXPECT_LT(stopwatch.Milliseconds(), test::kNoHang);
}

TEST_F(FtpInterruptTest, DuringATransferAborIsSentAndItsReplyTakenLater) {
  FtpSite site;
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Write("abc", 3), 3);
  EXPECT_EQ(site.client.Interrupt(), 1);
  EXPECT_EQ(site.client.Interrupt(), 1);
  EXPECT_EQ(site.client.Close(), 1);
  // Replies belong to their own commands again.
  EXPECT_EQ(site.client.ChangeDirectory("nowhere"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.client.SetType("I"), 1);
  EXPECT_EQ(site.Commands(), (Lines{"TYPE I", "STOR f", "ABOR", "ABOR", "CWD nowhere", "TYPE I"}));
}

TEST_F(FtpInterruptTest, WithoutATransferNothingIsSent) {
  FtpSite site;
  EXPECT_EQ(site.client.Interrupt(), 1);
  ASSERT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.client.Interrupt(), 1);
  site.Finish();
  EXPECT_EQ(site.client.Interrupt(), 1);
  const Lines verbs = site.server.Verbs();
  EXPECT_EQ(std::count(verbs.begin(), verbs.end(), "ABOR"), 0);
}

TEST_F(FtpInterruptTest, AnInterruptEndsTheWaitForAReply) {
  FtpSite site(Lines{"TYPE * silent"});
  Trigger trigger([&] { site.client.Interrupt(); });
  trigger.Fire();
  const Stopwatch stopwatch;
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_LT(stopwatch.Milliseconds(), test::kNoHang);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
}

TEST_F(FtpInterruptTest, AnInterruptEndsTheWaitForTheServersConnection) {
  FtpSite site(Deviating({"STOR-END * delay 20000"}, {"* refused"}), 0);
  Trigger trigger([&] { site.client.Interrupt(); });
  trigger.Fire();
  const Stopwatch stopwatch;
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_LT(stopwatch.Milliseconds(), test::kNoHang);
}

// With the continue flag clear every wait ends; what needs none is still done.
class FtpAbortTest : public test::FtpBothWays {};

INSTANTIATE_TEST_SUITE_P(, FtpAbortTest, ::testing::Values(0U, DWORD{kStatusPassive}),
                         [](const auto& kind) { return kind.param != 0 ? "Passive" : "Active"; });

TEST_P(FtpAbortTest, AnAbortDuringAStoreEndsItAndGoodByeIsSaid) {
  FtpSite site(Deviating({}, {"1 stall 100000"}), GetParam());
  std::atomic<int> goOn{1};
  site.client.SetContinueFlag(&goOn);
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  const std::string bytes(32 << 20, 'x');
  Trigger trigger([&] { goOn = 0; });
  trigger.Fire();
  const Stopwatch stopwatch;
  EXPECT_LT(site.client.Write(bytes.data(), static_cast<int>(bytes.size())), 1);
  site.client.Close();
  site.client.Disconnect();
  EXPECT_LT(stopwatch.Milliseconds(), test::kNoHang);
}

TEST_P(FtpAbortTest, AnAbortAtEveryCommandEndsTheSession) {
  const Lines steps = {"USER", "PASS", "TYPE", "STOR", "STOR-END", "DELE", "RNFR", "RNTO",
                       "CWD",  "MKD",  "RMD",  "SITE", "NLST",     "LIST", "RETR"};
  for (const std::string& step : steps) {
    std::atomic<int> goOn{1};
    test::FtpOptions options = Deviating({step + " * silent"});
    test::TemporaryDirectory root;
    test::FtpServer server(root.Path(), options);
    test::WriteFileBytes(root / "g", "1");
    TFTP client;
    client.SetTimeout(test::kPatience);
    client.SetContinueFlag(&goOn);
    client.Status() |= GetParam();
    Trigger trigger([&] { goOn = 0; });
    trigger.Fire();
    const Stopwatch stopwatch;
    client.Connect("127.0.0.1", TSecurityInfos("a", "b"), server.Port());
    client.SetType("I");
    if (client.OpenResource("f", kOpenForWriting) != 0) client.Write("abc", 3);
    client.Close();
    client.DeleteResource("f");
    client.RenameResource("g", "h");
    client.MakeDirectory("d");
    client.ChangeDirectory("d");
    client.ChangeDirectory("..");
    client.DeleteDirectory("d", 1);
    client.ExecuteCommand("x");
    client.GetDirectoryList();
    if (client.OpenResource("h", kOpenForReading) != 0) test::ReadAll(client);
    client.Close();
    client.Disconnect();
    EXPECT_LT(stopwatch.Milliseconds(), test::kNoHang) << step;
  }
}

}  // namespace
