#include "platform/win32.h"

#include <brevant/frame.h>

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

class Loop : public TTask {
 public:
  using TTask::TTask;
  // Ends by an abort only.
  int Execute() override {
    running = true;
    while (continue_ != 0) std::this_thread::yield();
    return 1;
  }
  int ContinueFlag() const { return continue_; }
  TSetup* Setup() const { return setup_; }
  TPersistentState* State() const { return state_; }
  std::atomic<bool> running{false};
};

TEST(TaskBase, ContinueFlagIsSetAtFirstAndClearedByAbort) {
  Loop task(nullptr, nullptr);
  EXPECT_EQ(task.ContinueFlag(), 1);
  task.Abort();
  EXPECT_EQ(task.ContinueFlag(), 0);
}

TEST(TaskBase, KeepsWhatItWasGiven) {
  TSetup setup("settings.ini");
  TPersistentState state("state.ini");
  const Loop task(&setup, &state);
  EXPECT_EQ(task.Setup(), &setup);
  EXPECT_EQ(task.State(), &state);
}

TEST(TaskBase, AbortFromAnotherThreadEndsTheLoop) {
  Loop task(nullptr, nullptr);
  std::thread other([&] {
    while (!task.running) std::this_thread::yield();
    task.Abort();
  });
  EXPECT_EQ(task.Execute(), 1);
  other.join();
}

}  // namespace
