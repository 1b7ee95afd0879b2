// Servers on the loopback interface for tests and demonstrations: a personality speaks a protocol
// properly, a list of deviations says where this server departs from it.
#pragma once

#include "platform/win32.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace test {

// What a personality says to one line.
struct ServerAnswer {
  // The command that is answered, upper case, "GREETING" for the greeting; empty for lines that are
  // no commands (the lines of a mail being sent, say).
  std::string command;
  std::string bytes;
  bool close = false;
  // Runs after the bytes were sent, unless a deviating reply of another kind (by its first
  // character) took their place; what it gives is sent next, as the answer to the command with
  // "-END" (the end of a file transfer).
  std::function<std::string()> afterwards;
};

// One client's conversation. A personality is a class derived from it.
class ServerSession {
 public:
  virtual ~ServerSession() = default;
  virtual std::string Greeting() = 0;
  // line comes without its line end.
  virtual ServerAnswer OnLine(const std::string& line) = 0;
  // line comes with its line end, which is LF or CR LF.
  virtual ServerAnswer OnRawLine(const std::string& line);
  // The answer is about to be sent, with these bytes: a deviation may have changed them, and a
  // personality that does what its answers say goes by what is sent.
  virtual void OnAnswer(const ServerAnswer& answer, const std::string& sent);
};

// How the answer to a command departs from what it should be.
struct Deviation {
  std::string command;    // upper case; "GREETING" for the greeting
  int occurrence = 0;     // the n-th such command of the server's life, from 1; 0: each
  bool replaced = false;  // reply stands for the proper answer
  std::string reply;      //
  int delay = 0;          // milliseconds before the answer
  int dribble = -1;       // milliseconds between single bytes; -1: all at once
  long burst = 0;         // so many bytes go out at once before the dribble begins
  long dropAfter = -1;    // close after this many bytes of the answer
  bool reset = false;     // ... and close with a reset
  bool silent = false;    // no answer at all
  bool endless = false;   // the answer without its last line end
  long flood = 0;         // bytes of reply, repeated, before the answer
};

// Reads one deviation from text: COMMAND N ACTION, where N is a number or "*" and ACTION is one or
// more of
//   reply "TEXT"       this instead of the proper answer (escapes \r \n \t \\ \" \xHH)
//   delay MS           later
//   dribble MS         byte by byte
//   burst N            the first N bytes of what is dribbled at once
//   drop N             closed after N bytes of the answer; reset N: with a reset
//   silent             no answer
//   endless            the answer without its last line end
//   flood N "TEXT"     TEXT again and again until N bytes went out, then the answer
// Throws std::runtime_error when the text is none of these.
Deviation ParseDeviation(std::string_view text);

// The text between two double quotes with its escapes undone; *at is moved behind it.
std::string ParseQuoted(std::string_view text, std::size_t* at);
// The reverse of ParseQuoted.
std::string Quote(std::string_view bytes);

// Watches one client's conversation and decides, answer by answer, how the server deviates: for
// tests that make it up as they go. Called by the conversation's thread alone.
class Saboteur {
 public:
  virtual ~Saboteur() = default;
  // A line came, with its line end.
  virtual void OnLine(const std::string& line) = 0;
  // The proper answer to a command, as a personality names it, is about to be sent. Not called for
  // lines that are no commands.
  virtual Deviation OnAnswer(const std::string& command, const std::string& bytes) = 0;
};

// A listening socket on 127.0.0.1.
class LoopbackListener {
 public:
  // port 0: one that the system chooses.
  explicit LoopbackListener(WORD port = 0, int backlog = 64);
  ~LoopbackListener();
  LoopbackListener(const LoopbackListener&) = delete;
  LoopbackListener& operator=(const LoopbackListener&) = delete;

  WORD Port() const { return port_; }
  SOCKET Socket() const { return socket_; }

 private:
  SOCKET socket_;
  WORD port_ = 0;
};

// A port of 127.0.0.1 on which nobody listens.
WORD UnusedPort();

// A listener whose queue is full: attempts to connect to it get no answer at all.
class BlackHole {
 public:
  BlackHole();
  ~BlackHole();
  BlackHole(const BlackHole&) = delete;
  BlackHole& operator=(const BlackHole&) = delete;
  WORD Port() const { return listener_.Port(); }

 private:
  LoopbackListener listener_;
  std::vector<SOCKET> queue_;
};

// Serves any number of clients, each in a thread of its own, until it is destroyed.
class LoopbackServer {
 public:
  using SessionMaker = std::function<std::unique_ptr<ServerSession>()>;
  explicit LoopbackServer(SessionMaker maker, std::vector<Deviation> deviations = {},
                          WORD port = 0);
  virtual ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  using SaboteurMaker = std::function<std::unique_ptr<Saboteur>()>;
  // A new saboteur for each client that comes from now on takes the place of the deviations.
  void SabotageBy(SaboteurMaker maker);

  WORD Port() const { return listener_.Port(); }
  // The exact bytes that the clients sent, one after another.
  std::string Transcript() const;
  // How many clients came, and how many of them have gone.
  int Accepted() const { return accepted_; }
  int Finished() const { return finished_; }
  // Waits until as many clients have gone; false when that takes longer than milliseconds.
  bool WaitUntilFinished(int clients, int milliseconds = 20000) const;
  // Ends all conversations and the threads. Called by the destructor, and by that of a derived
  // class whose members the sessions use.
  void Stop();

 private:
  class Conversation;

  void AcceptClients();
  // The deviation for this occurrence of a command, or null.
  const Deviation* DeviationFor(const std::string& command);

  std::unique_ptr<Saboteur> MakeSaboteur();

  SessionMaker maker_;
  SaboteurMaker saboteurMaker_;
  std::vector<Deviation> deviations_;
  LoopbackListener listener_;
  std::atomic<bool> stopping_{false};
  std::atomic<int> accepted_{0};
  std::atomic<int> finished_{0};
  mutable std::mutex mutex_;
  std::vector<std::string> transcripts_;
  std::vector<std::pair<std::string, int>> occurrences_;
  std::vector<std::thread> conversations_;
  std::thread acceptor_;
};

}  // namespace test
