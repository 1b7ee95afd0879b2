// An FTP server that really serves a directory, and departs from its protocol where it is told to.
#pragma once

#include "support/server.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test {

// How the data connection of one transfer (RETR, STOR, LIST, NLST) goes wrong.
struct DataFault {
  int transfer = 0;       // the n-th transfer of the server's life, from 1; 0: each
  bool refused = false;   // PASV names a port on which nobody listens; PORT is not connected to
  long cutAfter = -1;     // the server closes after this many bytes: 426
  bool reset = false;     // ... with a reset
  long stallAfter = -1;   // after this many bytes it neither sends nor takes any more
  bool stranger = false;  // before the server somebody else (127.0.0.2) connects to the client
  int stallTime = -1;     // milliseconds of a stall; -1: until the server is stopped
  long flood = 0;         // what is sent is sent again until so many bytes went out
};

// Reads one fault from text: N ACTION, N a number or "*", one or more of
//   refused   cut BYTES   reset   stall BYTES   stranger
DataFault ParseDataFault(std::string_view text);

enum class ListingStyle {
  kUnix,     // "-rw-r--r--    1 ftp      ftp          4096 Nov 21 23:12 name"
  kDos,      // "11-21-97  11:12PM                 4096 name"
  kNetWare,  // "- [RWCEAFMS] ftp                        4096 Nov 21 23:12 name"
};

struct FtpOptions {
  // How the answers to commands deviate, see support/server.h. A transfer's final reply is the
  // answer to the command with "-END": "STOR-END 1 silent". A deviating reply that begins with
  // another digit takes the place of all that follows, so "STOR 1 reply \"550 no\\r\\n\"" transfers
  // nothing.
  std::vector<Deviation> deviations;
  std::vector<DataFault> dataFaults;
  // Instead of them: the fault of the n-th transfer, the same whenever it is asked for.
  std::function<DataFault(int transfer)> dataFault;
  // Milliseconds that the server waits for the client to connect to a port that it has opened.
  int connectionWait = 20000;
  WORD port = 0;         // 0: one that the system chooses
  std::string account;   // empty: any
  std::string password;  // empty: any
  std::string home;      // the directory after the log-on, below the root: "home/board"
  // The reply to PASV; %A becomes "127,0,0,1", %P the port's two bytes.
  std::string passiveReply = "227 Entering Passive Mode (%A,%P).\r\n";
  char refusedSeparator = '\0';  // "/" or "\": a path that holds it is refused with 501
  bool foldsCase = false;        // names differ in more than letter case
  ListingStyle listing = ListingStyle::kUnix;
  // Sent instead of the listing; null for the true one.
  std::shared_ptr<const std::string> listText;
  std::shared_ptr<const std::string> nlstText;
  // Called, in the conversation's thread, with each line that comes, before it is answered.
  std::function<void(const std::string& line)> onCommand;
  // Changes what RETR, LIST and NLST are about to send.
  std::function<void(std::string* bytes)> alterData;
  // Called with the count of bytes that a transfer has moved, for each block.
  std::function<void(long bytes)> onData;
};

// Serves a directory of this machine as its root. Transfers of type A are converted, and A is what
// a session begins with: who forgets "TYPE I" finds out.
class FtpServer {
 public:
  explicit FtpServer(std::string root, FtpOptions options = {});
  ~FtpServer();
  FtpServer(const FtpServer&) = delete;
  FtpServer& operator=(const FtpServer&) = delete;

  WORD Port() const;
  // The lines that came, in order, and the first word of each.
  std::vector<std::string> Commands() const;
  std::vector<std::string> Verbs() const;
  // Forgets the lines that came so far.
  void ForgetCommands();
  // The exact bytes that came, conversation by conversation.
  std::string Transcript() const;
  LoopbackServer& Server();

 private:
  struct State;
  class Session;

  std::shared_ptr<State> state_;
  std::unique_ptr<LoopbackServer> server_;
};

}  // namespace test
