#include "support/posix/fault_state.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

FaultState& FaultState::Instance() {
  // Never destroyed: files are closed after the last static object.
  static auto* state = new FaultState;
  return *state;
}

void FaultState::Start(const FaultPlan& plan, int traceDescriptor, int callsDescriptor) {
  const std::lock_guard<std::mutex> guard(mutex_);
  plan_ = plan;
  while (plan_.directory.size() > 1 && plan_.directory.back() == '/') plan_.directory.pop_back();
  if (plan.skipSyncs) skipSyncs_ = true;
  calls_ = 0;
  struck_ = nextWriteFails_ = false;
  trace_.clear();
  traceDescriptor_ = traceDescriptor;
  callsDescriptor_ = callsDescriptor;
  active_ = true;
}

std::vector<FileOperation> FaultState::Stop() {
  const std::lock_guard<std::mutex> guard(mutex_);
  active_ = false;
  return std::move(trace_);
}

std::size_t FaultState::TraceLength() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return trace_.size();
}

std::string FaultState::Absolute(int directory, const char* path) {
  namespace fs = std::filesystem;
  std::error_code failed;
  fs::path base;
  if (path[0] != '/') {
    base = directory == AT_FDCWD
               ? fs::current_path(failed)
               : fs::read_symlink("/proc/self/fd/" + std::to_string(directory), failed);
  }
  std::string whole = (base / path).lexically_normal().generic_string();
  while (whole.size() > 1 && whole.back() == '/') whole.pop_back();
  return whole;
}

std::optional<std::string> FaultState::Below(const std::string& path) const {
  const std::string& directory = plan_.directory;
  if (path == directory) return "";
  if (path.size() <= directory.size() || !path.starts_with(directory) ||
      path[directory.size()] != '/') {
    return std::nullopt;
  }
  return path.substr(directory.size() + 1);
}

std::optional<std::string> FaultState::Below(int descriptor) const {
  char path[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
  if (length <= 0) return std::nullopt;
  return Below(std::string(path, static_cast<std::size_t>(length)));
}

bool FaultState::Strikes(bool needsRoom) const {
  if (plan_.at == 0 || plan_.fault == Fault::kNone) return false;
  if (plan_.forGood) return calls_ >= plan_.at && needsRoom;
  return calls_ == plan_.at;
}

FaultState::Verdict FaultState::Next(OperationKind kind, bool needsRoom) {
  ++calls_;
  if (callsDescriptor_ >= 0) {
    const std::uint64_t calls = calls_;
    ::syscall(SYS_pwrite64, callsDescriptor_, &calls, sizeof calls, 0);
  }
  Verdict verdict;
  const bool isWrite = kind == OperationKind::kWrite;
  if (isWrite && nextWriteFails_) {
    nextWriteFails_ = false;
    verdict.error = ENOSPC;
    return verdict;
  }
  if (!Strikes(needsRoom)) return verdict;
  struck_ = true;
  switch (plan_.fault) {
    case Fault::kNone:
      break;
    case Fault::kKill:
      verdict.last = true;
      break;
    case Fault::kFull:
      verdict.error = ENOSPC;
      break;
    case Fault::kBroken:
      verdict.error = EIO;
      break;
    case Fault::kShort:
    case Fault::kShortThenFull:
      if (!isWrite) verdict.error = EIO;
      verdict.shortened = isWrite;
      nextWriteFails_ = isWrite && plan_.fault == Fault::kShortThenFull;
      break;
  }
  return verdict;
}

void FaultState::Record(FileOperation operation) {
  operation.call = calls_;
  if (traceDescriptor_ < 0) {
    trace_.push_back(std::move(operation));
    return;
  }
  const std::string bytes = Serialize(operation);
  ::syscall(SYS_write, traceDescriptor_, bytes.data(), bytes.size());
}

int FaultState::ForgoShort() {
  const bool full = nextWriteFails_;
  nextWriteFails_ = false;
  return full ? ENOSPC : EIO;
}

void FaultState::Finish(const Verdict& verdict) {
  if (verdict.last) ::kill(::getpid(), SIGKILL);
}

void FaultLayer::Start(const FaultPlan& plan) { FaultState::Instance().Start(plan, -1, -1); }

std::uint64_t FaultLayer::Calls() { return FaultState::Instance().Calls(); }

bool FaultLayer::Struck() { return FaultState::Instance().Struck(); }

std::size_t FaultLayer::TraceLength() { return FaultState::Instance().TraceLength(); }

std::vector<FileOperation> FaultLayer::Stop() { return FaultState::Instance().Stop(); }

void FaultLayer::SkipSyncs(bool skip) { FaultState::Instance().SetSkipsSyncs(skip); }

}  // namespace test
