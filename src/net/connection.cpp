#include "net/connection.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

using brevant::WaitEnd;
namespace platform = brevant::platform;
using platform::Readiness;

namespace {

TDestination MakeDestination(DWORD address, WORD port) {
  TDestination destination{};
  destination.sin_family = AF_INET;
  destination.sin_port = htons(port);
  destination.sin_addr.s_addr = address;
  return destination;
}

}  // namespace

UniqueSocket::~UniqueSocket() {
  if (!IsOpen()) return;
  while (closesocket(socket_) == SOCKET_ERROR && WSAGetLastError() == WSAEINPROGRESS) Sleep(0);
}

TConnection::TConnection(DWORD timeout) : peer_(MakeDestination(0, 0)), timeout_(timeout) {
  Arm();
  Adopt(UniqueSocket(socket(AF_INET, SOCK_STREAM, 0)));
}

TConnection::TConnection(UniqueSocket socket, DWORD timeout)
    : peer_(MakeDestination(0, 0)), timeout_(timeout) {
  Adopt(std::move(socket));
}

TConnection::~TConnection() = default;

void TConnection::Adopt(UniqueSocket socket) {
  // A socket that may block would hold the caller beyond every deadline.
  if (!socket.IsOpen() || !platform::MakeNonBlocking(socket.Get())) return;
  transport_ = brevant::MakePlainTransport(socket.Get());
  socket_ = std::move(socket);
  flags_ |= kSocketOpen;
}

bool TConnection::WaitForSocket(Readiness wanted, DWORD armed) {
  lastWait_ = brevant::WaitUntil(
      [this, wanted](DWORD slice) { return platform::WaitForReadiness(Socket(), wanted, slice); },
      armed, continueFlag_);
  return lastWait_ == WaitEnd::kReady;
}

int TConnection::Connect(DWORD address, WORD port) {
  peer_ = MakeDestination(address, port);
  return ConnectAgain();
}

int TConnection::ConnectAgain() {
  const DWORD armed = Arm();
  if (!socket_.IsOpen()) return 0;
  int result = platform::ConnectNow(Socket(), peer_);
  if (result == platform::kWouldBlock) {
    if (!WaitForSocket(Readiness::kWritable, armed)) return 0;
    result = platform::ConnectResult(Socket());
  }
  if (result != 1) return 0;
  flags_ |= kPeerConnected;
  return 1;
}

int TConnection::Bind(DWORD address, WORD port) {
  TDestination record = MakeDestination(address, port);
  return Bind(&record);
}

int TConnection::Bind(TDestination* address) {
  Arm();
  if (!socket_.IsOpen()) return 0;
  if (bind(Socket(), reinterpret_cast<const sockaddr*>(address), sizeof *address) != 0) return 0;
  return OwnAddress(address);
}

int TConnection::Listen(int backlog) {
  return socket_.IsOpen() && listen(Socket(), backlog) == 0 ? 1 : 0;
}

std::unique_ptr<TConnection> TConnection::Accept(TDestination* peer) {
  const DWORD armed = Arm();
  if (!socket_.IsOpen()) return nullptr;
  TDestination from{};
  for (;;) {
    bool wouldBlock = false;
    UniqueSocket accepted(platform::AcceptNow(Socket(), &from, &wouldBlock));
    if (accepted.IsOpen()) {
      auto connection = std::make_unique<TConnection>(std::move(accepted), timeout_);
      connection->flags_ |= kPeerConnected;
      connection->peer_ = from;
      connection->continueFlag_ = continueFlag_;
      if (peer != nullptr) *peer = from;
      return connection;
    }
    if (!wouldBlock || !WaitForSocket(Readiness::kReadable, armed)) return nullptr;
  }
}

// A server near by answers within some tens of microseconds, and going to sleep and waking up again
// costs as much: a mailbox of small mails is read in half the time when that is left out. Where
// that was in vain (the server is far, or the machine busy), it is tried less and less often.
int TConnection::ReceiveSoon(char* buffer, int size) {
  static const bool shared = std::thread::hardware_concurrency() == 1;
  constexpr std::chrono::microseconds kSoon(150);
  constexpr int kMostMisses = 6;
  int result = transport_->Receive(buffer, size);
  // On a single processor the peer could not work meanwhile.
  if (shared || result != brevant::kWaitToRead) return result;
  if (sleepsBeforeSoon_ > 0) {
    --sleepsBeforeSoon_;
    return result;
  }
  const auto start = std::chrono::steady_clock::now();
  while (result == brevant::kWaitToRead && std::chrono::steady_clock::now() - start < kSoon) {
    result = transport_->Receive(buffer, size);
  }
  soonMisses_ = result == brevant::kWaitToRead ? std::min(soonMisses_ + 1, kMostMisses) : 0;
  sleepsBeforeSoon_ = (1 << soonMisses_) - 1;
  return result;
}

