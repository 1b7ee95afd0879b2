// A board with its servers, ready for a round of the five tasks, that can be put back to what it
// was before each of them.
#pragma once

#include "support/temporary_directory.h"
#include "unit/shared/full_circle.h"

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace faults {

inline constexpr std::size_t kTaskCount = std::size(test::kTasks);

class TaskRound : public test::FullCircle {
 protected:
  // What a round leaves, without what may differ from one to the next: numbers of messages, names
  // of attachments, times.
  struct End {
    std::multiset<std::string> filed;  // of all containers
    std::multiset<std::string> sent;   // mails to the reader
    std::map<std::string, std::string> site;
  };

  void SetUp() override;

  // The board and the server's files as they were before the task, the mail of the round in the
  // mailbox if that task is the first.
  void Restore(std::size_t task);
  // One task with short time-outs.
  static std::unique_ptr<TTask, decltype(&DestroyTask)> NewTask(std::size_t task);
  // The task and those behind it; each must succeed and report no failure.
  void RunFrom(std::size_t task);
  // Whole, as ExpectWhole has it, and what it holds.
  End Look();
  // What is sent from now on is looked at.
  void ForgetSent() { sentBefore_ = smtp_->Mails().size(); }
  // Files of the board that are open, but for profile files, of which the library keeps some.
  std::size_t OpenFiles() const;

  // What the undisturbed round left, run from the task.
  const End& Undisturbed(std::size_t task) const { return ends_.at(task); }

 private:
  void MakeChanges();
  void Save(std::size_t task);
  std::multiset<std::string> Filed();
  void AddItems(brevant::TBoardKind kind, const std::string& name,
                std::multiset<std::string>* filed);

  test::TemporaryDirectory saved_;
  std::vector<std::string> mails_;  // of the round
  std::size_t sentBefore_ = 0;
  std::array<End, kTaskCount> ends_;
};

}  // namespace faults
