// One TCP connection: every operation ends when the process-wide deadline has passed, when it is
// interrupted, or when the task's continue flag is clear.
#pragma once

#include "net/transport.h"
#include "net/waiting.h"
#include "platform/network.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <utility>

// An endpoint: family 2, port and IPv4 address in network order, 8 zero bytes.
using TDestination = sockaddr_in;

// State flags of a connection.
enum TConnectionFlags : DWORD { kSocketOpen = 1, kPeerConnected = 2 };

// Owns a socket. A close is tried again for as long as a call still in progress on another thread
// keeps the socket from closing.
class UniqueSocket {
 public:
  UniqueSocket() = default;
  explicit UniqueSocket(SOCKET socket) : socket_(socket) {}
  UniqueSocket(UniqueSocket&& other) noexcept
      : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
  UniqueSocket& operator=(UniqueSocket&& other) noexcept {
    std::swap(socket_, other.socket_);
    return *this;
  }
  ~UniqueSocket();

  SOCKET Get() const { return socket_; }
  bool IsOpen() const { return socket_ != INVALID_SOCKET; }

 private:
  SOCKET socket_ = INVALID_SOCKET;
};

// Addresses are IPv4 in network byte order, ports in host byte order. Operations give 1 for success
// and 0 for failure unless they say otherwise. Transfers give byte counts, 0 at the peer's end,
// negative on error; LastWait tells an error from a wait that was given up. "Arms" below means that
// the operation raises the process-wide deadline to now plus the connection's time-out first.
class TConnection {
 public:
  static constexpr DWORD kDefaultTimeout = 60000;
  static constexpr int kReceiveRoom = 16384;  // the longest look-ahead

  // Opens a stream socket; Flags() tells whether that succeeded. Arms.
  explicit TConnection(DWORD timeout = kDefaultTimeout);
  // Adopts an open socket, or none.
  TConnection(UniqueSocket socket, DWORD timeout);
  ~TConnection();
  TConnection(const TConnection&) = delete;
  TConnection& operator=(const TConnection&) = delete;

  int Connect(DWORD address, WORD port);
  // To the peer record as it is.
  int ConnectAgain();
  int Bind(DWORD address, WORD port);
  // Binds to the record and fills it with the address that the socket then has.
  int Bind(TDestination* address);
  int Listen(int backlog);  // does not arm
  // The accepted connection, with this one's time-out and continue flag; null on failure.
  std::unique_ptr<TConnection> Accept(TDestination* peer);

  // What one receive gives; bytes that were looked at before come first.
  int Receive(char* buffer, int size);
  // The same without taking the bytes.
  int Peek(char* buffer, int size);
  // Looks at the next size bytes (kReceiveRoom at most), or fewer when a line feed is among them or
  // the peer has closed. The count of bytes that are there.
  int PeekAhead(char* buffer, int size);
  // Reads up to a CR, LF or CR LF, which is stored only with keepTerminator. The text is
  // terminated. A line of size - 1 characters or more loses the character that follows those
  // stored, even a terminator; the rest stays. When the wait ends, what came so far is the line.
  // The result is the number of characters stored, -1 when nothing at all came. Arms once for the
  // whole line.
  int ReceiveLine(char* buffer, int size, bool keepTerminator);
  // Reads up to an LF, which is stored, or size - 1 characters; no character is ever lost.
  int ReceivePiece(char* buffer, int size);
  // Sends all bytes; size, or -1 when that was not possible.
  int Send(const char* buffer, int size);
  int SendTo(const char* buffer, int size, DWORD address, WORD port);
  // One attempt to send, which does not wait; the count of bytes or a negative number. It may come
  // from a thread other than the connection's.
  int SendAtOnce(const char* buffer, int size);
  // Whether a receive would give something, if only the peer's end, without waiting.
  bool HasInput() const;

  // Looks the host up; its entry is then in Host(). A dotted address without a name gives an entry
  // that holds the address alone.
  int Resolve(const char* host);
  // The flat copy of the last entry found, or null.
  const hostent* Host() const;
  // Its first address.
  DWORD HostAddress() const;

  int OwnAddress(TDestination* address) const;
  static const servent* ServiceByName(const char* name, const char* protocol);
  static const servent* ServiceByPort(WORD port, const char* protocol);

  // Tells the peer that nothing more comes and drops what it still sends until it closes too,
  // for milliseconds at most: closing with unread bytes would take back what was sent last. Neither
  // the deadline nor the continue flag has a say.
  void FinishSending(DWORD milliseconds);
  // Small packets leave at once.
  void SendWithoutDelay();

  SOCKET Socket() const { return socket_.Get(); }
  DWORD Flags() const { return flags_; }
  const TDestination& Peer() const { return peer_; }
  DWORD Timeout() const { return timeout_; }
  void SetTimeout(DWORD milliseconds) { timeout_ = milliseconds; }
  void SetContinueFlag(const std::atomic<int>* flag) { continueFlag_ = flag; }
  // How the last wait ended.
  brevant::WaitEnd LastWait() const { return lastWait_; }

 private:
  void Adopt(UniqueSocket socket);
  DWORD Arm() const { return brevant::ArmDeadline(timeout_); }
  bool WaitForSocket(brevant::platform::Readiness wanted, DWORD armed);
  // One receive into the area given, for which the peer has some microseconds; else kWaitToRead or
  // kWaitToWrite.
  int ReceiveSoon(char* buffer, int size);
  // One receive into the area given, waiting as long as it takes.
  int ReceiveInto(char* buffer, int size, DWORD armed);
  // Adds to the bytes held; the result of the receive.
  int FillBuffer(DWORD armed);
  int Held() const { return end_ - start_; }
  const char* HeldBytes() const { return buffer_.get() + start_; }
  void Drop(int count);
  // The next byte held, waiting for one if need be; false when none came.
  bool NextByte(char* next, DWORD armed);
  void StoreHost(const brevant::platform::HostEntry& entry);

  UniqueSocket socket_;
  TDestination peer_;
  alignas(hostent) std::array<char, 1024> hostArea_{};
  DWORD flags_ = 0;
  DWORD timeout_;
  bool hasHost_ = false;
  int soonMisses_ = 0;        // how often in a row nothing came soon
  int sleepsBeforeSoon_ = 0;  // receives that do not try
  const std::atomic<int>* continueFlag_ = nullptr;
  brevant::WaitEnd lastWait_ = brevant::WaitEnd::kReady;
  std::unique_ptr<brevant::Transport> transport_;
  std::unique_ptr<char[]> buffer_;
  int start_ = 0;
  int end_ = 0;
};

namespace brevant {

// Starts and stops the process's use of the network; 1 when that succeeded.
int StartNetwork();
int StopNetwork();

// A connection to the destination, or null.
std::unique_ptr<TConnection> ConnectTo(const TDestination& destination, DWORD timeout,
                                       const std::atomic<int>* flag);

}  // namespace brevant
