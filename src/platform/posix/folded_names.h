// The names of a directory as Windows compares them: ignoring letter case. A name that is not there
// as spelled would cost a pass over its directory each time, so the last directories asked about
// are remembered for as long as their modification time stands still.
#pragma once

#include <string>
#include <string_view>
#include <sys/stat.h>

namespace brevant::posix {

// The entry of a directory (empty: the current one) that equals name ignoring letter case, of
// several the first in byte order; empty when there is none.
std::string FindIgnoringCase(const std::string& directory, std::string_view name);

// Put around a change that this process makes to a directory, so that what is remembered of it is
// kept up instead of read again: made before the change, told after it. Without a word, or when
// somebody else changed the directory meanwhile, the directory is read again.
class NameChange {
 public:
  // path: the entry that appears or goes, with its directory resolved.
  explicit NameChange(const std::string& path) noexcept;
  void Added() noexcept { Tell(true); }
  void Removed() noexcept { Tell(false); }

 private:
  void Note(const std::string& path);
  void Tell(bool added) noexcept;

  std::string directory_;
  std::string name_;
  timespec before_{};
  bool known_ = false;  // the directory is remembered, and was up to date before the change
};

}  // namespace brevant::posix
