// Dispatch killed anywhere, or unable to save its marks, and run again: nobody misses a message,
// and one that was sent is sent again only when its mark was not on the disk yet.
#include "dispatch_fixture.h"
#include "environment.h"

#include <chrono>
#include <iostream>
#include <random>
#include <thread>

namespace {

using faults::FromEnvironment;
using test::Fault;
using Clock = std::chrono::steady_clock;

class KilledDispatch : public faults::Dispatch {
 protected:
  // A run to its end: how long it takes, and how many calls it makes.
  void Measure(bool standard) {
    StartAnew(standard);
    const std::string calls = directory_ / "calls";
    const auto start = Clock::now();
    const test::ProgramResult result = Run(Fault::kNone, 0, calls);
    duration_ = Clock::now() - start;
    ASSERT_EQ(result.exitCode, 0) << result.output;
    calls_ = test::ReadCalls(calls);
    ASSERT_GT(calls_, static_cast<std::uint64_t>(kForums * kMessages));
  }

  // Runs until a point chosen at random: a call, or a moment.
  void RunAndKill(unsigned point) {
    if (point % 4 != 0) {
      const std::uint64_t call = 1 + random_() % calls_;
      where_ = "call " + std::to_string(call);
      const test::ProgramResult result = Run(Fault::kKill, call);
      EXPECT_TRUE(result.exitCode == 128 + 9 || result.exitCode == 0) << result.output;
      return;
    }
    where_ = "a moment";
    {
      const test::Program program(test::WithFaults(Plan(Fault::kNone, 0), Command()));
      const double part = std::uniform_real_distribution<double>(0, 1)(random_);
      std::this_thread::sleep_for(duration_ * part);
    }
    Settle();
  }

  std::mt19937 random_;
  std::chrono::duration<double> duration_{};
  std::uint64_t calls_ = 0;
  std::string where_;
};

TEST_F(KilledDispatch, RepeatsAtMostTheOneMessageWhoseMarkWasNotSafe) {
  ASSERT_NO_FATAL_FAILURE(Measure(true));
  const unsigned seed = FromEnvironment("BREVANT_KILL_SEED", 1);
  random_.seed(seed);
  const unsigned points = FromEnvironment("BREVANT_KILLS", 24);
  int repeated = 0;
  const auto start = Clock::now();
  for (unsigned point = 0; point < points && !HasFailure(); ++point) {
    StartAnew(point % 2 == 0);
    RunAndKill(point);
    SCOPED_TRACE("seed " + std::to_string(seed) + ", point " + std::to_string(point) +
                 ", killed at " + where_);
    const int unmarked = ExpectHonestMarks();
    EXPECT_LE(unmarked, 1);
    ExpectCompleted(unmarked);
    repeated += unmarked;
  }
  const std::chrono::duration<double> took = Clock::now() - start;
  std::cout << "[          ] " << points << " points (seed " << seed << "), " << repeated
            << " messages repeated; " << took.count() << " s, a whole run of "
            << kForums * kMessages << " messages and " << calls_ << " calls takes "
            << duration_.count() << " s\n";
}

// One run after the other, each killed a little later, on the same board.
TEST_F(KilledDispatch, EndsThroughAnyNumberOfKills) {
  StartAnew();
  int repeated = 0;
  int kills = 0;
  for (std::uint64_t call = 12;; call += 7) {
    const test::ProgramResult result = Run(Fault::kKill, call);
    const int unmarked = ExpectHonestMarks();
    EXPECT_LE(unmarked, 1);
    repeated += unmarked;
    if (result.exitCode == 0 || HasFailure()) break;
    ++kills;
  }
  EXPECT_GT(kills, 2);
  ExpectCompleted(repeated);
  std::cout << "[          ] " << kills << " kills, " << repeated << " messages repeated\n";
}

class UnsavedMarks : public faults::Dispatch {};

TEST_F(UnsavedMarks, AreReportedAndEndTheForum) {
  StartAnew();
  const std::string calls = directory_ / "calls";
  ASSERT_EQ(Run(Fault::kNone, 0, calls).exitCode, 0);
  const std::uint64_t count = test::ReadCalls(calls);
  const std::uint64_t step = 1 + count / FromEnvironment("BREVANT_FAILURES", 24);
  int reported = 0;
  int runs = 0;
  for (std::uint64_t at = 1; at <= count && !HasFailure(); at += step) {
    for (const Fault fault : {Fault::kBroken, Fault::kFull}) {
      if ((at + static_cast<std::uint64_t>(runs)) % 2 == (fault == Fault::kFull ? 1U : 0U))
        continue;
      SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) + " at call " +
                   std::to_string(at) + " of " + std::to_string(count));
      StartAnew(at % 2 == 0);
      const test::ProgramResult result = Run(fault, at);
      ++runs;
      const int unmarked = ExpectHonestMarks();
      const bool told = result.output.find("Cannot save Forum ") != std::string::npos;
      // A message without its mark is never passed over in silence.
      EXPECT_TRUE(told || unmarked == 0) << result.output;
      EXPECT_TRUE(!told || result.exitCode != 0) << result.output;
      reported += told ? 1 : 0;
      ExpectCompleted(unmarked);
    }
  }
  EXPECT_GT(reported, 0);
  std::cout << "[          ] " << runs << " runs, " << reported << " could not save a forum\n";
}

// A disk that stays full: run after run repeats one message a forum and no other.
TEST_F(UnsavedMarks, OfAFullDiskRepeatOneMessageAForum) {
  StartAnew();
  int told = 0;
  for (int run = 0; run < 3; ++run) {
    test::FaultPlan plan = Plan(Fault::kFull, 1);
    plan.directory = board_ + "Data/";
    plan.forGood = true;
    const test::ProgramResult result = test::RunProgram(test::WithFaults(plan, Command()));
    Settle();
    if (result.output.find("Cannot save Forum ") != std::string::npos) ++told;
    ExpectHonestMarks();
  }
  EXPECT_EQ(told, 3);
  EXPECT_EQ(Arrived().size(), static_cast<std::size_t>(kForums));
  EXPECT_EQ(server_->Mails().size(), static_cast<std::size_t>(3 * kForums));
  ExpectCompleted(3 * kForums);
}

}  // namespace
