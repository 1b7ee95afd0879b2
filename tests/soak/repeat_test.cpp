// A thousand runs of all five tasks in one process, as a host does them over weeks: nothing grows.
#include "figures.h"
#include "unit/shared/full_circle.h"

namespace soak {
namespace {

constexpr int kRuns = 1000;
constexpr int kSample = 100;
constexpr int kWarm = 100;  // from here on nothing may grow
constexpr int kServersLast = 50;
// What is allocated may differ by what the last mails happened to be. Of memory as the system sees
// it the C library keeps some in pieces.
constexpr std::size_t kMostHeapGrowth = 64 * 1024;  // bytes
constexpr long kMostGrowth = 4 * 1024;              // KiB

struct Sample {
  long memory = test::ResidentMemory();
  std::size_t heap = test::HeapInUse();
  std::size_t descriptors = test::OpenDescriptors();
  int threads = test::Threads();
  std::uintmax_t data = 0;
  std::uintmax_t site = 0;
  std::uintmax_t table = 0;
  std::uintmax_t settings = 0;
};

class Repeated : public test::FullCircle {
 protected:
  // Those that the servers of this process need are not the library's.
  Sample Measure(int run) {
    StopServers();
    // The test's own memory of what was posted.
    subscribed_.clear();
    Sample sample;
    sample.data = BytesBelow(root_ / "Data");
    sample.site = BytesBelow(SitePath(""));
    sample.table = std::filesystem::file_size(root_ / "127.0.0.1.fat");
    sample.settings = std::filesystem::file_size(root_ / "board.ini") +
                      std::filesystem::file_size(root_ / "state.ini");
    const std::string prefix = "run_" + std::to_string(run) + "_";
    Print(prefix + "memory_kib", sample.memory);
    Print(prefix + "heap_bytes", sample.heap);
    Print(prefix + "descriptors", sample.descriptors);
    Print(prefix + "threads", sample.threads);
    Print(prefix + "data_bytes", sample.data);
    Print(prefix + "site_bytes", sample.site);
    Print(prefix + "table_bytes", sample.table);
    Start(true);
    return sample;
  }
};

TEST_F(Repeated, AThousandRunsLeaveNothingLargerThanAHundredDid) {
  Subscribe();
  Sample warm;
  Sample last;
  const auto start = std::chrono::steady_clock::now();
  for (int run = 1; run <= kRuns && !HasFailure(); ++run) {
    SCOPED_TRACE("run " + std::to_string(run));
    NewMail();
    RunTasks();
    status.clear();
    if (run % kSample == 0) ExpectWhole();
    LetTimePass();
    if (run % kSample == 0) {
      last = Measure(run);
      if (run == kWarm) warm = last;
    } else if (run % kServersLast == 0) {
      // They remember every byte that they were sent.
      StopServers();
      Start(true);
    }
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  Print("runs", kRuns);
  Print("runs_seconds", took.count());
  EXPECT_LE(last.heap, warm.heap + kMostHeapGrowth);
  EXPECT_LE(last.memory, warm.memory + kMostGrowth);
  EXPECT_LE(last.descriptors, warm.descriptors);
  EXPECT_LE(last.threads, warm.threads);
  // Every forum has been trimmed at its limit for long; mails differ in size.
  EXPECT_LE(last.data, warm.data + warm.data / 4);
  EXPECT_LE(last.site, warm.site + warm.site / 4);
  EXPECT_LE(last.table, warm.table + warm.table / 4);
  EXPECT_LE(last.settings, warm.settings + 256);
}

}  // namespace
}  // namespace soak
