// The C library's names, taken over. Everything goes straight to the kernel: the next definition of
// a name would have to be looked up, which is too early at a program's start.
#include "support/posix/fault_state.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#define TAKEN_OVER extern "C" __attribute__((visibility("default")))

namespace {

using test::FaultState;
using test::FileOperation;
using test::OperationKind;

int Fail(int error) {
  errno = error;
  return -1;
}

struct stat FactsOf(int descriptor) {
  struct stat facts {};
  ::fstat(descriptor, &facts);
  return facts;
}

FileOperation Operation(OperationKind kind, const std::string& path, std::uint64_t file = 0,
                        std::uint64_t offset = 0) {
  FileOperation operation;
  operation.kind = kind;
  operation.path = path;
  operation.file = file;
  operation.offset = offset;
  return operation;
}

int Open(int directory, const char* name, int flags, mode_t mode) {
  const auto perform = [&] {
    return static_cast<int>(::syscall(SYS_openat, directory, name, flags, mode));
  };
  FaultState& state = FaultState::Instance();
  if (!state.Active() || (flags & (O_CREAT | O_TRUNC)) == 0) return perform();
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(FaultState::Absolute(directory, name));
  if (!path) return perform();
  struct stat before {};
  const bool isNew = ::fstatat(directory, name, &before, 0) != 0 && errno == ENOENT;
  const FaultState::Verdict verdict =
      state.Next(isNew ? OperationKind::kCreate : OperationKind::kResize, isNew);
  if (verdict.error != 0) return Fail(verdict.error);
  const int descriptor = perform();
  if (descriptor >= 0 && isNew) {
    state.Record(Operation(OperationKind::kCreate, *path, FactsOf(descriptor).st_ino));
  } else if (descriptor >= 0 && (flags & O_TRUNC) != 0) {
    state.Record(Operation(OperationKind::kResize, *path, FactsOf(descriptor).st_ino));
  }
  const int error = errno;
  FaultState::Finish(verdict);
  errno = error;
  return descriptor;
}

// The argument that only an opening that may make a file has.
mode_t NewMode(int flags, va_list rest) {
  return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
}

// What a short write takes: about half, up to the boundary of a sector, as a full disk does. 0
// where there is no such boundary.
std::size_t ShortCount(off_t offset, std::size_t count) {
  constexpr off_t kSector = 512;
  const off_t half = (offset + static_cast<off_t>(count + 1) / 2) / kSector * kSector;
  const off_t first = (offset / kSector + 1) * kSector;
  const off_t boundary = half > offset ? half : first;
  return boundary < offset + static_cast<off_t>(count) ? static_cast<std::size_t>(boundary - offset)
                                                       : 0;
}

// at < 0: at the descriptor's own position.
ssize_t Write(int descriptor, const char* bytes, std::size_t count, off_t at) {
  const auto perform = [&](std::size_t amount) -> ssize_t {
    return at < 0 ? ::syscall(SYS_write, descriptor, bytes, amount)
                  : ::syscall(SYS_pwrite64, descriptor, bytes, amount, at);
  };
  FaultState& state = FaultState::Instance();
  if (!state.Active()) return perform(count);
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(descriptor);
  if (!path) return perform(count);
  const struct stat facts = FactsOf(descriptor);
  const bool appends = (::fcntl(descriptor, F_GETFL) & O_APPEND) != 0;
  const off_t offset = appends ? facts.st_size : (at < 0 ? ::lseek(descriptor, 0, SEEK_CUR) : at);
  const bool grows = offset + static_cast<off_t>(count) > facts.st_size;
  const FaultState::Verdict verdict = state.Next(OperationKind::kWrite, grows);
  if (verdict.error != 0) return Fail(verdict.error);
  const std::size_t amount = verdict.shortened ? ShortCount(offset, count) : count;
  if (verdict.shortened && amount == 0) return Fail(state.ForgoShort());
  const ssize_t done = perform(amount);
  if (done > 0) {
    FileOperation operation =
        Operation(OperationKind::kWrite, *path, facts.st_ino, static_cast<std::uint64_t>(offset));
    operation.data.assign(bytes, static_cast<std::size_t>(done));
    state.Record(std::move(operation));
  }
  FaultState::Finish(verdict);
  return done;
}

ssize_t WriteVector(int descriptor, const iovec* pieces, int count, off_t at) {
  std::string bytes;
  for (int i = 0; i < count; ++i) {
    bytes.append(static_cast<const char*>(pieces[i].iov_base), pieces[i].iov_len);
  }
  return Write(descriptor, bytes.data(), bytes.size(), at);
}

int Sync(long call, int descriptor) {
  FaultState& state = FaultState::Instance();
  const auto perform = [&] {
    return state.SkipsSyncs() ? 0 : static_cast<int>(::syscall(call, descriptor));
  };
  if (!state.Active()) return perform();
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(descriptor);
  if (!path) return perform();
  const struct stat facts = FactsOf(descriptor);
  const OperationKind kind =
      S_ISDIR(facts.st_mode) ? OperationKind::kSyncDirectory : OperationKind::kSync;
  const FaultState::Verdict verdict = state.Next(kind, false);
  if (verdict.error != 0) return Fail(verdict.error);
  const int result = perform();
  if (result == 0) state.Record(Operation(kind, *path, facts.st_ino));
  FaultState::Finish(verdict);
  return result;
}

// What sets a file's length; `reached` gives the length afterwards.
template <typename Perform, typename Reached>
int Resize(int descriptor, off_t wanted, const Perform& perform, const Reached& reached) {
  FaultState& state = FaultState::Instance();
  if (!state.Active()) return perform();
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(descriptor);
  if (!path) return perform();
  const FaultState::Verdict verdict =
      state.Next(OperationKind::kResize, wanted > FactsOf(descriptor).st_size);
  if (verdict.error != 0) return Fail(verdict.error);
  const int result = perform();
  if (result == 0) {
    state.Record(Operation(OperationKind::kResize, *path, FactsOf(descriptor).st_ino,
                           static_cast<std::uint64_t>(reached())));
  }
  FaultState::Finish(verdict);
  return result;
}

int Allocate(int descriptor, int mode, off_t offset, off_t length) {
  return Resize(
      descriptor, offset + length,
      [&] { return static_cast<int>(::syscall(SYS_fallocate, descriptor, mode, offset, length)); },
      [&] { return FactsOf(descriptor).st_size; });
}

int Rename(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) {
  const auto perform = [&] {
    return static_cast<int>(::syscall(SYS_renameat2, fromDirectory, from, toDirectory, to, flags));
  };
  FaultState& state = FaultState::Instance();
  if (!state.Active()) return perform();
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(FaultState::Absolute(fromDirectory, from));
  const auto target = state.Below(FaultState::Absolute(toDirectory, to));
  if (!path || !target) return perform();
  const FaultState::Verdict verdict = state.Next(OperationKind::kRename, false);
  if (verdict.error != 0) return Fail(verdict.error);
  const int result = perform();
  const int error = errno;
  if (result == 0) {
    FileOperation operation = Operation(OperationKind::kRename, *path);
    operation.target = *target;
    state.Record(std::move(operation));
  }
  FaultState::Finish(verdict);
  errno = error;
  return result;
}

// What makes or removes a name.
template <typename Perform>
int ChangeName(OperationKind kind, int directory, const char* name, const Perform& perform) {
  FaultState& state = FaultState::Instance();
  if (!state.Active()) return perform();
  const std::lock_guard<std::mutex> guard(state.Mutex());
  const auto path = state.Below(FaultState::Absolute(directory, name));
  if (!path) return perform();
  const FaultState::Verdict verdict = state.Next(kind, kind == OperationKind::kMakeDirectory);
  if (verdict.error != 0) return Fail(verdict.error);
  const int result = perform();
  const int error = errno;
  if (result == 0) state.Record(Operation(kind, *path));
  FaultState::Finish(verdict);
  errno = error;
  return result;
}

int Unlink(int directory, const char* name, int flags) {
  const bool isDirectory = (flags & AT_REMOVEDIR) != 0;
  return ChangeName(
      isDirectory ? OperationKind::kRemoveDirectory : OperationKind::kUnlink, directory, name,
      [&] { return static_cast<int>(::syscall(SYS_unlinkat, directory, name, flags)); });
}

}  // namespace

