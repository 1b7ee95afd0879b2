// A directory that no link may lead the library into, and what becomes of it.
#pragma once

#include "support/temporary_directory.h"

#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/stat.h>

namespace test {

class Outside {
 public:
  explicit Outside(const std::string& secret = "the outside's own\r\n") {
    WriteFileBytes(directory_ / "victim", secret);
    std::filesystem::create_directory(directory_ / "inner");
    WriteFileBytes(directory_ / "inner/deep", secret);
    Remember();
  }

  // From now on everything has to stay as it is.
  void Remember() { before_ = Look(); }
  std::string Path(const std::string& name) const { return directory_ / name; }
  std::string Victim() const { return Path("victim"); }
  std::string Nothing() const { return Path("nothing"); }

  // Whether every entry is there with the bytes, mode, owner and times (that of the last change of
  // its facts, too) that it had, and no other.
  void ExpectUntouched() const { EXPECT_EQ(Look(), before_); }

 private:
  std::map<std::string, std::string> Look() const {
    std::map<std::string, std::string> facts;
    facts["."] = Describe(directory_.Path());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.Path())) {
      facts[entry.path().string()] = Describe(entry.path().string());
    }
    return facts;
  }
  static std::string Describe(const std::string& path) {
    struct stat facts {};
    if (::lstat(path.c_str(), &facts) != 0) return "gone";
    const auto text = [](const timespec& time) {
      return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
    };
    return std::to_string(facts.st_ino) + " " + std::to_string(facts.st_mode) + " " +
           std::to_string(facts.st_uid) + " " + text(facts.st_mtim) + " " + text(facts.st_ctim) +
           " " + (S_ISREG(facts.st_mode) ? ReadFileBytes(path) : std::string());
  }

  TemporaryDirectory directory_;
  std::map<std::string, std::string> before_;
};

// A symbolic link at path, in the place of whatever stands there.
inline void MakeLink(const std::string& path, const std::string& target) {
  std::filesystem::remove_all(path);
  std::filesystem::create_symlink(target, path);
}

// Gives the link itself a time of five hours ago: what is newer than its page's sources is its
// owner's.
inline void AgeLink(const std::string& path) {
  const timespec then{::time(nullptr) - 5 * 3600, 0};
  const timespec times[2] = {then, then};
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

inline bool IsLink(const std::string& path) { return std::filesystem::is_symlink(path); }

}  // namespace test
