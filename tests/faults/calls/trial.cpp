#include "calls/trial.h"

#include <limits>

namespace faults {

namespace {

test::CallFault FaultOf(Trouble trouble) {
  switch (trouble) {
    case Trouble::kCall:
      return test::CallFault::kError;
    case Trouble::kInterrupted:
      return test::CallFault::kInterrupted;
    case Trouble::kShort:
      return test::CallFault::kShort;
    default:
      return test::CallFault::kNone;
  }
}

bool IsOfMemory(Trouble trouble) {
  return trouble == Trouble::kMemoryPassing || trouble == Trouble::kMemoryLasting;
}

}  // namespace

std::string NameOf(Trouble trouble) {
  switch (trouble) {
    case Trouble::kNone:
      return "nothing";
    case Trouble::kMemoryPassing:
      return "an allocation";
    case Trouble::kMemoryLasting:
      return "all memory from an allocation on";
    case Trouble::kCall:
      return "a system call";
    case Trouble::kInterrupted:
      return "an interrupted call";
    default:
      return "a short transfer";
  }
}

Trial::Armed::Armed(Trial& run) : run_(run) {
  constexpr long kNever = std::numeric_limits<long>::max();
  calls_.emplace(FaultOf(run.trouble_), run.n_);
  memory_.emplace(IsOfMemory(run.trouble_) ? run.n_ - 1 : kNever,
                  run.trouble_ == Trouble::kMemoryLasting ? test::Shortage::kLasting
                                                          : test::Shortage::kPassing);
}

Trial::Armed::~Armed() {
  const bool outOfMemory = memory_->HasFailed();
  const long allocations = memory_->Allocations();
  memory_.reset();
  const std::string struck = calls_->Struck();
  const long calls = calls_->Calls();
  calls_.reset();
  if (run_.trouble_ == Trouble::kNone) {
    run_.count_ += allocations + calls;
  } else {
    run_.count_ += IsOfMemory(run_.trouble_) ? allocations : calls;
  }
  if (outOfMemory) {
    run_.struck_ = "memory";
  } else if (!struck.empty()) {
    run_.struck_ = struck;
  }
}

}  // namespace faults
