// What the network tests share.
#pragma once

#include "net/connection.h"
#include "support/pop3_server.h"
#include "support/server.h"

#include <brevant/net.h>

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace test {

// A time-out for operations that must reach it.
inline constexpr DWORD kShortTimeout = 150;
// A time-out for operations that must not, however busy the machine is; and what no operation that
// does not wait for it may take, in milliseconds.
inline constexpr DWORD kPatience = 30000;
inline constexpr long kNoHang = 15000;
// What an abort may take at most.
inline constexpr long kAbortBound = 2000;
inline constexpr DWORD kLoopback = 0x0100007F;  // 127.0.0.1 in network byte order

// Milliseconds since it was made.
class Stopwatch {
 public:
  long Milliseconds() const {
    using std::chrono::duration_cast;
    return static_cast<long>(
        duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_)
            .count());
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// The lines that the protocols hand to the history hook.
class History {
 public:
  History();
  ~History();
  static std::vector<std::string>& Lines();
};

class NetTest : public ::testing::Test {
 protected:
  NetTest() {
    brevant::StartNetwork();
    brevant::ResetDeadline();
  }
  ~NetTest() override { brevant::StopNetwork(); }
};

// A server that says something at once and otherwise keeps still.
class TalkingServer {
 public:
  explicit TalkingServer(std::string greeting, std::vector<std::string> deviations = {},
                         bool close = false);
  WORD Port() const { return server_.Port(); }
  LoopbackServer& Server() { return server_; }

 private:
  LoopbackServer server_;
};

// A connection to a server on this machine.
std::unique_ptr<TConnection> ConnectToPort(WORD port, DWORD timeout = kPatience);

// A mailbox and a client that is logged into it. Client is TPOP3 or TMIMEEnabledPOP3.
template <class Client>
struct Mailbox {
  explicit Mailbox(std::vector<std::string> messages, DWORD status = 0, Pop3Options options = {},
                   DWORD timeout = kPatience)
      : server(std::move(messages), std::move(options)) {
    client.Status() |= status;
    client.SetTimeout(timeout);
    const TSecurityInfos security("user", "secret");
    connected = client.Connect("127.0.0.1", security, server.Port());
  }

  // From here on waits are expected to end at their time-out.
  void ExpectSilence(DWORD timeout = kShortTimeout) {
    client.SetTimeout(timeout);
    brevant::ResetDeadline();
  }

  Pop3Server server;
  Client client;
  int connected = 0;
};

// A mailbox that serves this raw text as the reply to "RETR" of message 1, end mark included.
Pop3Options RawMessage(const std::string& raw);

// Everything Read gives, with buffers of this size.
std::string ReadAll(TProtocol& client, int size = 1024);

}  // namespace test
