#include "platform.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <thread>
#include <vector>
#include <windows.h>

namespace host {

std::string ExecutableDirectory() {
  std::vector<char> path(32768);
  DWORD length = GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size()));
  std::string text(path.data(), length);
  std::size_t end = text.find_last_of("\\/");
  return end == std::string::npos ? std::string{} : text.substr(0, end);
}

// The names of board files reach the platform's structured storage byte by byte, so nothing beyond
// ASCII would arrive there as the name that the file system knows.
std::string BoardPathProblem(const std::string& path) {
  for (char c : path) {
    if (static_cast<unsigned char>(c) >= 128 || c == '?') {
      return "on Windows the path of a board may hold ASCII characters only";
    }
  }
  return {};
}

namespace {

class WindowsFileLock : public FileLock {
 public:
  explicit WindowsFileLock(HANDLE file) : file_(file) {}
  ~WindowsFileLock() override { CloseHandle(file_); }
  WindowsFileLock(const WindowsFileLock&) = delete;
  WindowsFileLock& operator=(const WindowsFileLock&) = delete;

 private:
  HANDLE file_;
};

}  // namespace

std::unique_ptr<FileLock> FileLock::Acquire(const std::string& path, Failure* failure) {
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    *failure = GetLastError() == ERROR_SHARING_VIOLATION ? Failure::kHeld : Failure::kError;
    return nullptr;
  }
  *failure = Failure::kNone;
  return std::make_unique<WindowsFileLock>(file);
}

bool CreateNewFile(const std::string& path, const std::string& content, bool) {
  HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  const bool whole =
      WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != 0 &&
      written == content.size();
  CloseHandle(file);
  if (!whole) DeleteFileA(path.c_str());
  return whole;
}

bool MakeOwnersDirectory(const std::string& path) {
  if (CreateDirectoryA(path.c_str(), nullptr) != 0) return true;
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool OutputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }

int TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 80;
  return info.srWindow.Right - info.srWindow.Left + 1;
}

void SetBinaryStandardStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

namespace {

HANDLE interruptEvent = nullptr;
std::atomic<int> interruptCount{0};
constexpr int kInterruptSignal = 2;

BOOL WINAPI HandleInterrupt(DWORD) {
  if (interruptCount.fetch_add(1) != 0) ExitProcess(128 + kInterruptSignal);
  SetEvent(interruptEvent);
  return TRUE;
}

}  // namespace

struct InterruptWatcher::Impl {
  std::thread thread;
  std::atomic<bool> end{false};
};

InterruptWatcher::InterruptWatcher(std::function<void(int)> onInterrupt)
    : impl_(std::make_unique<Impl>()) {
  interruptEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  if (interruptEvent == nullptr) return;
  interruptCount = 0;
  Impl* impl = impl_.get();
  impl_->thread = std::thread([impl, onInterrupt = std::move(onInterrupt)] {
    WaitForSingleObject(interruptEvent, INFINITE);
    if (!impl->end) onInterrupt(kInterruptSignal);
  });
  SetConsoleCtrlHandler(HandleInterrupt, TRUE);
}

InterruptWatcher::~InterruptWatcher() {
  if (!impl_->thread.joinable()) return;
  SetConsoleCtrlHandler(HandleInterrupt, FALSE);
  impl_->end = true;
  SetEvent(interruptEvent);
  impl_->thread.join();
  CloseHandle(interruptEvent);
  interruptEvent = nullptr;
}

}  // namespace host