int TConnection::ReceiveInto(char* buffer, int size, DWORD armed) {
  lastWait_ = WaitEnd::kReady;
  if (transport_ == nullptr || size < 1) return brevant::kTransferFailed;
  const int there = ReceiveSoon(buffer, size);
  if (there >= brevant::kTransferFailed) return there;
  Readiness wanted = there == brevant::kWaitToWrite ? Readiness::kWritable : Readiness::kReadable;
  for (;;) {
    if (!WaitForSocket(wanted, armed)) return brevant::kTransferFailed;
    const int result = transport_->Receive(buffer, size);
    if (result >= brevant::kTransferFailed) return result;
    wanted = result == brevant::kWaitToWrite ? Readiness::kWritable : Readiness::kReadable;
  }
}

int TConnection::FillBuffer(DWORD armed) {
  if (buffer_ == nullptr) buffer_ = std::make_unique<char[]>(kReceiveRoom);
  if (start_ == end_) {
    start_ = end_ = 0;
  } else if (end_ == kReceiveRoom) {
    std::memmove(buffer_.get(), HeldBytes(), static_cast<std::size_t>(Held()));
    end_ -= start_;
    start_ = 0;
  }
  const int result = ReceiveInto(buffer_.get() + end_, kReceiveRoom - end_, armed);
  if (result > 0) end_ += result;
  return result;
}

void TConnection::Drop(int count) { start_ += count; }

int TConnection::Receive(char* buffer, int size) {
  const DWORD armed = Arm();
  if (size < 1) return brevant::kTransferFailed;
  if (Held() == 0) return ReceiveInto(buffer, size, armed);
  const int count = Peek(buffer, size);
  Drop(count);
  return count;
}

int TConnection::Peek(char* buffer, int size) {
  const DWORD armed = Arm();
  if (size < 1) return brevant::kTransferFailed;
  if (Held() == 0) {
    const int result = FillBuffer(armed);
    if (result < 1) return result;
  }
  const int count = std::min(size, Held());
  std::memcpy(buffer, HeldBytes(), static_cast<std::size_t>(count));
  return count;
}

int TConnection::PeekAhead(char* buffer, int size) {
  const DWORD armed = Arm();
  size = std::clamp(size, 0, kReceiveRoom);
  int searched = 0;
  for (;;) {
    const int there = std::min(Held(), size);
    if (there > searched && std::memchr(HeldBytes() + searched, '\n',
                                        static_cast<std::size_t>(there - searched)) != nullptr)
      break;
    searched = there;
    if (there == size || FillBuffer(armed) < 1) break;
  }
  const int count = std::min(Held(), size);
  if (count > 0) std::memcpy(buffer, HeldBytes(), static_cast<std::size_t>(count));
  return count;
}

bool TConnection::NextByte(char* next, DWORD armed) {
  if (Held() == 0 && FillBuffer(armed) < 1) return false;
  *next = *HeldBytes();
  return true;
}

int TConnection::ReceiveLine(char* buffer, int size, bool keepTerminator) {
  const DWORD armed = Arm();
  if (buffer == nullptr || size < 1) return -1;
  const int room = size - 1;
  int stored = 0;
  bool received = false;
  char last = '\0';
  while (NextByte(&last, armed)) {
    if (stored == room) {
      Drop(1);  // lost, as every byte that finds no room
      break;
    }
    const char* from = HeldBytes();
    const char* limit = from + std::min(Held(), room - stored);
    const char* end = std::find_if(from, limit, [](char c) { return c == '\r' || c == '\n'; });
    const int count = static_cast<int>(end - from);
    std::memcpy(buffer + stored, from, static_cast<std::size_t>(count));
    const bool terminated = end != limit;
    if (terminated) last = *end;
    stored += count;
    received = true;
    Drop(terminated ? count + 1 : count);
    if (!terminated) continue;
    if (keepTerminator) buffer[stored++] = last;
    if (last == '\r' && NextByte(&last, armed) && last == '\n') {
      Drop(1);
      if (keepTerminator && stored < room) buffer[stored++] = last;
    }
    break;
  }
  buffer[stored] = '\0';
  return received ? stored : -1;
}

