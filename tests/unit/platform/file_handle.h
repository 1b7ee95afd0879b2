// A file handle that closes itself, for tests.
#pragma once

#include "platform/win32.h"

#include <string>

namespace test {

class FileHandle {
 public:
  FileHandle(const std::string& path, DWORD access, DWORD share, DWORD creation,
             DWORD flags = FILE_ATTRIBUTE_NORMAL)
      : handle_(CreateFileA(path.c_str(), access, share, nullptr, creation, flags, nullptr)),
        error_(GetLastError()) {}
  ~FileHandle() { Close(); }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle_; }
  // The last error right after the opening.
  DWORD Error() const { return error_; }
  void Close() {
    if (IsOpen()) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }
  DWORD Write(const std::string& bytes) const {
    DWORD written = 0;
    WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return written;
  }
  std::string Read(DWORD count) const {
    std::string bytes(count, '\0');
    DWORD read = 0;
    ReadFile(handle_, bytes.data(), count, &read, nullptr);
    bytes.resize(read);
    return bytes;
  }

 private:
  HANDLE handle_;
  DWORD error_;
};

inline constexpr DWORD kReadWrite = DWORD{GENERIC_READ} | DWORD{GENERIC_WRITE};
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;

}  // namespace test
