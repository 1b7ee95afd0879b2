// A POP3 server with a mailbox in memory.
#pragma once

#include "support/server.h"

#include <memory>
#include <string>
#include <vector>

namespace test {

struct Pop3Options {
  std::vector<Deviation> deviations;
  WORD port = 0;                    // 0: one that the system chooses
  std::string account;              // empty: any
  std::string password;             // empty: any
  int lastRead = -1;                // the answer to "LAST"; -1: refused, as by most servers
  bool emptyLineBeforeDot = false;  // an empty line before the end mark, as servers of old sent it
};

// Serves the messages given, each a whole mail; line ends may be LF or CR LF and go out as CR LF,
// dots doubled. Deletions count from "QUIT" on.
class Pop3Server {
 public:
  explicit Pop3Server(std::vector<std::string> messages, Pop3Options options = {});
  ~Pop3Server();

  WORD Port() const;
  // The messages that are left, as they were given.
  std::vector<std::string> Messages() const;
  // Puts one more into the mailbox; sessions that are open do not see it.
  void Add(std::string message);
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
