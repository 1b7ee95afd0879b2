// The state behind the fault layer, shared by its face and the names it takes from the C library.
#pragma once

#include "support/fault_layer.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

namespace test {

class FaultState {
 public:
  static FaultState& Instance();

  // What is to become of a watched call.
  struct Verdict {
    int error = 0;           // fails with this
    bool shortened = false;  // a write takes half
    bool last = false;       // the process ends after it
  };

  bool Active() const { return active_.load(std::memory_order_relaxed); }
  bool SkipsSyncs() const { return skipSyncs_.load(std::memory_order_relaxed); }
  void SetSkipsSyncs(bool skip) { skipSyncs_ = skip; }

  void Start(const FaultPlan& plan, int traceDescriptor, int callsDescriptor);
  std::vector<FileOperation> Stop();
  std::uint64_t Calls() const { return calls_; }
  bool Struck() const { return struck_; }
  std::size_t TraceLength();

  // Held during a watched call, so that the trace has the order of the calls.
  std::mutex& Mutex() { return mutex_; }
  // The path below the watched directory; nothing for files elsewhere.
  std::optional<std::string> Below(const std::string& path) const;
  std::optional<std::string> Below(int descriptor) const;
  // Absolute and normal, without asking the disk; directory as openat has it.
  static std::string Absolute(int directory, const char* path);

  // The next four with Mutex held. Counts a call; needsRoom: it makes something new.
  Verdict Next(OperationKind kind, bool needsRoom);
  void Record(FileOperation operation);
  // A write that cannot be short fails at once: the error.
  int ForgoShort();
  // Ends the process when the verdict says so.
  static void Finish(const Verdict& verdict);

 private:
  bool Strikes(bool needsRoom) const;

  std::atomic<bool> active_{false};
  std::atomic<bool> skipSyncs_{false};
  std::mutex mutex_;
  FaultPlan plan_;
  std::atomic<std::uint64_t> calls_{0};
  std::atomic<bool> struck_{false};
  bool nextWriteFails_ = false;
  int traceDescriptor_ = -1;
  int callsDescriptor_ = -1;
  std::vector<FileOperation> trace_;
};

}  // namespace test
