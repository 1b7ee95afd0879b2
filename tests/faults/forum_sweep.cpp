#include "forum_sweep.h"

#include "unit/shared/board_reading.h"

#include <algorithm>
#include <filesystem>

namespace faults {

namespace fs = std::filesystem;
using test::Disk;
using test::DiskImage;
using test::Fault;
using test::FaultLayer;
using test::FaultPlan;
using test::FileOperation;
using test::OperationKind;

namespace {

constexpr std::size_t kEnoughProblems = 3;

const char* NameOf(Fault fault) {
  switch (fault) {
    case Fault::kNone:
      return "nothing";
    case Fault::kKill:
      return "kill";
    case Fault::kFull:
      return "no room";
    case Fault::kBroken:
      return "input/output error";
    case Fault::kShort:
      return "short write";
    case Fault::kShortThenFull:
      return "short write, then no room";
  }
  return "";
}

FaultPlan Plan(const std::string& directory, Fault fault, std::uint64_t at, bool forGood) {
  FaultPlan plan;
  plan.directory = directory;
  plan.fault = fault;
  plan.at = at;
  plan.forGood = forGood;
  return plan;
}

}  // namespace

// The run without faults: what every commit left, and when.
class ForumSweep::Recorder : public WorkloadObserver {
 public:
  explicit Recorder(ForumSweep& sweep) : sweep_(sweep) {}
  void Committing() override { begun_ = FaultLayer::TraceLength(); }
  void Committed() override {
    const std::size_t done = FaultLayer::TraceLength();
    images.push_back(test::ReadImage(sweep_.work_));
    sweep_.commits_.push_back({begun_, done, {}, sweep_.workload_.HasForum()});
    // Looked at now, since the forum goes on changing.
    sweep_.CheckMessages(sweep_.workload_, images.back());
  }
  bool ClosedWell() override { return true; }

  std::vector<DiskImage> images;

 private:
  ForumSweep& sweep_;
  std::size_t begun_ = 0;
};

// A run with a failing call: what the last good commit left.
class ForumSweep::Live : public WorkloadObserver {
 public:
  Live(const std::string& directory, const DiskImage& initial)
      : last(initial), directory_(directory) {}
  void Committing() override {
    underWay = true;
    struckBefore_ = FaultLayer::Struck();
  }
  void Committed() override {
    underWay = false;
    ++done;
    last = test::ReadImage(directory_);
  }
  // A close that was hit may have lost what it should have saved; it tells nobody.
  bool ClosedWell() override {
    closedBadly = FaultLayer::Struck() != struckBefore_;
    return !closedBadly;
  }

  DiskImage last;
  std::size_t done = 0;
  bool underWay = false;
  bool closedBadly = false;

