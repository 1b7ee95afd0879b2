#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "platform.h"
#include "session.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>

namespace host {

namespace {

struct TaskInfo {
  const char* word;  // what the user types
  const char* name;  // what the library calls it
  const char* what;
  const char* server;  // the setting without which it has nowhere to go; null: it needs none
};

constexpr TaskInfo kTasks[] = {
    {"retrieve", "MAIL RETRIEVAL", "Fetching mail", "POP3 Server"},
    {"dispatch", "MAIL DISPATCH", "Passing posts on to mailing lists", "SMTP Server"},
    {"html", "HTML", "Generating the site", nullptr},
    {"files", "FILE MANAGEMENT", "Tidying the site", nullptr},
    {"deliver", "FILE DELIVERY", "Delivering the site", "FTP Server"},
};

// The task that runs now, for the thread on which the user's interruption arrives.
class CurrentTask {
 public:
  void Set(TTask* task) {
    std::lock_guard guard(mutex_);
    task_ = task;
    if (task_ != nullptr && signal_ != 0) task_->Abort();
  }
  void Interrupt(int signal) {
    std::lock_guard guard(mutex_);
    signal_ = signal;
    if (task_ != nullptr) task_->Abort();
  }
  int Signal() const { return signal_; }

 private:
  std::mutex mutex_;
  TTask* task_ = nullptr;
  std::atomic<int> signal_{0};
};

enum class Outcome { kSuccess, kFailure, kSkipped };

class Run {
 public:
  Run(const RunOptions& options, Session& session, CurrentTask& current)
      : options_(options), session_(session), current_(current) {}

  int Execute() {
    bool failed = false;
    for (const TaskInfo& task : kTasks) {
      if (!IsWanted(task)) continue;
      Outcome outcome = ExecuteOne(task);
      if (current_.Signal() != 0) break;
      // A task that was asked for by name and cannot run is a failure; in a run of everything it is
      // only mentioned.
      failed = failed || outcome == Outcome::kFailure ||
               (outcome != Outcome::kSuccess && !options_.tasks.empty());
      if (task.word == std::string("html")) pagesMade_ = outcome == Outcome::kSuccess;
    }
    Console::Finish();
    if (current_.Signal() != 0) {
      PrintLine("Interrupted; what was done so far is kept.");
      return 128 + current_.Signal();
    }
    return failed ? kExitFailure : kExitSuccess;
  }

 private:
  bool IsWanted(const TaskInfo& task) const {
    return options_.tasks.empty() || std::find(options_.tasks.begin(), options_.tasks.end(),
                                               task.word) != options_.tasks.end();
  }

  // Why the task is not to run; empty when it is.
  std::string Obstacle(const TaskInfo& info) const {
    if (info.word == std::string("files") && !pagesMade_) {
      // An attachment that no page shows yet would count as unused.
      return "it needs pages generated in the same run (html)";
    }
    // Asked for by name, a task tells itself that it has no server; delivery alone takes that for
    // nothing to do, and whoever asks for it believes his site to be on the server.
    const bool asked = !options_.tasks.empty() && info.word != std::string("deliver");
    if (info.server == nullptr || asked || session_.Setup().String(info.server)[0] != '\0') {
      return {};
    }
    return "the setting \"" + std::string(info.server) + "\" is empty";
  }

  Outcome ExecuteOne(const TaskInfo& info) {
    const std::string head = std::string(info.word) + ": ";
    const std::string obstacle = Obstacle(info);
    if (!obstacle.empty()) {
      PrintLine(head + "left out, " + obstacle);
      return Outcome::kSkipped;
    }
    TTask* task = CreateTask(info.name);
    if (task == nullptr) {
      PrintLine(head + "cannot be started");
      return Outcome::kFailure;
    }
    const Outcome outcome = Perform(info, *task);
    DestroyTask(task);
    return outcome;
  }

  Outcome Perform(const TaskInfo& info, TTask& task) {
    const std::string head = std::string(info.word) + ": ";
    PrintLine(head + info.what);
    Console::TakeFailure();
    current_.Set(&task);
    int result = task.Execute();
    current_.Set(nullptr);
    Console::Finish();
    bool failed = Console::TakeFailure() || result == 0;
    if (current_.Signal() == 0) PrintLine(head + (failed ? "failed" : "done"));
    return failed ? Outcome::kFailure : Outcome::kSuccess;
  }

  const RunOptions& options_;
  Session& session_;
  CurrentTask& current_;
  bool pagesMade_ = false;
};

void CheckTaskNames(const std::vector<std::string>& tasks) {
  std::vector<std::string> known = RunTaskNames();
  for (const std::string& task : tasks) {
    if (std::find(known.begin(), known.end(), task) != known.end()) continue;
    std::string list;
    for (const std::string& name : known) list += (list.empty() ? "" : ", ") + name;
    throw UserError("Cannot run \"" + task + "\": the tasks are " + list);
  }
}

}  // namespace

std::vector<std::string> RunTaskNames() {
  std::vector<std::string> names;
  for (const TaskInfo& task : kTasks) names.emplace_back(task.word);
  return names;
}

int RunCommand(const RunOptions& options) {
  CheckTaskNames(options.tasks);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  session.CheckDirectories();
  CurrentTask current;
  Console::Start(options.verbose);
  InterruptWatcher watcher([&current](int signal) { current.Interrupt(signal); });
  return Run(options, session, current).Execute();
}

}  // namespace host
