#include "platform/posix/module.h"

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
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

HMODULE LoadLibraryA(const char* name) {
  if (name == nullptr) {
    brevant::posix::Fail(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  // What it needs must be there now, not at some later call.
  const HMODULE module = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) brevant::posix::Fail(ERROR_MOD_NOT_FOUND);
  return module;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  if (module == nullptr || name == nullptr) {
    brevant::posix::Fail(module == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const auto address = reinterpret_cast<FARPROC>(::dlsym(module, name));
  if (address == nullptr) brevant::posix::Fail(ERROR_PROC_NOT_FOUND);
  return address;
}

BOOL FreeLibrary(HMODULE module) {
  if (module != nullptr && ::dlclose(module) == 0) return TRUE;
  return brevant::posix::Fail(ERROR_INVALID_HANDLE);
}

BOOL MessageBeep(UINT) {
  // Only somebody at a terminal can hear it; a log file must not fill with bells.
  if (::isatty(STDERR_FILENO) != 0) {
    const ssize_t ignored = ::write(STDERR_FILENO, "\a", 1);
    static_cast<void>(ignored);
  }
  return TRUE;
}
