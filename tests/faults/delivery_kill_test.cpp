// Delivery killed anywhere and run again: nothing but the file in flight is sent twice, and the
// server ends with exactly the site.
#include "environment.h"
#include "support/fault_layer.h"
#include "support/ftp_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <random>
#include <thread>

namespace {

namespace fs = std::filesystem;
using test::Fault;
using test::FaultPlan;
using Clock = std::chrono::steady_clock;
using Tree = std::map<std::string, std::string>;

// Counts what happens at the server, and holds its answers back where the client is to be killed.
class Watch {
 public:
  void Begin(long killAt) {
    events_ = 0;
    killAt_ = killAt;
    reached_ = over_ = false;
  }
  // Lets the server go on.
  void Over() { over_ = true; }
  bool Reached() const { return reached_; }
  long Events() const { return events_; }
  void Happens() {
    if (++events_ != killAt_) return;
    reached_ = true;
    while (!over_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

 private:
  std::atomic<long> events_{0};
  std::atomic<long> killAt_{0};
  std::atomic<bool> reached_{false};
  std::atomic<bool> over_{false};
};

class KilledDelivery : public ::testing::TestWithParam<bool> {
 protected:
  static bool EveryFolder() { return GetParam(); }

  void SetUp() override {
    fs::create_directories(remote_ + "www");
    test::FtpOptions options;
    options.onCommand = [this](const std::string&) { watch_.Happens(); };
    options.onData = [this](long) { watch_.Happens(); };
    server_ = std::make_unique<test::FtpServer>(remote_, options);
    MakeBoard();
    MakeFirstSite();
    ASSERT_EQ(Run(0).exitCode, 0);
    ExpectSameTrees();
    fs::copy(board_, directory_ / "board_before/", fs::copy_options::recursive);
    fs::copy(remote_, directory_ / "remote_before/", fs::copy_options::recursive);
    seed_ = faults::FromEnvironment("BREVANT_KILL_SEED", 1);
    random_.seed(seed_);
  }

  void MakeBoard() {
    const auto run = [](const std::vector<std::string>& command) {
      const test::ProgramResult result = test::RunProgram(command);
      ASSERT_EQ(result.exitCode, 0) << result.output;
    };
    run({HOST_PROGRAM, "init", board_, "--name", "My Board"});
    for (const auto& [key, value] :
         std::map<std::string, std::string>{{"FTP Server", "127.0.0.1"},
                                            {"FTP Port", std::to_string(server_->Port())},
                                            {"FTP Account", "me"},
                                            {"FTP Password", "secret"},
                                            {"Remote Directory", "www/"},
                                            {"Local Directory", site_},
                                            {"Passive FTP Data Mode", "1"},
                                            {"Deliver Every Folder", EveryFolder() ? "1" : "0"}}) {
      run({HOST_PROGRAM, "config", board_, "set", key, value});
    }
  }

  void File(const std::string& name, const std::string& bytes) {
    fs::create_directories(fs::path(site_ + name).parent_path());
    test::WriteFileBytes(site_ + name, bytes);
  }

  void MakeFirstSite() {
    for (const char* folder : {"", "one/", "one/deep/", "two/"}) {
      for (const char* name : {"index.htm", "a page.html", "=odd%.htm", "old.htm"}) {
        File(std::string(folder) + name, std::string(folder) + name + " before");
      }
    }
    File("gone/x.htm", "x");
    File("gone/deep/y.htm", "y");
  }

  // Something new, changed and removed everywhere.
  void ChangeSite() {
    for (const char* folder : {"", "one/", "one/deep/", "two/", "three/"}) {
      File(std::string(folder) + "index.htm", std::string(folder) + "index.htm after");
      File(std::string(folder) + "new.htm", std::string(3000, 'n') + folder);
      fs::remove(site_ + folder + "old.htm");
    }
    File("large.bin", std::string(200000, 'l'));
    if (EveryFolder()) fs::remove_all(site_ + "gone");
  }

  // Board and server as after the first site, the site as it is now.
  void StartAnew(bool indirect) {
    fs::remove_all(board_);
    fs::copy(directory_ / "board_before/", board_, fs::copy_options::recursive);
    fs::remove_all(remote_);
    fs::copy(directory_ / "remote_before/", remote_, fs::copy_options::recursive);
    // The settings are changed last, so that a delivery is due.
    const test::ProgramResult result = test::RunProgram(
        {HOST_PROGRAM, "config", board_, "set", "Indirect FTP transfer", indirect ? "1" : "0"});
    ASSERT_EQ(result.exitCode, 0) << result.output;
  }

  std::vector<std::string> Command(Fault fault = Fault::kNone, std::uint64_t at = 0) const {
    FaultPlan plan;
    plan.directory = board_.substr(0, board_.size() - 1);
    plan.fault = fault;
    plan.at = at;
    plan.skipSyncs = true;
    return test::WithFaults(plan, {HOST_PROGRAM, "run", board_, "deliver"});
  }

  // Waits for the server to have done what the client asked for last.
  void LetTheServerFinish() {
    server_->Server().WaitUntilFinished(server_->Server().Accepted(), 3000);
  }

  // A run to the end.
  test::ProgramResult Run(std::uint64_t killAtCall) {
    watch_.Begin(0);
    const Fault fault = killAtCall == 0 ? Fault::kNone : Fault::kKill;
    const test::ProgramResult result = test::RunProgram(Command(fault, killAtCall));
    LetTheServerFinish();
    return result;
  }

  // Runs until the n-th event at the server, or the moment.
  void RunUntil(long event, std::chrono::duration<double> moment) {
    watch_.Begin(event);
    {
      test::Program program(Command());
      const auto start = Clock::now();
      while (!watch_.Reached() && Clock::now() - start < moment) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
    }  // killed
    watch_.Over();
    LetTheServerFinish();
  }

  // How long a run takes, how many calls it makes and what happens at the server.
  void Measure() {
    StartAnew(false);
    const std::string calls = directory_ / "calls";
    FaultPlan plan;
    plan.directory = board_.substr(0, board_.size() - 1);
    plan.skipSyncs = true;
    watch_.Begin(0);
    const auto start = Clock::now();
    const test::ProgramResult result = test::RunProgram(
        test::WithFaults(plan, {HOST_PROGRAM, "run", board_, "deliver"}, {}, calls));
    duration_ = Clock::now() - start;
    LetTheServerFinish();
    ASSERT_EQ(result.exitCode, 0) << result.output;
    events_ = watch_.Events();
    calls_ = test::ReadCalls(calls);
    ASSERT_GT(events_, 50);
    ASSERT_GT(calls_, 50U);
    ExpectSameTrees();
  }

  void Kill(unsigned point) {
    switch (point % 3) {
      case 0: {
        const long event = 1 + static_cast<long>(random_() % static_cast<unsigned>(events_));
        where_ = "event " + std::to_string(event);
        RunUntil(event, std::chrono::seconds(20));
        break;
      }
      case 1: {
        const std::uint64_t call = 1 + random_() % calls_;
        where_ = "call " + std::to_string(call);
        Run(call);
        break;
      }
      default: {
        const double part = std::uniform_real_distribution<double>(0, 1)(random_);
        where_ = "a moment";
        RunUntil(0, duration_ * part);
      }
    }
  }

  static Tree TreeOf(const std::string& root) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const std::string path = entry.path().lexically_relative(fs::path(root)).generic_string();
      tree[path] = entry.is_directory() ? "/" : test::ReadFileBytes(entry.path().string());
    }
    return tree;
  }
  void ExpectSameTrees() const { EXPECT_EQ(TreeOf(remote_ + "www/"), TreeOf(site_)); }

