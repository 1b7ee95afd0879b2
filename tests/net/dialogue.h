// Dialogue cases: one text file each, run against a scripted server. See cases/README.md.
#pragma once

#include "support/server.h"

#include <memory>
#include <string>
#include <vector>

namespace test {

// One line of a case's "run" list: an operation, its arguments, and what it must give.
struct DialogueStep {
  std::string operation;
  std::string arguments;
  std::string expected;
  int line = 0;
};

struct DialogueCase {
  std::string protocol;
  DWORD status = 0;       // status bits set before Connect
  DWORD timeout = 20000;  // milliseconds
  std::vector<std::string> messages;
  std::vector<std::string> options;  // for the server's personality
  std::vector<Deviation> deviations;
  std::vector<DialogueStep> steps;
  bool checksClient = false;
  std::string client;                // the exact bytes that the client must have sent
  std::vector<std::string> history;  // the exact history lines
  long within = 60000;               // milliseconds for all steps
  int left = -1;                     // messages left on the server; -1: not looked at
};

// Throws std::runtime_error, with the line, when the text is no case.
DialogueCase ParseDialogue(const std::string& text);

// The words of a text; quoted ones may hold blanks and escapes.
std::vector<std::string> DialogueWords(const std::string& text);

// A protocol's side of the dialogues: a server with its personality and a client that does what the
// steps say.
class DialoguePlayer {
 public:
  virtual ~DialoguePlayer() = default;
  // Runs one step and gives its result as text, numbers in decimal, bytes quoted.
  virtual std::string Run(const DialogueStep& step) = 0;
  // Ends the conversation; afterwards the two below are complete.
  virtual void Finish() = 0;
  virtual std::string ClientBytes() = 0;
  // Messages or files left on the server.
  virtual int Left() = 0;
  // What the host was shown, where the player has a host.
  virtual std::vector<std::string> History() { return {}; }
};

std::unique_ptr<DialoguePlayer> MakeFtpPlayer(const DialogueCase& dialogue);
std::unique_ptr<DialoguePlayer> MakePop3Player(const DialogueCase& dialogue);
std::unique_ptr<DialoguePlayer> MakeRetrievalPlayer(const DialogueCase& dialogue);
std::unique_ptr<DialoguePlayer> MakeSmtpPlayer(const DialogueCase& dialogue);

}  // namespace test
