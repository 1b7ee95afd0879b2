// Every exported function while the n-th allocation or the n-th call of the system fails, n = 1
// until the function runs through.
//
// A function that says it succeeded has brought and left behind what an undisturbed call does. One
// that says it failed has left every part of the board old or new, and works when it is called
// again. What cannot say so stands in a list. Interrupted calls and short transfers are no failures
// at all. Nothing throws, leaks (the sanitizers watch) or leaves a file open.
//
// By default n runs through all values to 200 and then through a sample; BREVANT_EVERY_CALL=1 takes
// all, BREVANT_FAIL_SEED another sample.
#include "calls/board_state.h"
#include "calls/row.h"
#include "environment.h"
#include "frame/library.h"
#include "net/connection.h"
#include "net/waiting.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

namespace {

using faults::BoardKeeper;
using faults::BoardState;
using faults::Harmless;
using faults::NameOf;
using faults::Row;
using faults::Trial;
using faults::Trouble;

constexpr Trouble kTroubles[] = {Trouble::kMemoryPassing, Trouble::kMemoryLasting, Trouble::kCall,
                                 Trouble::kInterrupted, Trouble::kShort};
constexpr long kAllUpTo = 200;
constexpr long kAllUpToOverNetwork = 12;

// The n that are tried, of a row over the network fewer: each takes some milliseconds.
class Sample {
 public:
  explicit Sample(long allUpTo)
      : allUpTo_(allUpTo),
        every_(faults::FromEnvironment("BREVANT_EVERY_CALL", 0) != 0),
        state_(faults::FromEnvironment("BREVANT_FAIL_SEED", 1)) {}
  long After(long n) {
    if (every_ || n < allUpTo_) return n + 1;
    state_ = state_ * 1103515245U + 12345U;
    return n + 1 + static_cast<long>((state_ >> 16) % static_cast<unsigned>(n / 2));
  }

 private:
  long allUpTo_;
  bool every_;
  unsigned state_;
};

// What is open, but for profile files, of which the library keeps some at hand.
std::size_t OpenFiles() {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code none;
    const std::string target = std::filesystem::read_symlink(entry.path(), none).string();
    const bool kept =
        target.find(".ini") != std::string::npos || target.find(".fat") != std::string::npos;
    count += kept ? 0 : 1;
  }
  return count;
}

// The shared board, and what all rows together have met.
class Bench : public ::testing::Environment {
 public:
  static Bench& Instance() {
    static auto* bench = new Bench;  // googletest's
    return *bench;
  }
  void SetUp() override {
    SetProgramDirectory(directory_.Path().c_str());
    brevant::StartNetwork();
    keeper_ = std::make_unique<BoardKeeper>(directory_.Path());
  }
  void TearDown() override {
    brevant::StopNetwork();
    SetProgramDirectory(nullptr);
    for (const auto& [trouble, count] : injected_) {
      std::cout << NameOf(trouble) << ": " << count << " times\n";
    }
  }
  BoardKeeper& Keeper() { return *keeper_; }
  void Count(Trouble trouble) { ++injected_[trouble]; }

 private:
  test::TemporaryDirectory directory_;
  std::unique_ptr<BoardKeeper> keeper_;
  std::map<Trouble, long> injected_;
};

class EveryFunction : public ::testing::TestWithParam<std::size_t> {
 protected:
  static const Row& ThisRow() { return Table()[GetParam()]; }

 public:
  static const std::vector<Row>& Table() {
    static const std::vector<Row> table = faults::AllRows();
    return table;
  }

 protected:
  struct Outcome {
    Trial run;
    BoardState state;
  };

  // A run on the board as it is.
  static Outcome Go(Trouble trouble, long n) {
    brevant::ResetDeadline();
    Trial run(Bench::Instance().Keeper().Directory(), trouble, n);
    const std::size_t before = OpenFiles();
    try {
      ThisRow().body(run);
    } catch (const std::exception& thrown) {
      ADD_FAILURE() << "it threw " << thrown.what();
    }
    run.Holds(OpenFiles() == before, "no file and no socket stays open");
    return {run, Bench::Instance().Keeper().Look()};
  }
  static bool IsHarmless() {
    const auto& list = faults::HarmlessOnes();
    return std::any_of(list.begin(), list.end(),
                       [](const Harmless& one) { return one.name == ThisRow().names; });
  }

