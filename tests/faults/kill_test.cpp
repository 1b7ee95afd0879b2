// Retrieval from a real server, killed anywhere and run again.
#include "environment.h"
#include "integration/dovecot_server.h"
#include "mail_board.h"
#include "support/disk_model.h"
#include "support/fault_layer.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <numeric>
#include <random>
#include <thread>

namespace {

namespace fs = std::filesystem;
using faults::Filed;
using faults::MailBoard;
using test::Fault;
using test::FaultPlan;
using test::FileOperation;
using Clock = std::chrono::steady_clock;

class KilledRetrieval : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string hindrance = test::DovecotServer::Hindrance();
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
    mails_ = faults::KnownMail(9, 45);
    ASSERT_GE(mails_.size(), 300u);
    texts_ = faults::TextsOf(mails_);
    server_ = std::make_unique<test::DovecotServer>(texts_);
    fresh_.Make(server_->Port());
    seed_ = faults::FromEnvironment("BREVANT_KILL_SEED", 1);
    random_.seed(seed_);
  }

  // The mailbox full, the board empty.
  void StartAnew() {
    fs::remove_all(board_.Path());
    fs::copy(fresh_.Path(), board_.Path(), fs::copy_options::recursive);
    server_->Refill(texts_);
  }

  FaultPlan Plan(Fault fault, std::uint64_t at) const {
    FaultPlan plan;
    plan.directory = board_.Path();
    plan.fault = fault;
    plan.at = at;
    // A kill leaves what was written, synced or not; what a lost machine leaves is made of traces.
    plan.skipSyncs = true;
    return plan;
  }

  // A run to the end: how long it takes, and what it does to the files.
  void Measure() {
    StartAnew();
    const auto start = Clock::now();
    const test::ProgramResult plain = test::RunProgram(board_.QuickCommand("retrieve"));
    duration_ = Clock::now() - start;
    ASSERT_EQ(plain.exitCode, 0) << plain.output;
    StartAnew();
    initial_ = test::ReadImage(board_.Path());
    const std::string trace = directory_ / "trace";
    const test::ProgramResult traced = test::RunProgram(
        test::WithFaults(Plan(Fault::kNone, 0), board_.RunCommand("retrieve"), trace));
    ASSERT_EQ(traced.exitCode, 0) << traced.output;
    trace_ = test::ReadTrace(trace);
    ASSERT_FALSE(trace_.empty());
    for (const FileOperation& operation : trace_) {
      if (operation.path.starts_with("Data/")) boardCalls_.push_back(operation.call);
    }
  }

  // Runs until a point chosen at random; false when the run had ended before.
  bool RunAndKill(unsigned point) {
    if (point % 4 == 0) {
      test::Program program(board_.QuickCommand("retrieve"));
      const double part = std::uniform_real_distribution<double>(0, 1)(random_);
      std::this_thread::sleep_for(duration_ * part);
      return true;  // by the destructor
    }
    const std::uint64_t call = point % 4 == 1 ? 1 + random_() % trace_.back().call
                                              : boardCalls_[random_() % boardCalls_.size()];
    where_ = "call " + std::to_string(call);
    const test::ProgramResult result =
        test::RunProgram(test::WithFaults(Plan(Fault::kKill, call), board_.RunCommand("retrieve")));
    EXPECT_TRUE(result.exitCode == 128 + 9 || result.exitCode == 0) << result.output;
    return result.exitCode != 0;
  }

  void ExpectNothingLost(const Filed& filed) {
    // The server may be at its deletions, with a mail on its way from one directory to the other.
    std::vector<std::string> lost;
    for (int i = 0; i < 40; ++i) {
      lost = faults::FindLost(mails_, filed, server_->Left());
      if (lost.empty()) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first: " << lost.front();
    EXPECT_TRUE(filed.problems.empty())
        << filed.problems.size() << " not whole, the first: " << filed.problems.front();
  }

  // Looks at a copy, so that the next run meets what the killed one left.
  void CheckAsKilled() {
    const std::string copy = directory_ / "copy/";
    fs::remove_all(copy);
    fs::copy(board_.Data(), copy, fs::copy_options::recursive);
    const Filed filed = faults::FindFiled(mails_, copy, board_.Site());
    ExpectNothingLost(filed);
    filedBefore_ = std::accumulate(filed.times.begin(), filed.times.end(), 0);
  }

  void RunToTheEnd() {
    const test::ProgramResult result = test::RunProgram(board_.QuickCommand("retrieve"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    const Filed filed = faults::FindFiled(mails_, board_.Data(), board_.Site());
    ExpectNothingLost(filed);
    EXPECT_TRUE(faults::Leftovers(board_.Data()).empty())
        << faults::Leftovers(board_.Data()).front();
    for (std::size_t i = 0; i < mails_.size(); ++i) {
      if (mails_[i].fate != test::ExpectedMail::TFate::kFiled) continue;
      EXPECT_GE(filed.times[i], 1) << mails_[i].subject;
      twice_ += filed.times[i] > 1 ? 1 : 0;
    }
  }

  test::TemporaryDirectory directory_;
  MailBoard fresh_{directory_ / "fresh/"};
  MailBoard board_{directory_ / "board/"};
  std::vector<test::ExpectedMail> mails_;
  std::vector<std::string> texts_;
  std::unique_ptr<test::DovecotServer> server_;
  unsigned seed_ = 0;
  std::mt19937 random_;
  std::chrono::duration<double> duration_{};
  test::DiskImage initial_;
  std::vector<FileOperation> trace_;
  std::vector<std::uint64_t> boardCalls_;
  std::string where_;
  int filedBefore_ = 0;
  int twice_ = 0;
};

TEST_F(KilledRetrieval, EveryMailIsInTheMailboxOrInTheForum) {
  ASSERT_NO_FATAL_FAILURE(Measure());
  const unsigned points = faults::FromEnvironment("BREVANT_KILLS", 40);
  unsigned killed = 0;
  unsigned withSomeFiled = 0;
  unsigned pointsWithTwice = 0;
  const auto start = Clock::now();
  for (unsigned point = 0; point < points && !HasFailure(); ++point) {
    StartAnew();
    where_ = "a moment";
    if (RunAndKill(point)) ++killed;
    SCOPED_TRACE("seed " + std::to_string(seed_) + ", point " + std::to_string(point) +
                 ", killed at " + where_);
    CheckAsKilled();
    if (filedBefore_ > 0) ++withSomeFiled;
    const int before = twice_;
    RunToTheEnd();
    if (twice_ > before) ++pointsWithTwice;
  }
  const std::chrono::duration<double> took = Clock::now() - start;
  std::cout << "[          ] " << mails_.size() << " mails, " << points << " points (seed " << seed_
            << "), " << killed << " of them before the end, " << withSomeFiled
            << " with mail in the forum already; " << twice_ << " mails filed twice, at "
            << pointsWithTwice << " points; " << took.count() << " s, a whole run takes "
            << duration_.count() << " s\n";
}

TEST_F(KilledRetrieval, AMachineLostAfterwardsLosesNothing) {
  ASSERT_NO_FATAL_FAILURE(Measure());
  test::Disk disk(initial_);
  for (const FileOperation& operation : trace_) disk.Apply(operation);
  const std::vector<std::string> left = server_->Left();
  const std::string lost = directory_ / "lost/";
  fs::create_directory(lost);
  for (int i = 0; i < 20 && !HasFailure(); ++i) {
    test::WriteImage(i == 0 ? disk.Safe() : disk.Survivors(random_), lost);
    const Filed filed = faults::FindFiled(mails_, lost + "Data/", lost + "Site/");
    const auto gone = faults::FindLost(mails_, filed, left);
    EXPECT_TRUE(gone.empty()) << gone.size() << " lost, the first: " << gone.front();
    EXPECT_TRUE(filed.problems.empty())
        << filed.problems.size() << " not whole, the first: " << filed.problems.front();
  }
}

TEST_F(KilledRetrieval, AMachineLostOnTheWayLeavesNothingHalfFiled) {
  ASSERT_NO_FATAL_FAILURE(Measure());
  const unsigned points = faults::FromEnvironment("BREVANT_LOSSES", 60);
  std::vector<std::uint64_t> calls;
  for (unsigned i = 0; i < points; ++i)
    calls.push_back(boardCalls_[random_() % boardCalls_.size()]);
  std::sort(calls.begin(), calls.end());
  const std::string lost = directory_ / "lost/";
  fs::create_directory(lost);
  test::Disk disk(initial_);
  auto next = trace_.begin();
  for (const std::uint64_t call : calls) {
    for (; next != trace_.end() && next->call <= call; ++next) disk.Apply(*next);
    test::WriteImage(call % 4 == 0 ? disk.Safe() : disk.Survivors(random_), lost);
    const Filed filed = faults::FindFiled(mails_, lost + "Data/", lost + "Site/");
    EXPECT_TRUE(filed.problems.empty())
        << "seed " << seed_ << ", call " << call << ": " << filed.problems.size()
        << " not whole, the first: " << filed.problems.front();
    if (HasFailure()) break;
  }
}

}  // namespace
