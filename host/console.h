// What the user sees: plain lines, and on a terminal a progress bar below them.
#pragma once

#include <string>

namespace host {

// Prints a line to standard output; a progress bar on the screen moves below it.
void PrintLine(const std::string& text);
// Prints "brevant-host: text" to standard error.
void PrintError(const std::string& text);

// Shows the status, history and progress of the running task. The library reports through plain
// functions, so there is one display a process.
class Console {
 public:
  // verbose: without a terminal, status texts are printed as lines too.
  static void Start(bool verbose);
  // Removes the progress bar.
  static void Finish();

  static void ShowStatus(const char* text);
  static void ShowHistory(const char* text);
  static void ShowProgress(int done, int total);

  // True when a history line that begins with "Cannot" was shown since the last call.
  static bool TakeFailure();
};

}  // namespace host