  void Judge(const Outcome& undisturbed, const Outcome& outcome, Trouble trouble) {
    EXPECT_EQ(outcome.run.Broken(), "");
    const bool same =
        outcome.run.Seen() == undisturbed.run.Seen() && outcome.state == undisturbed.state;
    const bool said = !outcome.run.Success() && !outcome.run.IsSilent();
    if (same && !said) return;
    if (trouble == Trouble::kInterrupted || trouble == Trouble::kShort) {
      ADD_FAILURE() << (said ? "it failed" : "it was disturbed") << ", saw " << outcome.run.Seen()
                    << " instead of " << undisturbed.run.Seen()
                    << faults::Difference(undisturbed.state, outcome.state);
    }
    if (!said) {
      EXPECT_TRUE(IsHarmless()) << "nothing was said; it saw " << outcome.run.Seen()
                                << " instead of " << undisturbed.run.Seen()
                                << faults::Difference(undisturbed.state, outcome.state);
    }
    const BoardState& before = Bench::Instance().Keeper().Before();
    std::string odd;
    EXPECT_TRUE(
        faults::IsMixtureOf(before, undisturbed.state, outcome.state, outcome.run.Part(), &odd))
        << odd;
    if (outcome.state != before || ThisRow().kind == Row::Kind::kOverNetwork) return;
    const Outcome again = Go(Trouble::kNone, 0);
    EXPECT_TRUE(again.run.Success() || again.run.IsSilent()) << "it fails for good";
    EXPECT_EQ(again.run.Seen(), undisturbed.run.Seen()) << "when it is called again";
    EXPECT_EQ(faults::Difference(undisturbed.state, again.state), "") << "when it is called again";
  }
};

TEST_P(EveryFunction, Holds) {
  BoardKeeper& keeper = Bench::Instance().Keeper();
  keeper.Restore();
  const Outcome undisturbed = Go(Trouble::kNone, 0);
  ASSERT_TRUE(undisturbed.run.Success() || undisturbed.run.IsSilent())
      << undisturbed.run.Seen() << undisturbed.run.Broken();
  ASSERT_EQ(undisturbed.run.Broken(), "");
  ASSERT_TRUE(undisturbed.run.HasCalled());
  if (ThisRow().kind == Row::Kind::kQuiet) {
    EXPECT_EQ(undisturbed.run.Count(), 0) << "it allocates or calls the system";
    return;
  }
  // Nothing in it can fail.
  if (undisturbed.run.Count() == 0) return;
  if (undisturbed.run.IsSilent()) {
    EXPECT_TRUE(IsHarmless()) << "it is in no list";
  }
  for (const Trouble trouble : kTroubles) {
    Sample sample(ThisRow().kind == Row::Kind::kOverNetwork ? kAllUpToOverNetwork : kAllUpTo);
    for (long n = 1;; n = sample.After(n)) {
      keeper.Restore();
      const Outcome outcome = Go(trouble, n);
      SCOPED_TRACE(ThisRow().names + ": " + NameOf(trouble) + ", n = " + std::to_string(n) +
                   (outcome.run.Struck().empty() ? " not reached" : ", " + outcome.run.Struck()));
      Judge(undisturbed, outcome, outcome.run.Struck().empty() ? Trouble::kInterrupted : trouble);
      if (outcome.run.Struck().empty()) break;
      Bench::Instance().Count(trouble);
      if (HasFailure() && ::testing::Test::HasFatalFailure()) return;
    }
  }
}

std::string TestName(const testing::TestParamInfo<std::size_t>& info) {
  std::string name;
  for (const char c : EveryFunction::Table()[info.param].names) {
    if (c == ' ' || name.size() > 60) break;
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
    if (c == '~') name += "Destroy";
  }
  return name + "_" + std::to_string(info.param);
}

INSTANTIATE_TEST_SUITE_P(FailingCalls, EveryFunction,
                         testing::Range(std::size_t{0}, EveryFunction::Table().size()), TestName);

// The names of a list that is made from the public headers and the list of exports.
std::set<std::string> ExportedNames() {
  std::set<std::string> names;
  std::string text = test::ReadFileBytes(EXPORTED_NAMES);
  std::size_t at = 0;
  for (std::size_t end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    names.insert(text.substr(at, end - at));
  }
  return names;
}

TEST(FailingCallsTable, HasEveryExportedFunction) {
  std::set<std::string> covered;
  for (const Row& row : EveryFunction::Table()) {
    std::string name;
    for (const char c : row.names + " ") {
      if (c == ' ' || c == '(') {
        if (!name.empty()) covered.insert(name);
        name.clear();
        if (c == '(') break;
      } else {
        name += c;
      }
    }
  }
  for (const Harmless& exempt : faults::ExemptOnes()) {
    std::istringstream names(exempt.name);
    for (std::string name; names >> name;) {
      EXPECT_TRUE(covered.insert(name).second) << name << " has a row";
    }
  }
  const std::set<std::string> exported = ExportedNames();
  EXPECT_GT(exported.size(), 350u);
  for (const std::string& name : exported) EXPECT_TRUE(covered.contains(name)) << name;
  for (const std::string& name : covered) {
    EXPECT_TRUE(exported.contains(name)) << name << " is not exported";
  }
}

TEST(FailingCallsTable, ListsOnlyRowsOfTheTable) {
  std::set<std::string> rows;
  for (const Row& row : EveryFunction::Table()) rows.insert(row.names);
  for (const Harmless& harmless : faults::HarmlessOnes()) {
    EXPECT_TRUE(rows.contains(harmless.name)) << harmless.name;
  }
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(&Bench::Instance());
  return RUN_ALL_TESTS();
}