 private:
  std::string directory_;
  bool struckBefore_ = false;
};

ForumSweep::ForumSweep(unsigned seed, const SweepOptions& options, SweepCounts& counts)
    : seed_(seed), options_(options), counts_(counts), random_(seed + 1), workload_(seed) {
  fs::create_directory(work_);
  fs::create_directory(check_);
}

std::vector<std::string> ForumSweep::Run() {
  FaultLayer::SkipSyncs(true);
  RecordWorkload();
  std::vector<std::string> all;
  if (problems_.empty()) {
    // What one of them finds does not keep the other from looking.
    SweepEnds();
    all.swap(problems_);
    SweepFailures();
  }
  FaultLayer::SkipSyncs(false);
  all.insert(all.end(), problems_.begin(), problems_.end());
  return all;
}

void ForumSweep::Complain(const std::string& what, const std::string& problem) {
  if (problems_.size() < kEnoughProblems) {
    problems_.push_back("seed " + std::to_string(seed_) + ", " + what + ": " + problem);
  }
}

ForumSweep::State ForumSweep::StateOf(const DiskImage& image) {
  if (!image.contains(ForumWorkload::kFile)) return std::nullopt;
  test::WriteImage(image, check_);
  std::string problem;
  State state = ReadTree(check_ + ForumWorkload::kFile, &problem);
  if (!state) Complain("a committed state", problem);
  return state;
}

void ForumSweep::RecordWorkload() {
  workload_.Prepare(work_);
  initial_ = test::ReadImage(work_);
  commits_.push_back({0, 0, StateOf(initial_), true});
  Recorder recorder(*this);
  FaultLayer::Start(Plan(work_, Fault::kNone, 0, false));
  bool unsafe = false;
  const bool good = workload_.Run(work_, recorder, &unsafe);
  callCount_ = FaultLayer::Calls();
  trace_ = FaultLayer::Stop();
  counts_.calls += callCount_;
  if (!good) Complain("without any fault", "an operation failed");
  for (std::size_t i = 0; i < recorder.images.size(); ++i) {
    commits_[i + 1].state = StateOf(recorder.images[i]);
  }
}

// That the forum holds what was put into it, by its exported functions.
void ForumSweep::CheckMessages(const ForumWorkload& workload, const DiskImage& image) {
  if (!workload.HasForum()) return;
  test::TemporaryDirectory copy;
  test::WriteImage(image, copy.Path());
  ForumWorkload::Messages found;
  for (const test::Item& item : test::ItemsOf(ForumWorkload::kForum, copy.Path())) {
    found[item.index] = {item.subject, item.content};
  }
  if (found != workload.Expected()) {
    Complain("without any fault", "commit " + std::to_string(commits_.size() - 1) + " holds " +
                                      std::to_string(found.size()) + " messages, not the " +
                                      std::to_string(workload.Expected().size()) + " expected");
  }
}

void ForumSweep::SweepEnds() {
  Disk disk(initial_);
  for (std::size_t calls = 0; problems_.empty(); ++calls) {
    CheckEnds(disk, calls);
    if (calls == trace_.size()) break;
    CheckCutWrite(disk, calls);
    disk.Apply(trace_[calls]);
  }
}

void ForumSweep::CheckEnds(const Disk& disk, std::size_t calls) {
  ++counts_.kills;
  CheckImage(disk.Current(), calls, "killed");
  ++counts_.losses;
  CheckImage(disk.Safe(), calls, "machine lost with all that was not synced");
  for (unsigned i = 0; i < options_.survivors; ++i) {
    ++counts_.losses;
    CheckImage(disk.Survivors(random_), calls, "machine lost, some of it survived");
  }
}

// Killed in the middle of the next call. A write reaches the file in whole sectors.
void ForumSweep::CheckCutWrite(const Disk& disk, std::size_t calls) {
  FileOperation next = trace_[calls];
  const std::size_t sectors = next.data.size() / Disk::kSector;
  if (next.kind != OperationKind::kWrite || sectors < 2) return;
  const std::size_t whole = (1 + random_() % (sectors - 1)) * Disk::kSector;
  next.data.resize(whole - next.offset % Disk::kSector);
  Disk cut(disk);
  cut.Apply(next);
  ++counts_.kills;
  CheckImage(cut.Current(), calls + 1, "killed inside a write");
  ++counts_.losses;
  CheckImage(cut.Survivors(random_), calls + 1, "machine lost inside a write");
}

std::size_t ForumSweep::LastDone(std::size_t calls) const {
  std::size_t last = 0;
  while (last + 1 < commits_.size() && commits_[last + 1].done <= calls) ++last;
  return last;
}

bool ForumSweep::UnderWay(std::size_t last, std::size_t calls) const {
  return last + 1 < commits_.size() && commits_[last + 1].begun < calls;
}

void ForumSweep::CheckImage(const DiskImage& image, std::size_t calls, const std::string& what) {
  const std::size_t last = LastDone(calls);
  const bool underWay = UnderWay(last, calls);
  const std::uint64_t print = test::Fingerprint(image) + 2 * last + (underWay ? 1 : 0);
  if (!problems_.empty() || !seen_.insert(print).second) return;
  ++counts_.opened;
  std::string where =
      what + " after call " + std::to_string(calls) + " of " + std::to_string(trace_.size());
  if (calls > 0) where += " (" + test::Describe(trace_[calls - 1]) + ")";
  where += ", commit " + std::to_string(last) + (underWay ? " done, the next under way" : " done");
  test::WriteImage(image, check_);
  // Now and then the first to meet the file is a change of its name.
  const std::string moved = "moved";
  const bool renamed = image.contains(ForumWorkload::kFile) && random_() % 16 == 0 &&
                       RenameForum(ForumWorkload::kForum, moved.c_str(), check_.c_str()) == 1 &&
                       RenameForum(moved.c_str(), ForumWorkload::kForum, check_.c_str()) == 1;
  if (renamed) where += ", renamed first";
  State found;
  const std::string file = check_ + ForumWorkload::kFile;
  if (fs::exists(file)) {
    std::string problem;
    found = ReadTree(file, &problem);
    if (!found) return Complain(where, problem);
  }
  const bool old = found == commits_[last].state;
  const bool isNew = underWay && found == commits_[last + 1].state;
  if (!old && !isNew) {
    std::string problem = "neither the old nor the new state";
    if (!found) problem = "the file is gone";
    if (found && commits_[last].state) problem += Difference(*commits_[last].state, *found);
    return Complain(where, problem);
  }
  if (isNew && !old) ++counts_.finished;
  CheckNames(check_, where);
  CheckUse(check_, found && commits_[old ? last : last + 1].hasForum, where);
}

// Nothing stands beside the forum but what a creation that never came to its end has left.
void ForumSweep::CheckNames(const std::string& directory, const std::string& what) {
  for (const auto& entry : fs::directory_iterator(directory)) {
    const std::string name = entry.path().filename().string();
    if (name != ForumWorkload::kFile && name != std::string(ForumWorkload::kFile) + ".new~") {
      Complain(what, "left behind: " + name);
    }
  }
}

// The next open works and a further change commits.
void ForumSweep::CheckUse(const std::string& directory, bool hasForum, const std::string& what) {
  const std::string mark = std::to_string(random_());
  TForum* forum = hasForum ? OpenForum(ForumWorkload::kForum, directory.c_str())
                           : CreateForum(ForumWorkload::kForum, directory.c_str());
  if (forum == nullptr) return Complain(what, "the forum cannot be opened");
  const bool changed = forum->String("Afterwards", mark.c_str()) == 1 &&
                       AddMailingList("after@example.org", mark.c_str(), forum) == 1 &&
                       forum->Storage().Commit() == 1;
  CloseForum(forum);
  if (!changed) return Complain(what, "the forum cannot be changed");
  forum = OpenForum(ForumWorkload::kForum, directory.c_str());
  const bool kept = forum != nullptr && forum->String("Afterwards") == mark &&
                    GetMailingListName("after@example.org", forum) == mark;
  CloseForum(forum);
  if (!kept) Complain(what, "a further change is lost");
  CheckNames(directory, what);
}

void ForumSweep::SweepFailures() {
  constexpr std::pair<Fault, bool> kKinds[] = {{Fault::kFull, false},
                                               {Fault::kBroken, false},
                                               {Fault::kShort, false},
                                               {Fault::kShortThenFull, false},
                                               {Fault::kFull, true}};
  for (std::uint64_t at = 1; at <= callCount_ && problems_.empty(); ++at) {
    const std::size_t one = random_() % std::size(kKinds);
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
      if (options_.everyFault || i == one) RunWithFailure(kKinds[i].first, at, kKinds[i].second);
    }
  }
}

