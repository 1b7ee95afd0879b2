// What the host needs from the operating system. The build picks posix/ or windows/.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace host {

// The directory of the running program, without a final separator; empty when it is unknown.
std::string ExecutableDirectory();

// Why a board cannot live at path on this platform; empty when it can.
std::string BoardPathProblem(const std::string& path);

// Holds a lock file until destroyed. The system frees it when the process ends in any way, so a
// file that is left behind locks nobody out.
class FileLock {
 public:
  virtual ~FileLock() = default;

  enum class Failure { kNone, kHeld, kError };
  // Null when another process holds the lock (kHeld) or the file cannot be made (kError).
  static std::unique_ptr<FileLock> Acquire(const std::string& path, Failure* failure);
};

// Makes a file that is new, with this content; false when something stands there (a symbolic link
// is not followed) or it cannot be written. ownerOnly: nobody else may read it, where the system
// knows that.
bool CreateNewFile(const std::string& path, const std::string& content, bool ownerOnly);
// Makes a directory, if there is none, in which nobody but the owner finds anything.
bool MakeOwnersDirectory(const std::string& path);

// Whether standard output is a terminal, and how many columns it has.
bool OutputIsTerminal();
int TerminalColumns();
// Standard input and output carry bytes, not lines, from here on.
void SetBinaryStandardStreams();

// While it lives, the first request of the user or the system to end the program (Ctrl-C, a
// termination signal) calls onInterrupt on a thread of its own; the second one ends the process.
class InterruptWatcher {
 public:
  explicit InterruptWatcher(std::function<void(int signal)> onInterrupt);
  ~InterruptWatcher();
  InterruptWatcher(const InterruptWatcher&) = delete;
  InterruptWatcher& operator=(const InterruptWatcher&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
