// A private Dovecot that serves one POP3 mailbox on the loopback interface.
#pragma once

#include "platform/win32.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <memory>
#include <string>
#include <vector>

namespace test {

class DovecotServer {
 public:
  static constexpr const char* kAccount = "board";
  static constexpr const char* kPassword = "secret";

  // Serves the mails, whole texts with LF line ends, in this order. Throws std::runtime_error when
  // the server does not come up.
  explicit DovecotServer(const std::vector<std::string>& mails);
  ~DovecotServer();

  // Why no server can run here; empty when one can.
  static std::string Hindrance();

  WORD Port() const { return port_; }
  // Empties the mailbox and fills it with these. No client may be connected.
  void Refill(const std::vector<std::string>& mails);
  // The mails that are left, in no particular order.
  std::vector<std::string> Left() const;

 private:
  void WriteMailbox(const std::vector<std::string>& mails);
  void WriteConfiguration();
  bool Answers() const;

  TemporaryDirectory directory_;
  WORD port_;
  std::unique_ptr<Program> program_;
};

}  // namespace test
