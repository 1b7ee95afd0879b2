// The library's calls to the system, led here by the linker: NAME comes as __wrap_NAME and the
// system's own is __real_NAME. The list of names is in tests/support/CMakeLists.txt.
#include "support/failing_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <initializer_list>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using test::CallFault;

struct State {
  bool active = false;
  CallFault fault = CallFault::kNone;
  long at = 0;
  long count = 0;
  const char* struck = nullptr;
  int error = 0;
};
thread_local State state;

enum Kind : unsigned { kPlain = 0, kInterruptible = 1, kTransfer = 2 };

// Counts a call. Gives the error with which it is to fail, 0 for none.
int Next(const char* name, unsigned kind, std::initializer_list<int> errors) {
  if (!state.active || state.fault == CallFault::kShort) return 0;
  if (state.fault == CallFault::kInterrupted && (kind & kInterruptible) == 0) return 0;
  if (++state.count != state.at || state.fault == CallFault::kNone) return 0;
  state.struck = name;
  state.error = state.fault == CallFault::kInterrupted
                    ? EINTR
                    : errors.begin()[static_cast<std::size_t>(state.at) % errors.size()];
  return state.error;
}

// What a transfer of so many bytes is to move.
std::size_t Amount(const char* name, std::size_t count) {
  if (!state.active || state.fault != CallFault::kShort || count < 2) return count;
  if (++state.count != state.at) return count;
  state.struck = name;
  return count / 2;
}

int Fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

// A call that fails with one of the errors, or is made.
#define WRAPPED(type, name, parameters, arguments, kind, ...)  \
  extern "C" type __real_##name parameters;                    \
  extern "C" type __wrap_##name parameters {                   \
    const int error = Next(#name, kind, __VA_ARGS__);          \
    return error != 0 ? Fail(error) : __real_##name arguments; \
  }
// One that gives a pointer.
#define WRAPPED_POINTER(type, name, parameters, arguments, ...)             \
  extern "C" type __real_##name parameters;                                 \
  extern "C" type __wrap_##name parameters {                                \
    const int error = Next(#name, kPlain, __VA_ARGS__);                     \
    return error != 0 ? (errno = error, nullptr) : __real_##name arguments; \
  }

using Errors = std::initializer_list<int>;

// --- Transfers -----------------------------------------------------------------------------------

