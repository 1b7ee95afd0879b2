// A new empty directory, removed with all it holds when the object goes.
#pragma once

#include <string>

namespace test {

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  // The directory's absolute path with a final "/".
  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + name; }

 private:
  std::string path_;
};

// The whole file; empty when there is none.
std::string ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, const std::string& bytes);
bool FileExists(const std::string& path);

}  // namespace test
