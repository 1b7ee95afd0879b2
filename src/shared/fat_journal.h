// The journal of a remote file table: what a delivery is about to do on the server, and what it
// did. It is written without sync, which outlives the process, and holds so little that one run's
// is small beside its table.
#pragma once

#include "text/unique_file.h"

#include <brevant/remote_fat.h>

#include <functional>
#include <string>
#include <string_view>

namespace brevant {

class TFatJournal {
 public:
  explicit TFatJournal(const std::string& tablePath) : path_(tablePath + ".jnl") {}

  const std::string& Path() const { return path_; }

  struct TEntry {
    enum class TKind { kInFlight, kArrived, kRemoved, kFailed, kMade, kGone };
    TKind kind = TKind::kInFlight;
    std::string directory;
    TRemoteFileRecord file;  // numbers with kArrived only; kMade and kGone have none
  };
  enum class TFound { kNothing, kJournal, kUnreadable };
  // Hands out what is written there, in order. A last line that the kill cut off counts as not
  // written, as does everything behind a line that is none.
  TFound Read(const std::function<void(const TEntry&)>& take) const;

  // Each is in the file when it returns; false when it cannot be written.
  // The file is about to be stored, renamed or deleted.
  bool InFlight(const std::string& directory, const std::string& name);
  bool Arrived(const std::string& directory, const TRemoteFileRecord& file);
  bool Removed(const std::string& directory, const std::string& name);
  // The file counts as what it was before.
  bool Failed(const std::string& directory, const std::string& name);
  // The directory is there, or is not any more.
  bool Made(const std::string& directory);
  bool Gone(const std::string& directory);

  // Whether anything was written, or Clear called.
  bool Started() const { return static_cast<bool>(file_); }
  // Begins it anew, with nothing in it.
  bool Clear();
  // Removes it.
  bool Delete();

 private:
  bool Write(const std::string& directory, const std::string& line);

  std::string path_;
  UniqueFile file_;
  std::string directory_;  // which the last line was about
};

}  // namespace brevant
