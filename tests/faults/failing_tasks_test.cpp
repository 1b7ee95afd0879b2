// Whole runs of the five tasks while an allocation or a call of the system fails, with servers on
// the loopback interface. Whatever the run makes of it, nothing is lost: the next one without a
// failure, and those of the tasks behind it, bring the board, the mails sent and the web server to
// what they are undisturbed. Interrupted calls and short transfers are no failures at all.
//
// What a failure may do: a mail that was filed or sent comes once more, when its mark or deletion
// did not get through; a linked file that could not be looked at counts as missing until its page
// is due again; an orphan that could not be deleted stays until the site is next updated.
//
// By default some n of all are tried, BREVANT_CALL_SAMPLES for each task and kind of trouble;
// BREVANT_EVERY_CALL=1 takes every n, BREVANT_FAIL_SEED another sample, BREVANT_CALL_N that n
// alone.
#include "calls/trial.h"
#include "environment.h"
#include "task_round.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <random>
#include <set>

namespace {

using faults::FromEnvironment;
using faults::kTaskCount;
using faults::NameOf;
using faults::Trial;
using faults::Trouble;

constexpr Trouble kTroubles[] = {Trouble::kMemoryPassing, Trouble::kMemoryLasting, Trouble::kCall,
                                 Trouble::kInterrupted, Trouble::kShort};
// Of test::kTasks.
constexpr std::size_t kPages = 2;
constexpr std::size_t kTidyUp = 3;
constexpr long kNever = std::numeric_limits<long>::max();

// Texts that the host would have to keep, while there is no memory for them.
class SilentHost {
 public:
  SilentHost() { SetVisualFunctions("HISTORY", nullptr), SetVisualFunctions("STATUS", nullptr); }
  ~SilentHost() { SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&Take)); }
  SilentHost(const SilentHost&) = delete;
  SilentHost& operator=(const SilentHost&) = delete;

 private:
  static void Take(const char* text) { test::HtmlBoard::history.emplace_back(text); }
};

class FailingTasks : public faults::TaskRound {
 protected:
  // One run of the task; what it gave.
  int Disturb(std::size_t task, Trial& run) {
    const SilentHost silent;
    brevant::ResetDeadline();
    const auto made = NewTask(task);
    return run.Call([&] { return made->Execute(); });
  }
  long CountOf(std::size_t task, Trouble trouble) {
    Restore(task);
    ForgetSent();
    Trial run(root_.Path(), trouble, kNever);
    EXPECT_EQ(Disturb(task, run), 1);
    RunFrom(task);
    ExpectSameEnd(task, false);
    return run.Count();
  }
  // What one has beyond the other.
  static std::string Beyond(const std::multiset<std::string>& one,
                            const std::multiset<std::string>& other) {
    std::vector<std::string> rest;
    std::set_difference(one.begin(), one.end(), other.begin(), other.end(),
                        std::back_inserter(rest));
    std::string text;
    for (const std::string& item : rest) text += "[" + item + "] ";
    return text;
  }
  void ExpectSameEnd(std::size_t task, bool mayRepeat) {
    const End end = Look();
    const End& undisturbed = Undisturbed(task);
    for (const auto& [found, expected] :
         {std::pair(&end.filed, &undisturbed.filed), std::pair(&end.sent, &undisturbed.sent)}) {
      const std::string more = Beyond(*found, *expected);
      EXPECT_TRUE(mayRepeat || more.empty()) << more;
      EXPECT_EQ(std::set(found->begin(), found->end()),
                std::set(expected->begin(), expected->end()));
    }
    EXPECT_EQ(Beyond(undisturbed.filed, end.filed), "") << "is missing";
    EXPECT_EQ(Beyond(undisturbed.sent, end.sent), "") << "was not sent";
    // Retrieval numbers messages in the order in which they could be filed.
    if (task == 0) return;
    EXPECT_EQ(test::NamesOf(end.site), test::NamesOf(undisturbed.site));
    for (const auto& [name, bytes] : end.site) {
      const auto expected = undisturbed.site.find(name);
      if (expected == undisturbed.site.end()) continue;
      EXPECT_TRUE(bytes == expected->second) << name << " differs";
    }
  }
  // As if the next change had come, for what waits for it.
  void MakeDueAgain(std::size_t task) {
    if (task == kPages) {
      for (const auto& file : std::filesystem::directory_iterator(root_ / "Templates")) {
        test::WriteFileBytes(file.path().string(), test::ReadFileBytes(file.path().string()));
      }
    } else if (task == kTidyUp) {
      state_->Number("Last Local Directory Scan Time", 0);
    }
  }
  void Try(std::size_t task, Trouble trouble, long n) {
    Restore(task);
    ForgetSent();
    const std::size_t open = OpenFiles();
    Trial run(root_.Path(), trouble, n);
    const int result = Disturb(task, run);
    SCOPED_TRACE(std::string(test::kTasks[task]) + ": " + NameOf(trouble) + ", n = " +
                 std::to_string(n) + ", " + run.Struck() + ", gave " + std::to_string(result));
    EXPECT_EQ(OpenFiles(), open);
    const bool isFailure = trouble != Trouble::kInterrupted && trouble != Trouble::kShort;
    EXPECT_TRUE(isFailure || result == 1) << "it is no failure";
    struck_ += run.Struck().empty() ? 0 : 1;
    failed_ += result == 0 ? 1 : 0;
    if (isFailure && result == 1) MakeDueAgain(task);
    RunFrom(task);
    ExpectSameEnd(task, isFailure);
  }
  void Sweep(std::size_t task) {
    std::mt19937 random(FromEnvironment("BREVANT_FAIL_SEED", 1));
    const bool every = FromEnvironment("BREVANT_EVERY_CALL", 0) != 0;
    const auto samples = static_cast<long>(FromEnvironment("BREVANT_CALL_SAMPLES", 5));
    const auto only = static_cast<long>(FromEnvironment("BREVANT_CALL_N", 0));
    for (const Trouble trouble : kTroubles) {
      if (only != 0) {
        Try(task, trouble, only);
        continue;
      }
      const long count = CountOf(task, trouble);
      ASSERT_GT(count, 0);
      const long step = every ? 1 : std::max(count / samples, 1L);
      for (long from = 1; from <= count; from += step) {
        // How much there is differs a little from run to run; where it is tried should not.
        Try(task, trouble, from + step * static_cast<long>(random() % 1000) / 1000);
        if (HasFatalFailure()) return;
      }
    }
    std::cout << test::kTasks[task] << ": " << struck_ << " failures, after " << failed_
              << " of them the task failed\n";
    EXPECT_GT(failed_, 0) << "no failure has hindered it";
  }

 private:
  long struck_ = 0;
  long failed_ = 0;
};

TEST_F(FailingTasks, RetrievalLosesNoMail) { Sweep(0); }
TEST_F(FailingTasks, DispatchMissesNobody) { Sweep(1); }
TEST_F(FailingTasks, PagesAreMadeByTheNextRun) { Sweep(kPages); }
TEST_F(FailingTasks, FileManagementKeepsWhatIsLinked) { Sweep(kTidyUp); }
TEST_F(FailingTasks, DeliveryIsFinishedByTheNextRun) { Sweep(4); }

}  // namespace
