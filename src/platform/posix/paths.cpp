#include "platform/posix/paths.h"

#include "platform/posix/errors.h"
#include "platform/posix/folded_names.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace brevant::posix {
namespace {

bool Exists(const std::string& path, bool* isDirectory) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) return false;
  // A link to a directory is one, for a path that goes on behind it.
  if (S_ISLNK(facts.st_mode) && ::stat(path.c_str(), &facts) != 0) facts.st_mode = S_IFLNK;
  if (isDirectory != nullptr) *isDirectory = S_ISDIR(facts.st_mode);
  return true;
}

Resolved ResolveIgnoringCase(const std::string& path) {
  Resolved result;
  std::string known;  // resolved so far, with a final separator where one is needed
  std::size_t at = 0;
  if (path.front() == '/') known = "/";
  result.directoryFound = true;
  result.found = true;
  while (at < path.size()) {
    const std::size_t start = path.find_first_not_of('/', at);
    if (start == std::string::npos) break;
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string name = path.substr(start, end - start);
    at = end;
    if (!result.found) {
      // What is missing was not the last component.
      result.directoryFound = false;
      result.path = path;
      return result;
    }
    std::string spelled = name;
    if (!Exists(known + name, nullptr)) {
      spelled = FindIgnoringCase(known, name);
      result.found = !spelled.empty();
      if (!result.found) spelled = name;
    }
    result.path = known + spelled;
    known = result.path + "/";
  }
  if (result.path.empty()) result.path = known;
  return result;
}

}  // namespace

std::string NativePath(const char* name) {
  std::string path = name == nullptr ? "" : name;
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

DWORD Resolved::Error() const {
  if (cause != 0) return ErrorFromErrno(cause);
  return directoryFound ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

Resolved Resolve(const char* name) {
  Resolved result;
  std::string path = NativePath(name);
  if (path.empty()) return result;
  const bool mustBeDirectory = path.size() > 1 && path.back() == '/';
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  bool isDirectory = false;
  if (Exists(path, &isDirectory)) {
    result = {path, true, true};
  } else if (errno == ENOENT || errno == ENOTDIR) {
    result = ResolveIgnoringCase(path);
    if (result.found) Exists(result.path, &isDirectory);
  } else {
    result.cause = errno;
    result.path = path;
  }
  if (result.found && mustBeDirectory && !isDirectory) {
    result.found = result.directoryFound = false;
  }
  return result;
}

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string UpperCased(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), UpperAscii);
  return upper;
}

DWORD ErrorFromErrno(int error) {
  switch (error) {
    case 0:
      return ERROR_SUCCESS;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
    case ELOOP:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case ENOTEMPTY:
      return ERROR_DIR_NOT_EMPTY;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case ENAMETOOLONG:
      return ERROR_INVALID_NAME;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV:
      return ERROR_NOT_SAME_DEVICE;
    case EBUSY:
      return ERROR_SHARING_VIOLATION;
    case EOPNOTSUPP:
      return ERROR_NOT_SUPPORTED;
    default:
      return ERROR_GEN_FAILURE;
  }
}

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

BOOL FailForMemory() { return Fail(ERROR_NOT_ENOUGH_MEMORY); }

BOOL FailFromErrno() { return Fail(ErrorFromErrno(errno)); }

}  // namespace brevant::posix
