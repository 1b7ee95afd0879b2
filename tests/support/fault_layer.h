// Faults under the system calls by which a process changes files. POSIX only.
//
// A program that links test_fault_layer, or any program that is started through WithFaults, has its
// calls of open (with O_CREAT or O_TRUNC), write, pwrite, writev, pwritev, fsync, fdatasync,
// ftruncate, fallocate, posix_fallocate, rename, renameat, renameat2, unlink, unlinkat, mkdir and
// rmdir watched, as far as they concern files below one directory. They are counted from 1, and
// they are traced. What is not seen: files made by mkstemp and by the C library's streams, links,
// memory maps, and changes of times, modes and extended attributes.
//
// Start and Stop are for one thread at a time; the watched calls may come from any.
#pragma once

#include "support/file_operations.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

enum class Fault {
  kNone,
  kKill,           // the process dies by SIGKILL right after the call
  kFull,           // the call fails: no room
  kBroken,         // the call fails: input/output error
  kShort,          // a write takes about half of its sectors; other calls fail as kBroken
  kShortThenFull,  // as kShort, and the next write fails: no room
};

struct FaultPlan {
  // The absolute path of a directory, without symbolic links.
  std::string directory;
  Fault fault = Fault::kNone;
  std::uint64_t at = 0;  // the call that is hit; 0: none
  // With kFull: from that call on there is no room for anything new, for as long as the plan holds.
  // Only calls that need room fail: making files and directories, lengthening files.
  bool forGood = false;
  // fsync and fdatasync of any file do nothing but be traced: for tests of what a killed process
  // leaves, or that rebuild the disk from the trace, and should not wait for the real one.
  bool skipSyncs = false;
};

class FaultLayer {
 public:
  // Begins to watch, count and trace with an empty trace.
  static void Start(const FaultPlan& plan);
  // How many calls were watched so far, those that failed included.
  static std::uint64_t Calls();
  // Whether the fault has happened.
  static bool Struck();
  // The calls that succeeded so far.
  static std::size_t TraceLength();
  // Ends it all and gives the trace.
  static std::vector<FileOperation> Stop();
  // As the plan's skipSyncs, also while nothing is watched.
  static void SkipSyncs(bool skip);
};

// The command that runs a program under a plan. `trace`, when not empty, is the file that takes the
// trace, for ReadTrace; it must not lie below the plan's directory. `calls`, when not empty, is the
// file that takes the number of calls, 8 bytes in this machine's order, kept up to date.
std::vector<std::string> WithFaults(const FaultPlan& plan, const std::vector<std::string>& command,
                                    const std::string& trace = {}, const std::string& calls = {});
std::vector<FileOperation> ReadTrace(const std::string& file);
std::uint64_t ReadCalls(const std::string& file);

}  // namespace test
