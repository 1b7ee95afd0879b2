// A board on disk: one directory that holds the settings, what a run leaves behind, the data files,
// the templates and the site.
#pragma once

#include "platform.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace host {

// Something that the user can mend; its text is printed and the program ends non-zero.
class UserError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr const char* kSettingsFile = "brevant.ini";
inline constexpr const char* kStateFile = "state.ini";
inline constexpr const char* kLockFile = "brevant.lock";

class BoardDirectory {
 public:
  // Checks that path is a board whose settings file can be used; throws UserError.
  explicit BoardDirectory(const std::string& path);

  // Absolute, with a final "/".
  const std::string& Path() const { return path_; }

  // Takes the board for this process until the result is destroyed; throws UserError when another
  // process has it.
  std::unique_ptr<FileLock> Lock() const;

  // Absolute form of a directory as the user gave it, with a final "/".
  static std::string AbsolutePath(const std::string& path);

 private:
  std::string path_;
};

}  // namespace host
