#include "console.h"

#include "platform.h"
#include "text.h"

#include <algorithm>
#include <cstdio>

namespace host {

namespace {

struct State {
  bool terminal = false;
  bool verbose = false;
  bool failed = false;
  bool barShown = false;
  std::string status;
  int done = 0;
  int total = 0;
};

State& TheState() {
  static State state;
  return state;
}

void ClearBar() {
  State& state = TheState();
  if (!state.barShown) return;
  std::fputs("\r\x1b[K", stdout);
  state.barShown = false;
}

void DrawBar() {
  State& state = TheState();
  if (!state.terminal) return;
  ClearBar();
  if (!state.status.empty() || state.total > 0) {
    std::string line;
    if (state.total > 0) {
      constexpr int kCells = 24;
      int done = std::clamp(state.done, 0, state.total);
      int filled = static_cast<int>(static_cast<long long>(done) * kCells / state.total);
      int percent = static_cast<int>(static_cast<long long>(done) * 100 / state.total);
      std::string number = std::to_string(percent);
      line = "[" + std::string(static_cast<std::size_t>(filled), '#') +
             std::string(static_cast<std::size_t>(kCells - filled), '.') + "] " +
             std::string(3 - std::min<std::size_t>(3, number.size()), ' ') + number + "% ";
    }
    auto columns = static_cast<std::size_t>(std::max(20, TerminalColumns() - 1));
    line = CutUtf8(line + state.status, columns);
    std::fputs(line.c_str(), stdout);
    state.barShown = true;
  }
  std::fflush(stdout);
}

}  // namespace

void PrintLine(const std::string& text) {
  ClearBar();
  std::fputs((text + "\n").c_str(), stdout);
  std::fflush(stdout);
}

void PrintError(const std::string& text) {
  ClearBar();
  std::fflush(stdout);
  std::fputs(("brevant-host: " + text + "\n").c_str(), stderr);
}

void Console::Start(bool verbose) {
  TheState() = State{};
  TheState().terminal = OutputIsTerminal();
  TheState().verbose = verbose;
}

void Console::Finish() {
  ClearBar();
  std::fflush(stdout);
  TheState().status.clear();
  TheState().total = 0;
}

void Console::ShowStatus(const char* text) {
  State& state = TheState();
  std::string safe = Printable(text);
  if (safe == state.status) return;
  state.status = safe;
  if (state.terminal) {
    DrawBar();
  } else if (state.verbose) {
    PrintLine("  " + safe);
  }
}

void Console::ShowHistory(const char* text) {
  std::string safe = Printable(text);
  if (EqualIgnoringCase(safe.substr(0, 6), "cannot")) TheState().failed = true;
  PrintLine("  " + safe);
  DrawBar();
}

void Console::ShowProgress(int done, int total) {
  State& state = TheState();
  state.done = done;
  state.total = total;
  if (total <= 0) state.status.clear();
  DrawBar();
}

bool Console::TakeFailure() {
  bool failed = TheState().failed;
  TheState().failed = false;
  return failed;
}

}  // namespace host
