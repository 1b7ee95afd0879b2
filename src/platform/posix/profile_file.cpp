#include "platform/posix/profile_file.h"

#include "platform/posix/errors.h"
#include "platform/posix/links.h"
#include "platform/posix/paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace brevant::posix {
namespace {

// Time stamps advance in ticks of some milliseconds: a second change within one tick does not show.
constexpr std::int64_t kSettledNanoseconds = 20'000'000;
constexpr std::size_t kKeptFiles = 8;
constexpr int kLockTries = 2000;  // of a millisecond each
// A write within one is never half done, neither by a kill nor by a lost machine.
constexpr std::size_t kSector = 512;

bool SameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool SameFacts(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         SameTime(a.st_mtim, b.st_mtim) && SameTime(a.st_ctim, b.st_ctim);
}

// Whether a change made from now on is sure to get another time stamp.
bool IsOld(const struct stat& facts) {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t age = (now.tv_sec - facts.st_ctim.tv_sec) * std::int64_t{1'000'000'000} +
                           (now.tv_nsec - facts.st_ctim.tv_nsec);
  return age >= kSettledNanoseconds;
}

bool WriteAll(int descriptor, const char* bytes, std::size_t size, off_t at) {
  while (size > 0) {
    const ssize_t put = ::pwrite(descriptor, bytes, size, at);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    bytes += put;
    at += put;
    size -= static_cast<std::size_t>(put);
  }
  return true;
}

std::string FollowLinks(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? path : real.get();
}

}  // namespace

// One writer at a time, between processes too. Readers that have to read wait for a writer so that
// they do not see half a value.
class ProfileFile::Lock {
 public:
  Lock(const int& descriptor, int mode) : current_(descriptor), descriptor_(descriptor) {
    for (int i = 0; i < kLockTries && !(held_ = ::flock(descriptor_, mode | LOCK_NB) == 0); ++i) {
      if (errno != EWOULDBLOCK && errno != EINTR) {
        held_ = true;  // a file system without locks
        return;
      }
      const timespec pause{0, 1'000'000};
      ::nanosleep(&pause, nullptr);
    }
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  // A file that was closed meanwhile has lost its lock, and its number may be somebody else's.
  ~Lock() {
    if (current_ == descriptor_) ::flock(descriptor_, LOCK_UN);
  }
  bool IsHeld() const { return held_; }

 private:
  const int& current_;
  int descriptor_;
  bool held_ = false;
};

void ProfileFile::Forget() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  known_ = false;
}

bool ProfileFile::Open(bool create) {
  Forget();
  const Resolved resolved = Resolve(name_.c_str());
  if (!resolved.found && !(create && resolved.directoryFound)) return Fail(resolved.Error()) != 0;
  spelled_ = resolved.path;
  path_ = resolved.found ? FollowLinks(resolved.path) : resolved.path;
  constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  writable_ = true;
  // A new one is its owner's alone: settings hold passwords.
  // Reading goes wherever a link leads, writing only where it stays in its directory.
  descriptor_ = OpenWithoutLeaving(spelled_, O_RDWR | kAlways | (create ? O_CREAT : 0), 0600);
  if (descriptor_ < 0 && !create && (errno == EACCES || errno == EROFS || errno == EPERM)) {
    writable_ = false;
    descriptor_ = ::open(path_.c_str(), O_RDONLY | kAlways);
  }
  struct stat facts {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &facts) != 0) return FailFromErrno() != 0;
  if (S_ISREG(facts.st_mode)) return true;
  Forget();
  return Fail(ERROR_ACCESS_DENIED) != 0;
}

// Whether the path still leads to the open file, with its facts. Asked of the path before links
// were followed, which may lead elsewhere by now.
bool ProfileFile::IsStillTheFile(struct stat* facts) const {
  struct stat open {};
  if (descriptor_ < 0 || ::stat(spelled_.c_str(), facts) != 0) return false;
  if (known_) return facts->st_dev == facts_.st_dev && facts->st_ino == facts_.st_ino;
  return ::fstat(descriptor_, &open) == 0 && facts->st_dev == open.st_dev &&
         facts->st_ino == open.st_ino;
}

// One call reads a file of the expected size; only another size takes more.
bool ProfileFile::ReadBytes(std::size_t expected, std::string* bytes) const {
  constexpr std::size_t kStep = std::size_t{16} * 1024;
  if (expected > kLargestProfile) return Fail(ERROR_NOT_ENOUGH_MEMORY) != 0;
  bytes->resize(expected);
  std::size_t size = 0;
  for (;;) {
    const ssize_t got =
        ::pread(descriptor_, bytes->data() + size, bytes->size() - size, static_cast<off_t>(size));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return FailFromErrno() != 0;
    size += static_cast<std::size_t>(got);
    if (got == 0 || size == expected) break;
    if (size > kLargestProfile) return Fail(ERROR_NOT_ENOUGH_MEMORY) != 0;
    if (size == bytes->size()) bytes->resize(size + std::max(kStep, size));
  }
  bytes->resize(size);
  return true;
}

void ProfileFile::Remember(const struct stat& facts) {
  facts_ = facts;
  known_ = true;
  settled_ = false;
}

// Brings text_ up to date with the open file, whose facts the caller has just taken.
bool ProfileFile::Refresh(const struct stat& facts) {
  const bool same = known_ && SameFacts(facts, facts_);
  if (same && settled_) return true;
  // Decided before the reading: what is written after it has another time stamp.
  const bool old = IsOld(facts);
  std::string bytes;
  if (!ReadBytes(static_cast<std::size_t>(facts.st_size), &bytes)) {
    Forget();
    return false;
  }
  if (!known_ || bytes != text_.Bytes()) text_ = ProfileText(std::move(bytes));
  Remember(facts);
  settled_ = old;
  return true;
}

