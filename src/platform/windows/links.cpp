#include "platform/win32.h"

#include <string>

namespace brevant {
namespace {

// The path without links, as the system names it; empty when it leads nowhere.
std::string RealPath(const char* path) {
  const HANDLE handle = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  std::string real(32768, '\0');  // the longest path there is
  const DWORD length = GetFinalPathNameByHandleA(handle, real.data(),
                                                 static_cast<DWORD>(real.size()), VOLUME_NAME_DOS);
  CloseHandle(handle);
  real.resize(length < real.size() ? length : 0);
  return real;
}

}  // namespace

bool LeadsOut(const char* path, const char* directory) {
  const DWORD attributes = GetFileAttributesA(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    return false;
  }
  std::string own = path;
  own.resize(own.find_last_of("/\\:") + 1);
  if (own.empty()) own = ".";
  const std::string real = RealPath(path);
  std::string start = RealPath(directory == nullptr ? own.c_str() : directory);
  if (start.empty() || real.empty()) return true;
  if (start.back() != '\\') start += '\\';
  return real.compare(0, start.size(), start) != 0;
}

}  // namespace brevant
