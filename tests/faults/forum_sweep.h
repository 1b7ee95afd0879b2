// One workload, ended in every way at every call.
#pragma once

#include "document_tree.h"
#include "forum_workload.h"
#include "support/disk_model.h"
#include "support/fault_layer.h"
#include "support/temporary_directory.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace faults {

struct SweepCounts {
  std::uint64_t calls = 0;     // of the workloads
  std::uint64_t kills = 0;     // disks that a killed process left
  std::uint64_t losses = 0;    // disks that a lost machine left
  std::uint64_t failures = 0;  // runs in which a call failed
  std::uint64_t opened = 0;    // different disks that were opened and looked through
  std::uint64_t finished = 0;  // ... on which a begun commit turned out to have happened
  std::uint64_t refused = 0;   // runs in which a commit or change was refused
  std::uint64_t doubtful = 0;  // ... and the new state was there all the same
};

struct SweepOptions {
  unsigned survivors = 2;   // random survivals of a lost machine at every call
  bool everyFault = false;  // every kind of failure at every call, instead of one of them
};

class ForumSweep {
 public:
  ForumSweep(unsigned seed, const SweepOptions& options, SweepCounts& counts);

  // What went wrong, a line each; at most a few.
  std::vector<std::string> Run();

 private:
  // Nothing where there is no file.
  using State = std::optional<DocumentTree>;
  struct Commit {
    std::size_t begun = 0;  // how much of the trace was there before and after it
    std::size_t done = 0;
    State state;
    bool hasForum = true;
  };
  class Recorder;
  class Live;

  void RecordWorkload();
  void CheckMessages(const ForumWorkload& workload, const test::DiskImage& image);
  State StateOf(const test::DiskImage& image);

  void SweepEnds();
  void CheckEnds(const test::Disk& disk, std::size_t calls);
  void CheckCutWrite(const test::Disk& disk, std::size_t calls);
  // The commit that had returned after so many calls, and the one that was under way, if any.
  std::size_t LastDone(std::size_t calls) const;
  bool UnderWay(std::size_t last, std::size_t calls) const;
  void CheckImage(const test::DiskImage& image, std::size_t calls, const std::string& what);

  void SweepFailures();
  void RunWithFailure(test::Fault fault, std::uint64_t at, bool forGood);
  void CheckAfterFailure(const Live& live, bool refused, const std::string& what);

  void CheckNames(const std::string& directory, const std::string& what);
  void CheckUse(const std::string& directory, bool hasForum, const std::string& what);
  void Complain(const std::string& what, const std::string& problem);

  unsigned seed_;
  SweepOptions options_;
  SweepCounts& counts_;
  std::mt19937 random_;
  test::TemporaryDirectory directory_;
  std::string work_ = directory_ / "work/";
  std::string check_ = directory_ / "check/";
  ForumWorkload workload_;
  test::DiskImage initial_;
  std::vector<test::FileOperation> trace_;
  std::vector<Commit> commits_;  // [0]: what was there at the start
  std::uint64_t callCount_ = 0;
  std::set<std::uint64_t> seen_;
  std::vector<std::string> problems_;
};

}  // namespace faults
