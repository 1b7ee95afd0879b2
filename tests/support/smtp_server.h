// An SMTP server that keeps what it is sent.
#pragma once

#include "support/server.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

// What ends a line of a mail.
enum class SmtpLineEnds {
  kCrLf,  // CR LF alone, as RFC 5321 has it
  kAny,   // CR, LF or CR LF, as servers do that let mails be smuggled in
};

struct SmtpOptions {
  // Commands are GREETING, HELO, EHLO, MAIL, RCPT, DATA, END (the end of the data), RSET, NOOP,
  // QUIT. The server goes by the replies that it really gives: after a refused DATA the lines that
  // come are commands to it, and a mail whose end is not answered with 250 is not kept.
  std::vector<Deviation> deviations;
  WORD port = 0;         // 0: one that the system chooses
  bool extended = true;  // whether "EHLO" is known
  // Whether addresses without angle brackets, and unknown parameters behind them, are refused.
  bool strictPaths = false;
  SmtpLineEnds lineEnds = SmtpLineEnds::kCrLf;
  // The replies to "MAIL" and "RCPT" for single addresses, as "550 no such user".
  std::map<std::string, std::string> senderReplies;
  std::map<std::string, std::string> recipientReplies;
  // Milliseconds for which nothing is read after the 354.
  int pauseInData = 0;
};

struct SmtpMail {
  std::string sender;  // without angle brackets
  std::vector<std::string> recipients;
  std::string raw;      // the exact bytes between the 354 and the line "."
  std::string content;  // the same with doubled dots undone
};

class SmtpServer {
 public:
  explicit SmtpServer(SmtpOptions options = {});
  ~SmtpServer();

  WORD Port() const;
  // The mails accepted so far, in the order of their ends.
  std::vector<SmtpMail> Mails() const;
  // The command lines of all clients without their line ends: everything outside of mails.
  std::vector<std::string> Commands() const;
  // The exact bytes that the clients sent.
  std::string Transcript() const;
  LoopbackServer& Server();

 private:
  struct Mailbox;
  class Session;

  std::shared_ptr<Mailbox> mailbox_;
  std::unique_ptr<LoopbackServer> server_;
};

}  // namespace test