  std::size_t Stored() const {
    const std::vector<std::string> verbs = server_->Verbs();
    return static_cast<std::size_t>(std::count(verbs.begin(), verbs.end(), "STOR"));
  }

  test::TemporaryDirectory directory_;
  std::string board_ = directory_ / "board/";
  std::string site_ = directory_ / "site/";
  std::string remote_ = directory_ / "remote/";
  Watch watch_;
  std::unique_ptr<test::FtpServer> server_;
  unsigned seed_ = 0;
  std::mt19937 random_;
  std::chrono::duration<double> duration_{};
  long events_ = 0;
  std::uint64_t calls_ = 0;
  std::string where_;
};

TEST_P(KilledDelivery, TheNextRunMakesTheServersTreeTheSitesAndSendsOnlyTheFileInFlightAgain) {
  ChangeSite();
  ASSERT_NO_FATAL_FAILURE(Measure());
  const std::size_t needed = 11;  // five changed, six new
  const unsigned points = faults::FromEnvironment("BREVANT_KILLS", 204) / 2;
  unsigned cutShort = 0;
  unsigned sentTwice = 0;
  const auto start = Clock::now();
  for (unsigned point = 0; point < points && !HasFailure(); ++point) {
    ASSERT_NO_FATAL_FAILURE(StartAnew(point % 2 == 1));
    server_->ForgetCommands();
    // Every fifth delivery is killed twice.
    const unsigned kills = point % 5 == 4 ? 2 : 1;
    for (unsigned kill = 0; kill < kills; ++kill) Kill(point + kill);
    SCOPED_TRACE("seed " + std::to_string(seed_) + ", point " + std::to_string(point) +
                 ", killed at " + where_);
    const bool unfinished = TreeOf(remote_ + "www/") != TreeOf(site_);
    cutShort += unfinished ? 1 : 0;
    const test::ProgramResult result = Run(0);
    EXPECT_EQ(result.exitCode, 0) << result.output;
    ExpectSameTrees();
    EXPECT_FALSE(test::FileExists(board_ + "127.0.0.1.fat.jnl"));
    EXPECT_LE(Stored(), needed + kills);
    sentTwice += Stored() > needed ? 1 : 0;
  }
  const std::chrono::duration<double> took = Clock::now() - start;
  std::cout << "[          ] " << points << " kills (seed " << seed_ << "), " << cutShort
            << " with work left to do, " << sentTwice << " with a file sent twice; " << took.count()
            << " s\n";
}

// Without more than the plain rule, too, nothing below an unchanged directory is forgotten.
INSTANTIATE_TEST_SUITE_P(, KilledDelivery, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& names) {
                           return names.param ? "EveryFolder" : "PlainRule";
                         });

}  // namespace
