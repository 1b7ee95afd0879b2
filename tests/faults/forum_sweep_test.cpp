// Random workloads on forums, ended and hindered at every call.
#include "forum_sweep.h"

#include "environment.h"

#include <chrono>
#include <gtest/gtest.h>
#include <iostream>

namespace {

using faults::FromEnvironment;

// BREVANT_SWEEP_SEED is the first seed, BREVANT_SWEEP_COUNT the number of workloads;
// BREVANT_SWEEP_THOROUGH=1 tries every kind of failure at every call.
TEST(ForumSweep, EveryEndLeavesTheOldOrTheNewState) {
  const unsigned first = FromEnvironment("BREVANT_SWEEP_SEED", 1);
  const unsigned count = FromEnvironment("BREVANT_SWEEP_COUNT", 100);
  faults::SweepOptions options;
  options.everyFault = FromEnvironment("BREVANT_SWEEP_THOROUGH", 0) != 0;
  if (options.everyFault) options.survivors = 6;
  faults::SweepCounts counts;
  unsigned broken = 0;
  const auto start = std::chrono::steady_clock::now();
  for (unsigned seed = first; seed < first + count && broken < 10; ++seed) {
    const std::vector<std::string> problems = faults::ForumSweep(seed, options, counts).Run();
    for (const std::string& problem : problems) ADD_FAILURE() << problem;
    if (!problems.empty()) ++broken;
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::cout << "[          ] seeds " << first << " to " << first + count - 1 << ", " << counts.calls
            << " calls: " << counts.kills << " kills, " << counts.losses << " losses, "
            << counts.failures << " failing calls; " << counts.opened << " disks opened in "
            << took.count() << " s\n[          ] on " << counts.finished
            << " of them a commit that had not returned was there; " << counts.refused
            << " runs ended early, " << counts.doubtful << " commits were refused and yet there\n";
}

}  // namespace