#define WRAPPED_TRANSFER(name, parameters, arguments, ...)                  \
  extern "C" ssize_t __real_##name parameters;                              \
  extern "C" ssize_t __wrap_##name parameters {                             \
    const int error = Next(#name, kInterruptible | kTransfer, __VA_ARGS__); \
    if (error != 0) return Fail(error);                                     \
    count = Amount(#name, count);                                           \
    return __real_##name arguments;                                         \
  }

WRAPPED_TRANSFER(read, (int file, void* bytes, size_t count), (file, bytes, count), {EIO})
WRAPPED_TRANSFER(pread, (int file, void* bytes, size_t count, off_t at), (file, bytes, count, at),
                 {EIO})
WRAPPED_TRANSFER(write, (int file, const void* bytes, size_t count), (file, bytes, count),
                 {ENOSPC, EIO, EDQUOT, EFBIG})
WRAPPED_TRANSFER(pwrite, (int file, const void* bytes, size_t count, off_t at),
                 (file, bytes, count, at), {ENOSPC, EIO, EDQUOT, EFBIG})
WRAPPED_TRANSFER(recv, (int socket, void* bytes, size_t count, int flags),
                 (socket, bytes, count, flags), {ECONNRESET, ENOMEM, ETIMEDOUT})
WRAPPED_TRANSFER(send, (int socket, const void* bytes, size_t count, int flags),
                 (socket, bytes, count, flags), {ECONNRESET, EPIPE, ENOBUFS})
WRAPPED_TRANSFER(sendto,
                 (int socket, const void* bytes, size_t count, int flags, const sockaddr* to,
                  socklen_t size),
                 (socket, bytes, count, flags, to, size), {ENOBUFS, ENETUNREACH})

// --- Files ---------------------------------------------------------------------------------------

extern "C" int __real_open(const char* name, int flags, ...);
extern "C" int __wrap_open(const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const int error = (flags & O_CREAT) != 0
                        ? Next("open", kPlain, Errors{EMFILE, ENOSPC, EIO, EACCES, ENFILE})
                        : Next("open", kPlain, Errors{EMFILE, ENOMEM, EIO, ENFILE});
  return error != 0 ? Fail(error) : __real_open(name, flags, mode);
}
WRAPPED(int, __open_2, (const char* name, int flags), (name, flags), kPlain,
        Errors{EMFILE, ENOMEM, EIO, ENFILE})
extern "C" int __real_openat(int directory, const char* name, int flags, ...);
extern "C" int __wrap_openat(int directory, const char* name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const int error = Next("openat", kPlain, Errors{EMFILE, EIO, ENFILE, ENOMEM});
  return error != 0 ? Fail(error) : __real_openat(directory, name, flags, mode);
}
WRAPPED(int, __openat_2, (int directory, const char* name, int flags), (directory, name, flags),
        kPlain, Errors{EMFILE, EIO, ENFILE, ENOMEM})

// Closed it is all the same.
extern "C" int __real_close(int file);
extern "C" int __wrap_close(int file) {
  const int error = Next("close", kPlain, Errors{EIO, EINTR});
  const int result = __real_close(file);
  return error != 0 ? Fail(error) : result;
}
// The argument is a number or a pointer; both fit.
extern "C" int __real_fcntl(int file, int command, ...);
extern "C" int __wrap_fcntl(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* argument = va_arg(rest, void*);
  va_end(rest);
  const int error = Next("fcntl", kPlain, Errors{ENOLCK, EIO, EMFILE});
  return error != 0 ? Fail(error) : __real_fcntl(file, command, argument);
}
WRAPPED(int, flock, (int file, int how), (file, how), kInterruptible, Errors{ENOLCK, ENOMEM})
WRAPPED(off_t, lseek, (int file, off_t at, int from), (file, at, from), kPlain, Errors{EIO})
// The disk is not waited for: no test here loses the machine.
#define WRAPPED_SYNC(name)                                              \
  extern "C" int __wrap_##name(int) {                                   \
    const int error = Next(#name, kPlain, Errors{EIO, ENOSPC, EDQUOT}); \
    return error != 0 ? Fail(error) : 0;                                \
  }
WRAPPED_SYNC(fsync)
WRAPPED_SYNC(fdatasync)
WRAPPED(int, ftruncate, (int file, off_t size), (file, size), kInterruptible,
        Errors{EIO, ENOSPC, EFBIG})
WRAPPED(int, fallocate, (int file, int mode, off_t at, off_t size), (file, mode, at, size),
        kInterruptible, Errors{ENOSPC, EIO, EOPNOTSUPP})
WRAPPED(int, fstat, (int file, struct stat* facts), (file, facts), kPlain, Errors{EIO, ENOMEM})
WRAPPED(int, stat, (const char* name, struct stat* facts), (name, facts), kPlain,
        Errors{EIO, ENOMEM, EACCES})
WRAPPED(int, lstat, (const char* name, struct stat* facts), (name, facts), kPlain,
        Errors{EIO, ENOMEM, EACCES})
WRAPPED(int, fstatat, (int directory, const char* name, struct stat* facts, int flags),
        (directory, name, facts, flags), kPlain, Errors{EIO, ENOMEM, EACCES})
WRAPPED(int, statx,
        (int directory, const char* name, int flags, unsigned mask, struct statx* facts),
        (directory, name, flags, mask, facts), kPlain, Errors{EIO, ENOSYS, ENOMEM})
WRAPPED(int, fchmod, (int file, mode_t mode), (file, mode), kPlain, Errors{EIO, EPERM})
WRAPPED(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), kPlain,
        Errors{EPERM, EIO})
WRAPPED(int, futimens, (int file, const timespec* times), (file, times), kPlain,
        Errors{EIO, EACCES})
WRAPPED(ssize_t, fgetxattr, (int file, const char* name, void* value, size_t size),
        (file, name, value, size), kPlain, Errors{EIO, ENOTSUP})
WRAPPED(ssize_t, getxattr, (const char* path, const char* name, void* value, size_t size),
        (path, name, value, size), kPlain, Errors{EIO, ENOTSUP})
WRAPPED(int, fsetxattr, (int file, const char* name, const void* value, size_t size, int flags),
        (file, name, value, size, flags), kPlain, Errors{ENOSPC, ENOTSUP, EDQUOT})
WRAPPED(int, setxattr,
        (const char* path, const char* name, const void* value, size_t size, int flags),
        (path, name, value, size, flags), kPlain, Errors{ENOSPC, ENOTSUP, EDQUOT})
WRAPPED(int, fremovexattr, (int file, const char* name), (file, name), kPlain, Errors{EIO, ENOTSUP})
WRAPPED(int, removexattr, (const char* path, const char* name), (path, name), kPlain,
        Errors{EIO, ENOTSUP})
WRAPPED(int, rename, (const char* from, const char* to), (from, to), kPlain,
        Errors{ENOSPC, EIO, EACCES})
WRAPPED(int, renameat, (int fromIn, const char* from, int toIn, const char* to),
        (fromIn, from, toIn, to), kPlain, Errors{ENOSPC, EIO, EACCES})
WRAPPED(int, renameat2, (int fromIn, const char* from, int toIn, const char* to, unsigned flags),
        (fromIn, from, toIn, to, flags), kPlain, Errors{ENOSPC, EIO, EACCES})
WRAPPED(int, unlink, (const char* name), (name), kPlain, Errors{EIO, EACCES, EBUSY})
WRAPPED(int, unlinkat, (int directory, const char* name, int flags), (directory, name, flags),
        kPlain, Errors{EIO, EACCES, EBUSY})
WRAPPED(int, rmdir, (const char* name), (name), kPlain, Errors{EIO, EACCES, EBUSY})
WRAPPED(int, mkdir, (const char* name, mode_t mode), (name, mode), kPlain,
        Errors{ENOSPC, EIO, EACCES})
