// What a process did to the files below one directory, in order: enough to rebuild the directory as
// it was after any of the calls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test {

enum class OperationKind : std::uint8_t {
  kCreate,           // a new empty file
  kWrite,            // data at offset
  kResize,           // to offset bytes
  kSync,             // the file's content and size
  kSyncDirectory,    // the names in the directory `path`
  kRename,           // path becomes target, in whose place what stood there
  kUnlink,           //
  kMakeDirectory,    //
  kRemoveDirectory,  //
};

struct FileOperation {
  OperationKind kind = OperationKind::kWrite;
  // Which file, of those that exist at the time; 0 where only names count.
  std::uint64_t file = 0;
  // Relative to the directory, without a final "/"; the directory itself is "".
  std::string path;
  std::string target;
  std::uint64_t offset = 0;
  std::string data;
  // Its number among the watched calls, from 1; those that failed count too.
  std::uint64_t call = 0;
};

// As bytes, for a trace that a process leaves behind. A trace that was cut off in the middle of an
// operation is read up to there.
std::string Serialize(const FileOperation& operation);
std::vector<FileOperation> ParseOperations(const std::string& bytes);
// For messages: "write data/x.mwd 512+1024".
std::string Describe(const FileOperation& operation);

}  // namespace test