TAKEN_OVER int open(const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = NewMode(flags, rest);
  va_end(rest);
  return Open(AT_FDCWD, name, flags, mode);
}

TAKEN_OVER int open64(const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = NewMode(flags, rest);
  va_end(rest);
  return Open(AT_FDCWD, name, flags, mode);
}

TAKEN_OVER int openat(int directory, const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = NewMode(flags, rest);
  va_end(rest);
  return Open(directory, name, flags, mode);
}

TAKEN_OVER int openat64(int directory, const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = NewMode(flags, rest);
  va_end(rest);
  return Open(directory, name, flags, mode);
}

TAKEN_OVER int creat(const char* name, mode_t mode) {
  return Open(AT_FDCWD, name, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

TAKEN_OVER ssize_t write(int descriptor, const void* bytes, size_t count) {
  return Write(descriptor, static_cast<const char*>(bytes), count, -1);
}

TAKEN_OVER ssize_t pwrite(int descriptor, const void* bytes, size_t count, off_t at) {
  if (at < 0) return Fail(EINVAL);
  return Write(descriptor, static_cast<const char*>(bytes), count, at);
}

TAKEN_OVER ssize_t pwrite64(int descriptor, const void* bytes, size_t count, off64_t at) {
  return pwrite(descriptor, bytes, count, at);
}

TAKEN_OVER ssize_t writev(int descriptor, const iovec* pieces, int count) {
  return WriteVector(descriptor, pieces, count, -1);
}

TAKEN_OVER ssize_t pwritev(int descriptor, const iovec* pieces, int count, off_t at) {
  if (at < 0) return Fail(EINVAL);
  return WriteVector(descriptor, pieces, count, at);
}

TAKEN_OVER ssize_t pwritev64(int descriptor, const iovec* pieces, int count, off64_t at) {
  return pwritev(descriptor, pieces, count, at);
}

TAKEN_OVER int fsync(int descriptor) { return Sync(SYS_fsync, descriptor); }

TAKEN_OVER int fdatasync(int descriptor) { return Sync(SYS_fdatasync, descriptor); }

TAKEN_OVER int ftruncate(int descriptor, off_t size) noexcept {
  return Resize(
      descriptor, size,
      [&] { return static_cast<int>(::syscall(SYS_ftruncate, descriptor, size)); },
      [&] { return size; });
}

TAKEN_OVER int ftruncate64(int descriptor, off64_t size) noexcept {
  return ftruncate(descriptor, size);
}

TAKEN_OVER int fallocate(int descriptor, int mode, off_t offset, off_t length) {
  return Allocate(descriptor, mode, offset, length);
}

TAKEN_OVER int fallocate64(int descriptor, int mode, off64_t offset, off64_t length) {
  return Allocate(descriptor, mode, offset, length);
}

TAKEN_OVER int posix_fallocate(int descriptor, off_t offset, off_t length) {
  const int before = errno;
  const int error = Allocate(descriptor, 0, offset, length) == 0 ? 0 : errno;
  errno = before;
  return error;
}

TAKEN_OVER int posix_fallocate64(int descriptor, off64_t offset, off64_t length) {
  return posix_fallocate(descriptor, offset, length);
}

TAKEN_OVER int rename(const char* from, const char* to) noexcept {
  return Rename(AT_FDCWD, from, AT_FDCWD, to, 0);
}

TAKEN_OVER int renameat(int fromDirectory, const char* from, int toDirectory,
                        const char* to) noexcept {
  return Rename(fromDirectory, from, toDirectory, to, 0);
}

TAKEN_OVER int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                         unsigned flags) noexcept {
  return Rename(fromDirectory, from, toDirectory, to, flags);
}

TAKEN_OVER int unlink(const char* name) noexcept { return Unlink(AT_FDCWD, name, 0); }

TAKEN_OVER int unlinkat(int directory, const char* name, int flags) noexcept {
  return Unlink(directory, name, flags);
}

TAKEN_OVER int rmdir(const char* name) noexcept { return Unlink(AT_FDCWD, name, AT_REMOVEDIR); }

TAKEN_OVER int mkdir(const char* name, mode_t mode) noexcept {
  return ChangeName(OperationKind::kMakeDirectory, AT_FDCWD, name,
                    [&] { return static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, name, mode)); });
}
