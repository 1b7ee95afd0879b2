#include "platform/posix/module.h"

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <unistd.h>

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) try {
  if (module != nullptr || path == nullptr || size == 0) {
    brevant::posix::Fail(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::string name(256, '\0');
  ssize_t length = 0;
  while ((length = ::readlink("/proc/self/exe", name.data(), name.size())) >=
         static_cast<ssize_t>(name.size())) {
    name.resize(name.size() * 2);
  }
  if (length < 0) {
    brevant::posix::FailFromErrno();
    return 0;
  }
  name.resize(static_cast<std::size_t>(length));
  const std::size_t copied = std::min(name.size(), static_cast<std::size_t>(size) - 1);
  std::memcpy(path, name.data(), copied);
  path[copied] = '\0';
  if (copied == name.size()) return static_cast<DWORD>(copied);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
} catch (const std::bad_alloc&) {
  return brevant::posix::FailForMemory(), 0;
}

BOOL MessageBeep(UINT) {
  // Only somebody at a terminal can hear it; a log file must not fill with bells.
  if (::isatty(STDERR_FILENO) != 0) {
    const ssize_t ignored = ::write(STDERR_FILENO, "\a", 1);
    static_cast<void>(ignored);
  }
  return TRUE;
}
