// The one owner of an open file handle.
#pragma once

#include "platform/win32.h"

#include <string>
#include <utility>

namespace brevant {

class UniqueFile {
 public:
  UniqueFile() = default;
  explicit UniqueFile(HANDLE handle) : handle_(handle) {}
  UniqueFile(UniqueFile&& other) noexcept
      : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  UniqueFile& operator=(UniqueFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~UniqueFile() { Close(); }

  // An existing file, read from its start to its end.
  static UniqueFile OpenToRead(const std::string& path) {
    return UniqueFile(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  }

  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle_; }
  // False when nothing was open, or when the platform could not complete what was written.
  bool Close() {
    const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
    return handle != INVALID_HANDLE_VALUE && CloseHandle(handle) != 0;
  }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

}  // namespace brevant
