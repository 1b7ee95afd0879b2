// Profile files on disk: kept parsed, checked by one stat, changed in place or through a new file.
// Below the seam only. Not for several threads at once: the callers hold one lock.
#pragma once

#include "platform/posix/profile_text.h"

#include <brevant/platform_types.h>

#include <functional>
#include <list>
#include <string>
#include <sys/stat.h>

namespace brevant::posix {

class ProfileFile {
 public:
  // The path as the caller names it, with slashes.
  explicit ProfileFile(std::string name) : name_(std::move(name)) {}
  ProfileFile(const ProfileFile&) = delete;
  ProfileFile& operator=(const ProfileFile&) = delete;
  ~ProfileFile() { Forget(); }

  const std::string& Name() const { return name_; }

  // The file as it is now; null with the last error set when it is missing or cannot be read.
  const ProfileText* Read();

  // Makes the change that decide finds necessary; a missing file is made first. FALSE with the last
  // error set when the file cannot be written; then it is as it was.
  using Decision = std::function<std::optional<ProfileText::Change>(const ProfileText&)>;
  BOOL Write(const Decision& decide, bool sync);

 private:
  class Lock;

  bool Open(bool create);
  bool IsStillTheFile(struct stat* facts) const;
  bool Refresh(const struct stat& facts);
  bool ReadBytes(std::size_t expected, std::string* bytes) const;
  bool WriteInPlace(const ProfileText::Change& change);
  bool WriteNewFile(const std::string& bytes, bool sync);
  int MakeBeside(const std::string& path, struct stat* facts) const;
  bool Overwrite(const std::string& bytes);
  void Remember(const struct stat& facts);
  void Forget();

  std::string name_;
  std::string spelled_;  // as the file system spells it
  std::string path_;     // the same, links followed
  int descriptor_ = -1;
  bool writable_ = false;
  bool known_ = false;    // text_ is what the file held when it was last read or written
  bool settled_ = false;  // and any later change shows in facts_
  struct stat facts_ {};
  ProfileText text_;
};

// The files used last, most recent first.
class ProfileCache {
 public:
  // The file of that name; good until the next call.
  ProfileFile& Get(const std::string& name);

 private:
  std::list<ProfileFile> files_;
};

}  // namespace brevant::posix
