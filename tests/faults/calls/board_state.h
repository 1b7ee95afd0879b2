// A small board on the disk: put back to what it was, and looked at.
#pragma once

#include "document_tree.h"
#include "support/disk_model.h"

#include <filesystem>
#include <map>
#include <string>

namespace faults {

// What a directory holds, by path: the bytes of files, those of the streams of compound files
// ("Data/Talk.mwd:/INFO") and their storages.
using BoardState = std::map<std::string, std::string>;

// The paths at which two states differ, each with what differs.
std::string Difference(const BoardState& expected, const BoardState& found);
// Whether every path holds what it holds in one of the two. Those that begin with `part`, when it
// is not null, may be anything.
bool IsMixtureOf(const BoardState& one, const BoardState& other, const BoardState& state,
                 const std::string* part, std::string* odd);

// Restoring and looking pass over what was not touched in between: all that is restored gets an
// old time.
class BoardKeeper {
 public:
  // Makes the board in the directory, which is empty and ends with "/".
  explicit BoardKeeper(std::string directory);

  void Restore();
  BoardState Look() const;
  const BoardState& Before() const { return before_; }
  const std::string& Directory() const { return directory_; }

 private:
  void Write(const std::string& path) const;
  bool IsUntouched(const std::string& path) const;
  BoardState LookAt(const std::string& path) const;

  std::string directory_;
  test::DiskImage image_;
  std::map<std::string, std::filesystem::file_time_type> times_;
  std::map<std::string, BoardState> states_;  // of each file
  BoardState before_;
};

}  // namespace faults