const ProfileText* ProfileFile::Read() {
  struct stat facts {};
  if (!IsStillTheFile(&facts)) {
    if (!Open(false)) return nullptr;
    if (::fstat(descriptor_, &facts) != 0) {
      FailFromErrno();
      Forget();
      return nullptr;
    }
  }
  if (known_ && settled_ && SameFacts(facts, facts_)) return &text_;
  const Lock lock(descriptor_, LOCK_SH);
  // A writer may have finished while this one waited; the file it left behind is a whole one too.
  return ::fstat(descriptor_, &facts) == 0 && Refresh(facts) ? &text_ : nullptr;
}

BOOL ProfileFile::Write(const Decision& decide, bool sync) {
  // Again when another writer put a new file in the place of the one that was waited for.
  for (int attempt = 0; attempt < 100; ++attempt) {
    if (descriptor_ < 0 && !Open(true)) return FALSE;
    struct stat facts {};
    const Lock lock(descriptor_, LOCK_EX);
    if (!lock.IsHeld()) return Fail(ERROR_SHARING_VIOLATION);
    if (!IsStillTheFile(&facts)) {
      if (!Open(true)) return FALSE;
      continue;
    }
    if (!Refresh(facts)) return FALSE;
    const std::optional<ProfileText::Change> change = decide(text_);
    if (!change) return TRUE;
    if (!writable_) return Fail(ERROR_ACCESS_DENIED);
    const bool fits = change->begin % kSector + change->length <= kSector;
    if (fits && change->length == change->replacement.size()) {
      if (WriteInPlace(*change)) return TRUE;
    } else {
      std::string bytes = text_.Bytes();
      bytes.replace(change->begin, change->length, change->replacement);
      if (bytes.size() > kLargestProfile) return Fail(ERROR_DISK_FULL);
      if (WriteNewFile(bytes, sync)) {
        text_ = ProfileText(std::move(bytes));
        return TRUE;
      }
    }
    const DWORD error = ErrorFromErrno(errno);
    Forget();
    return Fail(error);
  }
  return Fail(ERROR_SHARING_VIOLATION);
}

bool ProfileFile::WriteInPlace(const ProfileText::Change& change) {
  if (!WriteAll(descriptor_, change.replacement.data(), change.replacement.size(),
                static_cast<off_t>(change.begin))) {
    return false;
  }
  text_.Apply(change);
  settled_ = false;
  return true;
}

// For a file in a directory that takes no new ones.
bool ProfileFile::Overwrite(const std::string& bytes) {
  settled_ = false;
  return WriteAll(descriptor_, bytes.data(), bytes.size(), 0) &&
         ::ftruncate(descriptor_, static_cast<off_t>(bytes.size())) == 0;
}

// An empty file beside the profile, with its owner and permissions; -1 with errno set. facts are
// the new file's as it was made.
int ProfileFile::MakeBeside(const std::string& path, struct stat* facts) const {
  constexpr int kMode = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
  int made = ::open(path.c_str(), kMode, 0600);
  if (made < 0 && errno == EEXIST) {
    // Left over from a killed process; the lock says that nobody else is at it.
    ::unlink(path.c_str());
    made = ::open(path.c_str(), kMode, 0600);
  }
  if (made < 0) return -1;
  const auto giveUp = [&] {
    const int error = errno;
    ::close(made);
    ::unlink(path.c_str());
    errno = error;
    return -1;
  };
  if (::fstat(made, facts) != 0) return giveUp();
  if (facts->st_uid != facts_.st_uid || facts->st_gid != facts_.st_gid) {
    // The owner can be kept by the superuser only.
    const int owned = ::fchown(made, facts_.st_uid, facts_.st_gid);
    static_cast<void>(owned);
  }
  const bool same = (facts->st_mode & 07777U) == (facts_.st_mode & 07777U);
  return same || ::fchmod(made, facts_.st_mode & 07777U) == 0 ? made : giveUp();
}

bool ProfileFile::WriteNewFile(const std::string& bytes, bool sync) {
  const std::string path = path_ + ".new~";
  struct stat facts {};
  const int made = MakeBeside(path, &facts);
  if (made < 0) return errno == EACCES && Overwrite(bytes);
  // Blocks that are there already keep the file system from writing them out at the rename.
  if (!sync && !bytes.empty()) {
    const int room = ::fallocate(made, 0, 0, static_cast<off_t>(bytes.size()));
    static_cast<void>(room);
  }
  const bool done = WriteAll(made, bytes.data(), bytes.size(), 0) &&
                    (!sync || ::fsync(made) == 0) && ::rename(path.c_str(), path_.c_str()) == 0;
  if (!done) {
    const int error = errno;
    ::close(made);
    ::unlink(path.c_str());
    errno = error;
    return false;
  }
  ::close(descriptor_);
  descriptor_ = made;
  Remember(facts);
  return true;
}

ProfileFile& ProfileCache::Get(const std::string& name) {
  const auto found = std::find_if(files_.begin(), files_.end(),
                                  [&](const ProfileFile& file) { return file.Name() == name; });
  if (found != files_.end()) {
    files_.splice(files_.begin(), files_, found);
  } else {
    if (files_.size() >= kKeptFiles) files_.pop_back();
    files_.emplace_front(name);
  }
  return files_.front();
}

}  // namespace brevant::posix
