#include "sessions.h"

#include "faults/environment.h"
#include "net/waiting.h"
#include "random_saboteur.h"
#include "support/crash_note.h"
#include "support/process_facts.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <mutex>
#include <thread>

namespace hostile {
namespace {

std::atomic<unsigned> currentSeed{0};

// Ends the program when one session takes longer than any should.
class Watchdog {
 public:
  Watchdog() : thread_([this] { Watch(); }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void Watch() {
    constexpr std::chrono::seconds kLongest(60);
    std::unique_lock lock(mutex_);
    unsigned seen = currentSeed;
    while (!changed_.wait_for(lock, kLongest, [this] { return done_; })) {
      if (seen == currentSeed) {
        std::cerr << "a session does not end\n";
        std::abort();
      }
      seen = currentSeed;
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  std::thread thread_;
};

struct Usage {
  long peak = test::PeakMemory();
  std::size_t descriptors = test::OpenDescriptors();
  int threads = test::Threads();
};

// Look-ups of names may still be on their way.
Usage SettledUsage(const Usage& start) {
  Usage usage;
  for (int tries = 0;
       tries < 200 && (usage.threads > start.threads || usage.descriptors > start.descriptors);
       ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    usage = Usage();
  }
  return usage;
}

}  // namespace

void RunSessions(const Session& session, unsigned usual) {
  const unsigned first = faults::FromEnvironment("BREVANT_HOSTILE_SEED", 1);
  const unsigned count = faults::FromEnvironment("BREVANT_HOSTILE_SESSIONS", usual);
  const auto start = std::chrono::steady_clock::now();
  const long answers = SessionLog::answers;
  const long deviating = SessionLog::deviating;
  test::NameOnCrash("the session's seed", currentSeed);
  currentSeed = first;
  session(first);  // what is made once is there now
  test::ForgetPeak();
  const Usage before;
  {
    const Watchdog watchdog;
    for (unsigned seed = first, broken = 0; seed < first + count && broken < 10; ++seed) {
      currentSeed = seed;
      brevant::ResetDeadline();
      const std::vector<std::string> problems = session(seed);
      for (const std::string& problem : problems) {
        ADD_FAILURE() << problem << "\nagain with: BREVANT_HOSTILE_SEED=" << seed
                      << " BREVANT_HOSTILE_SESSIONS=1";
      }
      if (!problems.empty()) ++broken;
    }
  }
  const Usage after = SettledUsage(before);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::cout << "[          ] seeds " << first << " to " << first + count - 1 << " in "
            << took.count() << " s: " << SessionLog::deviating - deviating << " of "
            << SessionLog::answers - answers << " answers deviated; peak memory "
            << after.peak / 1024 << " MiB, " << (after.peak - before.peak) / 1024
            << " MiB more than at the start\n";
  EXPECT_LE(after.peak - before.peak, BREVANT_MEMORY_BOUND * 1024L) << "KiB";
  EXPECT_LE(after.descriptors, before.descriptors);
  EXPECT_LE(after.threads, before.threads);
}

}  // namespace hostile
