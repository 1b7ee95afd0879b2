#include "platform.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace host {

std::string ExecutableDirectory() {
  std::vector<char> path(4096);
  ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return {};
  std::string text(path.data(), static_cast<std::size_t>(length));
  return text.substr(0, text.rfind('/'));
}

std::string BoardPathProblem(const std::string&) { return {}; }

namespace {

class PosixFileLock : public FileLock {
 public:
  explicit PosixFileLock(int file) : file_(file) {}
  ~PosixFileLock() override { close(file_); }
  PosixFileLock(const PosixFileLock&) = delete;
  PosixFileLock& operator=(const PosixFileLock&) = delete;

 private:
  int file_;
};

}  // namespace

std::unique_ptr<FileLock> FileLock::Acquire(const std::string& path, Failure* failure) {
  *failure = Failure::kError;
  int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (file < 0) return nullptr;
  auto lock = std::make_unique<PosixFileLock>(file);
  if (flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) *failure = Failure::kHeld;
    return nullptr;
  }
  *failure = Failure::kNone;
  return lock;
}

bool CreateNewFile(const std::string& path, const std::string& content, bool ownerOnly) {
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly ? 0600 : 0666);
  if (file < 0) return false;
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t put = write(file, content.data() + done, content.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) break;
    done += static_cast<std::size_t>(put);
  }
  const bool whole = close(file) == 0 && done == content.size();
  if (!whole) unlink(path.c_str());
  return whole;
}

bool MakeOwnersDirectory(const std::string& path) {
  struct stat facts {};
  if (mkdir(path.c_str(), 0700) == 0) return true;
  return stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

int TerminalColumns() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

void SetBinaryStandardStreams() {}

namespace {

// The handler may only write to a pipe; the thread at its other end does the work.
int interruptPipe[2] = {-1, -1};
volatile std::sig_atomic_t interruptCount = 0;

extern "C" void HandleInterrupt(int signal) {
  int saved = errno;
  if (interruptCount != 0) _exit(128 + signal);
  interruptCount = 1;
  char byte = static_cast<char>(signal);
  if (write(interruptPipe[1], &byte, 1) != 1) _exit(128 + signal);
  errno = saved;
}

}  // namespace

struct InterruptWatcher::Impl {
  static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
  std::thread thread;
  struct sigaction old[3]{};
};

InterruptWatcher::InterruptWatcher(std::function<void(int)> onInterrupt)
    : impl_(std::make_unique<Impl>()) {
  if (pipe2(interruptPipe, O_CLOEXEC) != 0) return;
  interruptCount = 0;
  impl_->thread = std::thread([onInterrupt = std::move(onInterrupt)] {
    char byte = 0;
    // A zero byte is the destructor's.
    while (read(interruptPipe[0], &byte, 1) < 0 && errno == EINTR) {
    }
    if (byte != 0) onInterrupt(byte);
  });
  struct sigaction action {};
  action.sa_handler = HandleInterrupt;
  action.sa_flags = SA_RESTART;
  for (int i = 0; i < 3; ++i) {
    sigaction(Impl::kSignals[i], nullptr, &impl_->old[i]);
    // What the caller chose to ignore (nohup, a job in the background) stays ignored.
    if (impl_->old[i].sa_handler != SIG_IGN) sigaction(Impl::kSignals[i], &action, nullptr);
  }
}

InterruptWatcher::~InterruptWatcher() {
  if (!impl_->thread.joinable()) return;
  for (int i = 0; i < 3; ++i) sigaction(Impl::kSignals[i], &impl_->old[i], nullptr);
  char end = 0;
  while (write(interruptPipe[1], &end, 1) < 0 && errno == EINTR) {
  }
  impl_->thread.join();
  for (int& file : interruptPipe) {
    close(file);
    file = -1;
  }
}

}  // namespace host