WRAPPED(int, mkdirat, (int directory, const char* name, mode_t mode), (directory, name, mode),
        kPlain, Errors{ENOSPC, EIO, EACCES})
WRAPPED(int, mkostemp, (char* pattern, int flags), (pattern, flags), kPlain,
        Errors{ENOSPC, EMFILE, EACCES})
WRAPPED(ssize_t, readlink, (const char* name, char* target, size_t size), (name, target, size),
        kPlain, Errors{EIO, EACCES})
WRAPPED(ssize_t, readlinkat, (int directory, const char* name, char* target, size_t size),
        (directory, name, target, size), kPlain, Errors{EIO, EACCES})
WRAPPED(ssize_t, getrandom, (void* bytes, size_t size, unsigned flags), (bytes, size, flags),
        kInterruptible, Errors{ENOSYS})
WRAPPED_POINTER(char*, getcwd, (char* path, size_t size), (path, size), Errors{ENOENT, ENOMEM})
WRAPPED_POINTER(char*, realpath, (const char* path, char* resolved), (path, resolved),
                Errors{ENOMEM, EIO, EACCES})
WRAPPED_POINTER(DIR*, opendir, (const char* name), (name), Errors{EMFILE, ENOMEM, EACCES})
WRAPPED_POINTER(DIR*, fdopendir, (int file), (file), Errors{ENOMEM})
WRAPPED_POINTER(dirent*, readdir, (DIR * directory), (directory), Errors{EIO})

// --- Sockets -------------------------------------------------------------------------------------

WRAPPED(int, socket, (int domain, int type, int protocol), (domain, type, protocol), kPlain,
        Errors{EMFILE, ENFILE, ENOBUFS})
WRAPPED(int, bind, (int socket, const sockaddr* address, socklen_t size), (socket, address, size),
        kPlain, Errors{EADDRINUSE, EADDRNOTAVAIL})
WRAPPED(int, listen, (int socket, int backlog), (socket, backlog), kPlain, Errors{EADDRINUSE})
WRAPPED(int, accept, (int socket, sockaddr* address, socklen_t* size), (socket, address, size),
        kInterruptible, Errors{EMFILE, ENFILE, ENOMEM})
WRAPPED(int, getsockname, (int socket, sockaddr* address, socklen_t* size), (socket, address, size),
        kPlain, Errors{ENOBUFS})
WRAPPED(int, getpeername, (int socket, sockaddr* address, socklen_t* size), (socket, address, size),
        kPlain, Errors{ENOBUFS, ENOTCONN})
WRAPPED(int, setsockopt, (int socket, int level, int name, const void* value, socklen_t size),
        (socket, level, name, value, size), kPlain, Errors{ENOMEM, EINVAL})
WRAPPED(int, getsockopt, (int socket, int level, int name, void* value, socklen_t* size),
        (socket, level, name, value, size), kPlain, Errors{ENOBUFS})
WRAPPED(int, shutdown, (int socket, int how), (socket, how), kPlain, Errors{ENOTCONN})
WRAPPED(int, poll, (pollfd * items, nfds_t count, int timeout), (items, count, timeout),
        kInterruptible, Errors{ENOMEM})

// An interrupted one goes on by itself.
extern "C" int __real_connect(int socket, const sockaddr* address, socklen_t size);
extern "C" int __wrap_connect(int socket, const sockaddr* address, socklen_t size) {
  const int error =
      Next("connect", kInterruptible,
           Errors{ECONNREFUSED, ENETUNREACH, EHOSTUNREACH, ETIMEDOUT, EADDRNOTAVAIL, ENOBUFS});
  if (error == EINTR) __real_connect(socket, address, size);
  return error != 0 ? Fail(error) : __real_connect(socket, address, size);
}
extern "C" int __real_gethostbyname2_r(const char* name, int family, hostent* area, char* room,
                                       size_t size, hostent** found, int* hostError);
extern "C" int __wrap_gethostbyname2_r(const char* name, int family, hostent* area, char* room,
                                       size_t size, hostent** found, int* hostError) {
  const int error = Next("gethostbyname2_r", kPlain, Errors{EAGAIN, ENOMEM});
  if (error == 0) return __real_gethostbyname2_r(name, family, area, room, size, found, hostError);
  *found = nullptr;
  *hostError = TRY_AGAIN;
  return error;
}

// --- Memory that is not operator new's
// -------------------------------------------------------------

WRAPPED_POINTER(void*, malloc, (size_t size), (size), Errors{ENOMEM})

namespace test {

FailingCalls::FailingCalls(CallFault fault, long n) { state = {true, fault, n, 0, nullptr, 0}; }

FailingCalls::~FailingCalls() { state.active = false; }

long FailingCalls::Calls() const { return state.count; }

std::string FailingCalls::Struck() const {
  if (state.struck == nullptr) return {};
  const char* how = state.fault == CallFault::kShort ? "half" : ::strerrorname_np(state.error);
  return std::string(state.struck) + ": " + how;
}

}  // namespace test
