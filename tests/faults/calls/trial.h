// One run of one exported function of which something is to fail.
#pragma once

#include "support/failing_calls.h"
#include "support/failing_memory.h"

#include <optional>
#include <string>

namespace faults {

enum class Trouble {
  kNone,
  kMemoryPassing,  // one allocation fails
  kMemoryLasting,  // and all behind it
  kCall,           // one call of the system fails
  kInterrupted,    // one is interrupted by a signal
  kShort,          // one moves a part of its bytes
};
std::string NameOf(Trouble trouble);

// What a row of the table works with: it prepares what the function needs, calls it within Call,
// says what came of it and lets go of what it made.
class Trial {
 public:
  // directory: the board's, with a final "/". n: which one fails, from 1.
  Trial(std::string directory, Trouble trouble, long n)
      : directory_(std::move(directory)), data_(directory_ + "Data/"), trouble_(trouble), n_(n) {}

  const std::string& Directory() const { return directory_; }
  std::string File(const std::string& name) const { return directory_ + name; }
  // Where the board files are.
  const char* Data() const { return data_.c_str(); }

  // Makes the call. Only what happens in there fails. Once a run.
  template <typename Function>
  auto Call(Function&& function) {
    hasCalled_ = true;
    const Armed armed(*this);
    return function();
  }

  // Whether the function says that it did what it was asked to.
  void Succeeds(bool success) { success_ = success; }
  // It cannot say so; it stands in the list of those.
  void SaysNothing() { saysNothing_ = true; }
  // What the caller got from it. A success must bring what an undisturbed run brings.
  void Sees(const std::string& text) { seen_ += text + "|"; }
  void Sees(const char* text) { Sees(std::string(text == nullptr ? "(null)" : text)); }
  void Sees(long long number) { Sees(std::to_string(number)); }
  // What has to hold whatever fails.
  void Holds(bool holds, const std::string& what) {
    if (!holds) broken_ += what + "; ";
  }

  // What is below this path of the board is only a part of it when the function fails.
  void MayBePartOf(const std::string& path) { part_ = path; }

  bool Success() const { return success_; }
  bool IsSilent() const { return saysNothing_; }
  const std::string& Seen() const { return seen_; }
  const std::string& Broken() const { return broken_; }
  // Null for nothing.
  const std::string* Part() const { return part_ ? &*part_ : nullptr; }
  // What failed, in words; empty when nothing did.
  const std::string& Struck() const { return struck_; }
  // How many things could have failed so.
  long Count() const { return count_; }
  bool HasCalled() const { return hasCalled_; }

 private:
  class Armed {
   public:
    explicit Armed(Trial& run);
    ~Armed();
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;

   private:
    Trial& run_;
    std::optional<test::FailingCalls> calls_;
    std::optional<test::FailingMemory> memory_;
  };

  std::string directory_;
  std::string data_;
  Trouble trouble_;
  long n_;
  bool success_ = false;
  bool saysNothing_ = false;
  std::string seen_;
  std::string broken_;
  std::optional<std::string> part_;
  std::string struck_;
  long count_ = 0;
  bool hasCalled_ = false;
};

}  // namespace faults