void ForumSweep::RunWithFailure(Fault fault, std::uint64_t at, bool forGood) {
  ++counts_.failures;
  test::WriteImage(initial_, work_);
  Live live(work_, initial_);
  FaultLayer::Start(Plan(work_, fault, at, forGood));
  bool unsafe = false;
  const bool good = workload_.Run(work_, live, &unsafe);
  FaultLayer::Stop();
  const std::string what = std::string(NameOf(fault)) + (forGood ? " from call " : " at call ") +
                           std::to_string(at) + ", " + std::to_string(live.done) +
                           " commits reported";
  if (unsafe) Complain(what, "a change failed half-way and was committed");
  CheckAfterFailure(live, !good, what);
}

void ForumSweep::CheckAfterFailure(const Live& live, bool refused, const std::string& what) {
  if (refused) ++counts_.refused;
  if (live.done >= commits_.size()) return Complain(what, "more commits than planned");
  const std::string file = work_ + ForumWorkload::kFile;
  State found;
  std::string problem;
  if (fs::exists(file) && !(found = ReadTree(file, &problem))) return Complain(what, problem);
  const State old = StateOf(live.last);
  bool isNew = false;
  if (found != old && live.underWay && found && live.done + 1 < commits_.size()) {
    const State& next = commits_[live.done + 1].state;
    isNew = next && WithoutTimes(*found) == WithoutTimes(*next);
  }
  if (isNew) {
    if (!live.closedBadly) ++counts_.doubtful;
  } else if (found != old) {
    problem = "neither the old nor the new state";
    if (found && old) problem += Difference(*old, *found);
    return Complain(what, problem);
  }
  const State& planned = commits_[live.done].state;
  if (!isNew && (old.has_value() != planned.has_value() ||
                 (old && WithoutTimes(*old) != WithoutTimes(*planned)))) {
    return Complain(what, "the run differs from the one without faults");
  }
  ++counts_.opened;
  CheckNames(work_, what);
  CheckUse(work_, found && commits_[live.done + (isNew ? 1 : 0)].hasForum, what);
}

}  // namespace faults
