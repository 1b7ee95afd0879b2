// The data connections of the loopback FTP server.
#pragma once

#include "support/ftp_server.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace test {

// What a transfer needs to know.
struct DataTerms {
  DataFault fault;
  const std::atomic<bool>* stopping = nullptr;
  const std::function<void(long)>* onData = nullptr;
  int connectionWait = 0;  // milliseconds
};

// Where a session's next data connection comes from: a port that it opens or one that it was told.
class DataPort {
 public:
  // Opens a port for the client, or takes one on which nobody listens; its number.
  WORD Listen(bool refused);
  // "127,0,0,1,4,5"; false when it is no address on this machine.
  bool Remember(const std::string& address);
  void Forget();
  bool Known() const { return listener_ != nullptr || activePort_ != 0; }
  // The connection, or INVALID_SOCKET when none came about.
  SOCKET Open(const DataTerms& terms);

 private:
  SOCKET Accept(const DataTerms& terms);

  std::unique_ptr<LoopbackListener> listener_;
  WORD activePort_ = 0;
};

// Owns one data connection.
class DataConnection {
 public:
  DataConnection(SOCKET socket, const DataTerms& terms) : socket_(socket), terms_(terms) {}
  ~DataConnection();
  DataConnection(const DataConnection&) = delete;
  DataConnection& operator=(const DataConnection&) = delete;

  // Sends all bytes, over and over if the fault says so; false when the fault or the client ended
  // it.
  bool SendAll(std::string_view bytes);
  // Hands what comes to take until the client closes; false when the fault ended it.
  bool Receive(const std::function<void(std::string_view)>& take);

 private:
  // Counts the bytes; how many of them still pass.
  std::size_t Pass(std::size_t count);
  bool Send(std::string_view bytes);
  void Stall();
  bool Cut();

  SOCKET socket_;
  const DataTerms& terms_;
  long moved_ = 0;
};

}  // namespace test