int TConnection::ReceivePiece(char* buffer, int size) {
  const DWORD armed = Arm();
  if (buffer == nullptr || size < 2) return -1;
  const int room = size - 1;
  int stored = 0;
  char next = '\0';
  while (stored < room && NextByte(&next, armed)) {
    const char* from = HeldBytes();
    const auto limit = static_cast<std::size_t>(std::min(Held(), room - stored));
    const void* feed = std::memchr(from, '\n', limit);
    const int count = feed != nullptr ? static_cast<int>(static_cast<const char*>(feed) - from) + 1
                                      : static_cast<int>(limit);
    std::memcpy(buffer + stored, from, static_cast<std::size_t>(count));
    stored += count;
    Drop(count);
    if (feed != nullptr) break;
  }
  buffer[stored] = '\0';
  return stored > 0 ? stored : -1;
}

int TConnection::Send(const char* buffer, int size) {
  const DWORD armed = Arm();
  lastWait_ = WaitEnd::kReady;
  if (transport_ == nullptr || size < 0) return brevant::kTransferFailed;
  int sent = 0;
  while (sent < size) {
    const int result = transport_->Send(buffer + sent, size - sent);
    if (result >= 0) {
      sent += result;
      continue;
    }
    if (result == brevant::kTransferFailed) return result;
    const Readiness wanted =
        result == brevant::kWaitToRead ? Readiness::kReadable : Readiness::kWritable;
    if (!WaitForSocket(wanted, armed)) return brevant::kTransferFailed;
  }
  return sent;
}

int TConnection::SendTo(const char* buffer, int size, DWORD address, WORD port) {
  const DWORD armed = Arm();
  lastWait_ = WaitEnd::kReady;
  if (!socket_.IsOpen() || size < 0) return brevant::kTransferFailed;
  for (;;) {
    const int result = platform::SendToNow(Socket(), buffer, size, MakeDestination(address, port));
    if (result != platform::kWouldBlock) return result;
    if (!WaitForSocket(Readiness::kWritable, armed)) return brevant::kTransferFailed;
  }
}

int TConnection::SendAtOnce(const char* buffer, int size) {
  return transport_ == nullptr ? brevant::kTransferFailed : transport_->Send(buffer, size);
}

bool TConnection::HasInput() const {
  return Held() > 0 ||
         (socket_.IsOpen() && platform::WaitForReadiness(Socket(), Readiness::kReadable, 0));
}

int TConnection::OwnAddress(TDestination* address) const {
  return socket_.IsOpen() && platform::OwnAddress(Socket(), address) ? 1 : 0;
}

const servent* TConnection::ServiceByName(const char* name, const char* protocol) {
  return getservbyname(name, protocol);
}

const servent* TConnection::ServiceByPort(WORD port, const char* protocol) {
  return getservbyport(htons(port), protocol);
}

void TConnection::FinishSending(DWORD milliseconds) {
  if (!socket_.IsOpen() || (flags_ & kPeerConnected) == 0) return;
  shutdown(Socket(), SD_SEND);
  const DWORD end = GetTickCount() + milliseconds;
  std::array<char, 4096> dropped;
  for (;;) {
    const auto remaining = static_cast<LONG>(end - GetTickCount());
    if (remaining <= 0) return;
    if (!platform::WaitForReadiness(Socket(), Readiness::kReadable, static_cast<DWORD>(remaining)))
      return;
    const int result =
        platform::ReceiveNow(Socket(), dropped.data(), static_cast<int>(dropped.size()));
    if (result == 0 || result == SOCKET_ERROR) return;
  }
}

void TConnection::SendWithoutDelay() {
  if (socket_.IsOpen()) platform::SendWithoutDelay(Socket());
}

namespace brevant {

int StartNetwork() {
  constexpr WORD kVersion = 257;  // 1.1
  WSADATA data;
  return WSAStartup(kVersion, &data) == 0 ? 1 : 0;
}

int StopNetwork() { return WSACleanup() == 0 ? 1 : 0; }

std::unique_ptr<TConnection> ConnectTo(const TDestination& destination, DWORD timeout,
                                       const std::atomic<int>* flag) {
  auto connection = std::make_unique<TConnection>(timeout);
  connection->SetContinueFlag(flag);
  if (connection->Connect(destination.sin_addr.s_addr, ntohs(destination.sin_port)) == 0)
    return nullptr;
  return connection;
}

}  // namespace brevant
