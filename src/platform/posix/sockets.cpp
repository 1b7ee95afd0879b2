#include "platform/network.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

constexpr WORD kVersion22 = 0x0202;

std::atomic<int> starts{0};

struct ErrorPair {
  int system;
  int windows;
};

constexpr ErrorPair kErrors[] = {
    {EINTR, WSAEINTR},
    {EBADF, WSAENOTSOCK},  // a closed or never opened handle is no socket there
    {EACCES, WSAEACCES},
    {EINVAL, WSAEINVAL},
    {EMFILE, WSAEMFILE},
    {EAGAIN, WSAEWOULDBLOCK},
    {EINPROGRESS, WSAEWOULDBLOCK},
    {ENOTSOCK, WSAENOTSOCK},
    {EADDRINUSE, WSAEADDRINUSE},
    {EADDRNOTAVAIL, WSAEADDRNOTAVAIL},
    {ENETUNREACH, WSAENETUNREACH},
    {ECONNABORTED, WSAECONNABORTED},
    {ECONNRESET, WSAECONNRESET},
    {EPIPE, WSAECONNRESET},
    {ENOBUFS, WSAENOBUFS},
    {ENOMEM, WSAENOBUFS},
    {ENOTCONN, WSAENOTCONN},
    {ETIMEDOUT, WSAETIMEDOUT},
    {ECONNREFUSED, WSAECONNREFUSED},
    {EHOSTUNREACH, WSAEHOSTUNREACH},
};

}  // namespace

int WSAStartup(WORD version, WSADATA* data) {
  const int major = version & 0xFF;
  if (major < 1) return WSAVERNOTSUPPORTED;
  if (data != nullptr) *data = {version > kVersion22 ? kVersion22 : version, kVersion22};
  ++starts;
  return 0;
}

int WSACleanup() {
  int count = starts.load();
  while (count > 0) {
    if (starts.compare_exchange_weak(count, count - 1)) return 0;
  }
  errno = 0;
  return SOCKET_ERROR;
}

int WSAGetLastError() {
  const int error = errno;
  if (error == 0) return starts.load() == 0 ? WSANOTINITIALISED : 0;
  for (const ErrorPair& pair : kErrors) {
    if (pair.system == error) return pair.windows;
  }
  return error;
}

int closesocket(SOCKET socket) { return close(socket) == 0 ? 0 : SOCKET_ERROR; }

namespace brevant::platform {
namespace {

int TransferResult(ssize_t result) {
  if (result >= 0) return static_cast<int>(result);
  return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? kWouldBlock : SOCKET_ERROR;
}

void CopyEntry(const hostent& source, HostEntry* entry) {
  entry->name = source.h_name != nullptr ? source.h_name : "";
  for (char** alias = source.h_aliases; alias != nullptr && *alias != nullptr; ++alias) {
    entry->aliases.emplace_back(*alias);
  }
  for (char** address = source.h_addr_list; address != nullptr && *address != nullptr; ++address) {
    DWORD value;
    std::memcpy(&value, *address, sizeof value);
    entry->addresses.push_back(value);
  }
}

// Runs a reentrant look-up with more and more room until its answer fits.
template <class Call>
bool LookUp(Call call, HostEntry* entry) {
  constexpr std::size_t kMostRoom = 1 << 20;
  for (std::size_t room = 4096; room <= kMostRoom; room *= 2) {
    std::vector<char> storage(room);
    hostent area{};
    hostent* found = nullptr;
    int error = 0;
    const int result = call(&area, storage.data(), storage.size(), &found, &error);
    if (result == ERANGE) continue;
    if (result != 0 || found == nullptr || found->h_addrtype != AF_INET || found->h_length != 4)
      return false;
    CopyEntry(*found, entry);
    return !entry->addresses.empty();
  }
  return false;
}

// A thread's code must not be unmapped under it. There is no way to drop a reference and leave the
// library's code in one step here, so the first detached thread makes the library stay for good.
void KeepLibraryLoaded() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&RunDetached), &info) == 0 || info.dli_fname == nullptr)
    return;
  dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace

bool MakeNonBlocking(SOCKET socket) {
  const int flags = fcntl(socket, F_GETFL);
  return flags >= 0 && fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0 &&
         fcntl(socket, F_SETFD, FD_CLOEXEC) == 0;
}

void SendWithoutDelay(SOCKET socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int ReceiveNow(SOCKET socket, char* buffer, int size) {
  return TransferResult(recv(socket, buffer, static_cast<std::size_t>(size), 0));
}

int SendNow(SOCKET socket, const char* buffer, int size) {
  return TransferResult(send(socket, buffer, static_cast<std::size_t>(size), MSG_NOSIGNAL));
}

int SendToNow(SOCKET socket, const char* buffer, int size, const sockaddr_in& target) {
  return TransferResult(sendto(socket, buffer, static_cast<std::size_t>(size), MSG_NOSIGNAL,
                               reinterpret_cast<const sockaddr*>(&target), sizeof target));
}

int ConnectNow(SOCKET socket, const sockaddr_in& target) {
  const auto* address = reinterpret_cast<const sockaddr*>(&target);
  int result = connect(socket, address, sizeof target);
  // After a failed attempt the first new one only reports that failure once more.
  if (result != 0 && errno == ECONNABORTED) result = connect(socket, address, sizeof target);
  if (result == 0) return 1;
  return errno == EINPROGRESS || errno == EINTR ? kWouldBlock : SOCKET_ERROR;
}

int ConnectResult(SOCKET socket) {
  int error = 0;
  socklen_t length = sizeof error;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) != 0) return SOCKET_ERROR;
  if (error == 0) return 1;
  errno = error;
  return SOCKET_ERROR;
}

SOCKET AcceptNow(SOCKET socket, sockaddr_in* peer, bool* wouldBlock) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  const SOCKET accepted = accept(socket, reinterpret_cast<sockaddr*>(&address), &length);
  *wouldBlock = accepted == INVALID_SOCKET && (errno == EAGAIN || errno == EWOULDBLOCK ||
                                               errno == EINTR || errno == ECONNABORTED);
  if (accepted == INVALID_SOCKET) return INVALID_SOCKET;
  if (!MakeNonBlocking(accepted)) {
    close(accepted);
    return INVALID_SOCKET;
  }
  if (peer != nullptr) *peer = address;
  return accepted;
}

bool OwnAddress(SOCKET socket, sockaddr_in* address) {
  socklen_t length = sizeof *address;
  return getsockname(socket, reinterpret_cast<sockaddr*>(address), &length) == 0;
}

bool WaitForReadiness(SOCKET socket, Readiness wanted, DWORD milliseconds) {
  pollfd item{};
  item.fd = socket;
  item.events = wanted == Readiness::kReadable ? POLLIN : POLLOUT;
  return poll(&item, 1, static_cast<int>(milliseconds)) > 0;
}

void DispatchThreadMessages() {}

bool LookUpHostName(const char* name, HostEntry* entry) {
  return LookUp(
      [name](hostent* area, char* room, std::size_t size, hostent** found, int* error) {
        return gethostbyname2_r(name, AF_INET, area, room, size, found, error);
      },
      entry);
}

bool LookUpHostAddress(DWORD address, HostEntry* entry) {
  return LookUp(
      [address](hostent* area, char* room, std::size_t size, hostent** found, int* error) {
        return gethostbyaddr_r(&address, sizeof address, AF_INET, area, room, size, found, error);
      },
      entry);
}

bool RunDetached(std::function<void()> job) {
  static const bool kept = (KeepLibraryLoaded(), true);
  static_cast<void>(kept);
  try {
    std::thread(std::move(job)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace brevant::platform
