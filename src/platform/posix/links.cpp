#include "platform/posix/links.h"

#include "platform/posix/file_io.h"
#include "platform/posix/paths.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace brevant {
namespace posix {
namespace {

// Empty when the path leads nowhere.
std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? std::string() : std::string(real.get());
}

// Both real; a root directory holds everything.
bool IsBelow(const std::string& path, const std::string& directory) {
  if (directory.empty()) return false;
  const std::string start = directory.back() == '/' ? directory : directory + "/";
  return path.starts_with(start);
}

}  // namespace

bool IsLink(const std::string& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 && S_ISLNK(facts.st_mode);
}

std::string TargetWithoutLeaving(const std::string& link) {
  const std::string directory = link.substr(0, link.find_last_of('/') + 1);
  std::string target = RealPath(link);
  if (!IsBelow(target, RealPath(directory.empty() ? "." : directory))) target.clear();
  return target;
}

int OpenWithoutLeaving(const std::string& path, int mode, unsigned permissions) {
  const int descriptor = ::open(path.c_str(), mode | O_NOFOLLOW, permissions);
  if (descriptor >= 0 || errno != ELOOP || !IsLink(path)) return descriptor;
  const std::string target = TargetWithoutLeaving(path);
  if (target.empty()) {
    errno = EACCES;
    return -1;
  }
  // What is there: a link is no place for a new file.
  return ::open(target.c_str(), (mode & ~(O_CREAT | O_EXCL)) | O_NOFOLLOW);
}

}  // namespace posix

bool LeadsOut(const char* path, const char* directory) {
  const posix::Resolved file = posix::Resolve(path);
  if (!file.found || !posix::IsLink(file.path)) return false;
  if (directory == nullptr) return posix::TargetWithoutLeaving(file.path).empty();
  const std::string root = posix::Resolve(directory).path;
  return !posix::IsBelow(posix::RealPath(file.path), posix::RealPath(root));
}

}  // namespace brevant
