// What the socket layer needs beyond the names both systems share: operations that never block,
// waiting for readiness, the host's messages, name look-ups and threads beside the caller's.
#pragma once

#include "platform/win32.h"

#include <functional>
#include <string>
#include <vector>

namespace brevant::platform {

// Result of a transfer that would have to wait.
inline constexpr int kWouldBlock = -2;

enum class Readiness { kReadable, kWritable };

bool MakeNonBlocking(SOCKET socket);
// Sends small packets at once instead of gathering them.
void SendWithoutDelay(SOCKET socket);

// Each never blocks and never raises a signal: the count of bytes, 0 when the peer has closed
// (ReceiveNow), SOCKET_ERROR, or kWouldBlock.
int ReceiveNow(SOCKET socket, char* buffer, int size);
int SendNow(SOCKET socket, const char* buffer, int size);
int SendToNow(SOCKET socket, const char* buffer, int size, const sockaddr_in& target);

// 1 when connected, SOCKET_ERROR, or kWouldBlock while the attempt goes on; once the socket is
// writable ConnectResult tells 1 or SOCKET_ERROR.
int ConnectNow(SOCKET socket, const sockaddr_in& target);
int ConnectResult(SOCKET socket);
// The accepted socket, non-blocking; INVALID_SOCKET on failure, with *wouldBlock set when there is
// nothing to accept yet. peer may be null.
SOCKET AcceptNow(SOCKET socket, sockaddr_in* peer, bool* wouldBlock);

// The address the socket is bound to; false when it has none.
bool OwnAddress(SOCKET socket, sockaddr_in* address);

// Waits until the socket is ready (or has failed, which the next operation tells) or the time is
// over; whether it is ready.
bool WaitForReadiness(SOCKET socket, Readiness wanted, DWORD milliseconds);

// Dispatches the messages waiting for the calling thread, where the platform has such.
void DispatchThreadMessages();

// One entry of the system's host table.
struct HostEntry {
  std::string name;
  std::vector<std::string> aliases;
  std::vector<DWORD> addresses;  // IPv4, network byte order
};

// Both may block for as long as the system's resolver likes; false when there is no entry.
bool LookUpHostName(const char* name, HostEntry* entry);
bool LookUpHostAddress(DWORD address, HostEntry* entry);

// Runs the job in a thread of its own that nobody waits for and that keeps the library loaded until
// it has ended; false when no thread could be started.
bool RunDetached(std::function<void()> job);

}  // namespace brevant::platform
