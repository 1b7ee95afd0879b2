// The deadline of the process and the loop that looks at it.
#include "net/waiting.h"

#include "net_fixture.h"

#include <atomic>
#include <thread>

namespace {

using brevant::ArmDeadline;
using brevant::BlockingHook;
using brevant::CurrentDeadline;
using brevant::InterruptWaits;
using brevant::ResetDeadline;
using brevant::WaitEnd;
using brevant::WaitUntil;
using test::Stopwatch;

LONG FromNow(DWORD tick) { return static_cast<LONG>(tick - GetTickCount()); }

// Runs the operation, after which the deadline must be so many milliseconds from then on.
template <class Operation>
void ExpectDeadlineAfter(LONG milliseconds, Operation operation) {
  const DWORD before = GetTickCount();
  operation();
  const DWORD after = GetTickCount();
  EXPECT_GE(static_cast<LONG>(CurrentDeadline() - before), milliseconds);
  EXPECT_LE(static_cast<LONG>(CurrentDeadline() - after), milliseconds);
}

bool NeverReady(DWORD slice) {
  Sleep(slice);
  return false;
}

class WaitingTest : public test::NetTest {};

TEST_F(WaitingTest, ArmingSetsNowPlusTimeout) {
  ExpectDeadlineAfter(60000, [] { ArmDeadline(60000); });
}

TEST_F(WaitingTest, ArmingRaisesTheDeadline) {
  ArmDeadline(1000);
  ExpectDeadlineAfter(60000, [] { ArmDeadline(60000); });
}

TEST_F(WaitingTest, ArmingNeverLowersTheDeadline) {
  const DWORD armed = ArmDeadline(60000);
  EXPECT_EQ(ArmDeadline(100), armed);
  EXPECT_EQ(CurrentDeadline(), armed);
}

TEST_F(WaitingTest, AnAbsurdTimeoutIsBounded) {
  ArmDeadline(0xFFFFFFFF);
  EXPECT_GT(FromNow(CurrentDeadline()), 0);
}

TEST_F(WaitingTest, HookDoesNothingBeforeTheDeadline) {
  const DWORD armed = ArmDeadline(60000);
  EXPECT_FALSE(BlockingHook());
  EXPECT_EQ(CurrentDeadline(), armed);
}

TEST_F(WaitingTest, HookCancelsAtTheDeadlineAndPausesOneSecond) {
  ArmDeadline(0);
  ExpectDeadlineAfter(1000, [] { EXPECT_TRUE(BlockingHook()); });
  EXPECT_FALSE(BlockingHook());
}

TEST_F(WaitingTest, InterruptSetsTheDeadlineToNow) {
  ArmDeadline(60000);
  ExpectDeadlineAfter(0, [] { InterruptWaits(); });
  EXPECT_TRUE(BlockingHook());
}

TEST_F(WaitingTest, ArmingAfterAnInterruptRaisesAgain) {
  InterruptWaits();
  ExpectDeadlineAfter(60000, [] { ArmDeadline(60000); });
}

TEST_F(WaitingTest, WaitEndsAtTheDeadline) {
  const Stopwatch watch;
  EXPECT_EQ(WaitUntil(NeverReady, ArmDeadline(100), nullptr), WaitEnd::kTimedOut);
  EXPECT_GE(watch.Milliseconds(), 90);
  EXPECT_LT(watch.Milliseconds(), test::kNoHang);
}

TEST_F(WaitingTest, WaitTellsAnInterruptFromATimeout) {
  const DWORD armed = ArmDeadline(60000);
  InterruptWaits();
  EXPECT_EQ(WaitUntil(NeverReady, armed, nullptr), WaitEnd::kInterrupted);
}

TEST_F(WaitingTest, WaitEndsAtOnceWhileTheContinueFlagIsClear) {
  const std::atomic<int> flag{0};
  DWORD longest = 0;
  const Stopwatch watch;
  EXPECT_EQ(WaitUntil(
                [&longest](DWORD slice) {
                  longest = std::max(longest, slice);
                  return false;
                },
                ArmDeadline(60000), &flag),
            WaitEnd::kStopped);
  EXPECT_EQ(longest, 0U);
  EXPECT_LT(watch.Milliseconds(), test::kAbortBound);
}

TEST_F(WaitingTest, WhatIsReadyIsTakenThoughTheFlagIsClear) {
  const std::atomic<int> flag{0};
  EXPECT_EQ(WaitUntil([](DWORD) { return true; }, ArmDeadline(60000), &flag), WaitEnd::kReady);
}

TEST_F(WaitingTest, WhatIsReadyIsTakenThoughTheDeadlineHasPassed) {
  const DWORD armed = ArmDeadline(0);
  EXPECT_EQ(WaitUntil([](DWORD) { return true; }, armed, nullptr), WaitEnd::kReady);
}

TEST_F(WaitingTest, SlicesAreShortEnoughForAnAbort) {
  DWORD longest = 0;
  WaitUntil(
      [&longest](DWORD slice) {
        longest = std::max(longest, slice);
        Sleep(slice);
        return false;
      },
      ArmDeadline(100), nullptr);
  EXPECT_GT(longest, 0U);
  EXPECT_LE(longest, 50U);
}

TEST_F(WaitingTest, FlagClearedByAnotherThreadEndsAWait) {
  auto connectionless = [](DWORD slice) { return NeverReady(slice); };
  std::atomic<int> flag{1};
  std::atomic<long> clearedAt{0};
  const Stopwatch watch;
  std::thread other([&] {
    Sleep(60);
    clearedAt = watch.Milliseconds();
    flag = 0;
  });
  EXPECT_EQ(WaitUntil(connectionless, ArmDeadline(60000), &flag), WaitEnd::kStopped);
  const long delay = watch.Milliseconds() - clearedAt;
  other.join();
  RecordProperty("milliseconds_after_abort", static_cast<int>(delay));
  std::printf("wait ended %ld ms after the flag was cleared\n", delay);
  EXPECT_LT(delay, test::kAbortBound);
}

}  // namespace
