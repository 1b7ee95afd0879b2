// Defines every function of platform/posix/sockets.cpp, so that the linker has no wish for it.
#include "memory_network.h"

#include "net/waiting.h"
#include "platform/network.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <unistd.h>

namespace {

struct Peer {
  bool control = false;
  std::size_t given = 0;
};

test::MemoryNetwork* network = nullptr;
std::map<SOCKET, Peer> peers;

std::string_view LeftOf(const Peer& peer) {
  return std::string_view(peer.control ? network->control : network->data).substr(peer.given);
}

}  // namespace

void test::UseNetwork(MemoryNetwork* wanted) {
  network = wanted;
  peers.clear();
  brevant::ResetDeadline();
}

int WSAStartup(WORD, WSADATA*) { return 0; }
int WSACleanup() { return 0; }
int WSAGetLastError() { return errno; }

int closesocket(SOCKET socket) {
  peers.erase(socket);
  return close(socket) == 0 ? 0 : SOCKET_ERROR;
}

namespace brevant::platform {

bool MakeNonBlocking(SOCKET) { return true; }
void SendWithoutDelay(SOCKET) {}

int ReceiveNow(SOCKET socket, char* buffer, int size) {
  const auto found = peers.find(socket);
  if (network == nullptr || found == peers.end()) return SOCKET_ERROR;
  const std::string_view left = LeftOf(found->second);
  if (left.empty()) return network->silent ? kWouldBlock : 0;
  const std::size_t count =
      std::min({left.size(), static_cast<std::size_t>(size), network->packet});
  std::memcpy(buffer, left.data(), count);
  found->second.given += count;
  return static_cast<int>(count);
}

int SendNow(SOCKET socket, const char* buffer, int size) {
  const auto found = peers.find(socket);
  if (network == nullptr || found == peers.end()) return SOCKET_ERROR;
  std::string& sent = found->second.control ? network->sent : network->sentData;
  sent.append(buffer, static_cast<std::size_t>(size));
  return size;
}

int SendToNow(SOCKET, const char*, int, const sockaddr_in&) { return SOCKET_ERROR; }

int ConnectNow(SOCKET socket, const sockaddr_in& target) {
  if (network == nullptr) return SOCKET_ERROR;
  peers[socket].control = network->targets.empty();
  network->targets.push_back(target.sin_addr.s_addr);
  return 1;
}

int ConnectResult(SOCKET) { return 1; }

SOCKET AcceptNow(SOCKET, sockaddr_in* peer, bool* wouldBlock) {
  *wouldBlock = false;
  if (network == nullptr) return INVALID_SOCKET;
  const SOCKET accepted = socket(AF_INET, SOCK_STREAM, 0);
  if (accepted == INVALID_SOCKET) return INVALID_SOCKET;
  peers[accepted] = {};
  if (peer == nullptr) return accepted;
  *peer = {};
  peer->sin_family = AF_INET;
  peer->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return accepted;
}

bool OwnAddress(SOCKET, sockaddr_in* address) {
  *address = {};
  address->sin_family = AF_INET;
  address->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address->sin_port = htons(4000);
  return true;
}

// With nothing to come every wait is over at once; the deadline that it leaves behind must not keep
// the next one.
bool WaitForReadiness(SOCKET socket, Readiness wanted, DWORD) {
  const auto found = peers.find(socket);
  const bool listens = found == peers.end();
  const bool ready = wanted == Readiness::kWritable || network == nullptr || listens ||
                     !network->silent || !LeftOf(found->second).empty();
  if (!ready) ResetDeadline();
  return ready;
}

void DispatchThreadMessages() {}

bool LookUpHostName(const char*, HostEntry*) { return false; }
bool LookUpHostAddress(DWORD, HostEntry*) { return false; }

bool RunDetached(std::function<void()> job) {
  job();
  return true;
}

}  // namespace brevant::platform
