#include "platform/network.h"

#include <cstring>
#include <memory>
#include <utility>

namespace brevant::platform {
namespace {

int TransferResult(int result) {
  if (result != SOCKET_ERROR) return result;
  return WSAGetLastError() == WSAEWOULDBLOCK ? kWouldBlock : SOCKET_ERROR;
}

bool CopyEntry(const hostent* source, HostEntry* entry) {
  if (source == nullptr || source->h_addrtype != AF_INET || source->h_length != 4) return false;
  entry->name = source->h_name != nullptr ? source->h_name : "";
  for (char** alias = source->h_aliases; alias != nullptr && *alias != nullptr; ++alias) {
    entry->aliases.emplace_back(*alias);
  }
  for (char** address = source->h_addr_list; address != nullptr && *address != nullptr; ++address) {
    DWORD value;
    std::memcpy(&value, *address, sizeof value);
    entry->addresses.push_back(value);
  }
  return !entry->addresses.empty();
}

struct Job {
  std::function<void()> run;
  HMODULE library = nullptr;
};

DWORD WINAPI RunJob(void* argument) {
  HMODULE library;
  {
    const std::unique_ptr<Job> job(static_cast<Job*>(argument));
    library = job->library;
    job->run();
  }
  FreeLibraryAndExitThread(library, 0);
}

}  // namespace

bool MakeNonBlocking(SOCKET socket) {
  unsigned long on = 1;
  return ioctlsocket(socket, static_cast<long>(FIONBIO), &on) == 0;
}

void SendWithoutDelay(SOCKET socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

int ReceiveNow(SOCKET socket, char* buffer, int size) {
  return TransferResult(recv(socket, buffer, size, 0));
}

int SendNow(SOCKET socket, const char* buffer, int size) {
  return TransferResult(send(socket, buffer, size, 0));
}

int SendToNow(SOCKET socket, const char* buffer, int size, const sockaddr_in& target) {
  return TransferResult(
      sendto(socket, buffer, size, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target));
}

int ConnectNow(SOCKET socket, const sockaddr_in& target) {
  if (connect(socket, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0) return 1;
  return WSAGetLastError() == WSAEWOULDBLOCK ? kWouldBlock : SOCKET_ERROR;
}

int ConnectResult(SOCKET socket) {
  int error = 0;
  int length = sizeof error;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &length) != 0)
    return SOCKET_ERROR;
  if (error == 0) return 1;
  WSASetLastError(error);
  return SOCKET_ERROR;
}

SOCKET AcceptNow(SOCKET socket, sockaddr_in* peer, bool* wouldBlock) {
  sockaddr_in address{};
  int length = sizeof address;
  const SOCKET accepted = accept(socket, reinterpret_cast<sockaddr*>(&address), &length);
  // A peer that went before it was accepted is no failure of the listener.
  const int error = accepted == INVALID_SOCKET ? WSAGetLastError() : 0;
  *wouldBlock = error == WSAEWOULDBLOCK || error == WSAECONNRESET;
  if (accepted == INVALID_SOCKET) return INVALID_SOCKET;
  if (!MakeNonBlocking(accepted)) {
    closesocket(accepted);
    return INVALID_SOCKET;
  }
  if (peer != nullptr) *peer = address;
  return accepted;
}

bool OwnAddress(SOCKET socket, sockaddr_in* address) {
  int length = sizeof *address;
  return getsockname(socket, reinterpret_cast<sockaddr*>(address), &length) == 0;
}

bool WaitForReadiness(SOCKET socket, Readiness wanted, DWORD milliseconds) {
  fd_set ready;
  fd_set failed;
  FD_ZERO(&ready);
  FD_ZERO(&failed);
  FD_SET(socket, &ready);
  FD_SET(socket, &failed);  // a refused connection attempt shows here only
  timeval time{static_cast<long>(milliseconds / 1000),
               static_cast<long>(milliseconds % 1000 * 1000)};
  const bool reading = wanted == Readiness::kReadable;
  const int result =
      select(0, reading ? &ready : nullptr, reading ? nullptr : &ready, &failed, &time);
  if (result == SOCKET_ERROR) Sleep(milliseconds);  // never spin on a socket that is gone
  return result > 0;
}

void DispatchThreadMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      // The host's own loop must see it; looking further here would only find it again.
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

bool LookUpHostName(const char* name, HostEntry* entry) {
  return CopyEntry(gethostbyname(name), entry);
}

bool LookUpHostAddress(DWORD address, HostEntry* entry) {
  return CopyEntry(gethostbyaddr(reinterpret_cast<const char*>(&address), sizeof address, AF_INET),
                   entry);
}

bool RunDetached(std::function<void()> job) {
  auto owned = std::make_unique<Job>();
  owned->run = std::move(job);
  if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                          reinterpret_cast<const char*>(&RunJob), &owned->library))
    return false;
  const HMODULE library = owned->library;
  const HANDLE thread = CreateThread(nullptr, 0, &RunJob, owned.get(), 0, nullptr);
  if (thread == nullptr) {
    FreeLibrary(library);
    return false;
  }
  static_cast<void>(owned.release());  // the thread's now
  CloseHandle(thread);
  return true;
}

}  // namespace brevant::platform
