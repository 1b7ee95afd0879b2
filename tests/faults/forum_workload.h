// A random series of changes to one forum, the same for the same seed.
#pragma once

#include <brevant/board.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace faults {

// Watches a workload from commit to commit.
class WorkloadObserver {
 public:
  virtual ~WorkloadObserver() = default;
  // From here on until Committed the next state may come to be on the disk.
  virtual void Committing() = 0;
  // What was changed so far was reported safe.
  virtual void Committed() = 0;
  // After a close, which reports nothing: whether all went well and the workload goes on. In that
  // case Committed is called, too.
  virtual bool ClosedWell() = 0;
};

class ForumWorkload {
 public:
  static constexpr const char* kForum = "board";
  static constexpr const char* kFile = "board.mwd";

  explicit ForumWorkload(unsigned seed);
  ~ForumWorkload();
  ForumWorkload(const ForumWorkload&) = delete;
  ForumWorkload& operator=(const ForumWorkload&) = delete;

  // Makes what is there before, if anything. The directory's name ends with "/".
  void Prepare(const std::string& directory);
  // Makes all changes with several commits and ends with a close. Stops at the first operation
  // that fails, without another commit: false then. A failed operation that is not followed by a
  // refused commit is told by *unsafe.
  bool Run(const std::string& directory, WorkloadObserver& observer, bool* unsafe);

  // What the forum should hold at the moment, kept beside it: subject and content by index.
  using Messages = std::map<DWORD, std::pair<std::string, std::string>>;
  const Messages& Expected() const { return expected_; }
  // Whether there is a forum at the moment, rather than nothing or an empty file.
  bool HasForum() const { return hasForum_; }

 private:
  enum class Step;
  struct Action {
    Step step;
    unsigned number;  // which message, key, ...
    unsigned size;    // bytes of content
  };

  // From 0 to count - 1.
  unsigned Choose(std::size_t count);
  void Plan();
  void PlanCommit();
  bool Do(const Action& action);
  bool Create(const std::string& directory);
  bool Open(const std::string& directory);
  bool Close(WorkloadObserver& observer);
  bool Commit(WorkloadObserver& observer);
  bool Insert(const Action& action);
  bool Replace(const Action& action);
  bool Remove(const Action& action);
  bool Rename(const Action& action);
  bool Relink(const Action& action);
  bool ChangeList(const Action& action);
  bool ChangeProperty(const Action& action);
  bool ChangeSubForum(const Action& action);
  bool ChangeAnnouncement(const Action& action);
  bool Mark(const Action& action);
  // The index of one of the messages; 0 when there is none.
  DWORD Pick(unsigned number) const;

  std::mt19937 random_;
  bool startsEmpty_ = false;
  unsigned before_ = 0;  // messages that are there before
  LONG limit_ = 16;
  std::vector<Action> actions_;
  std::unique_ptr<TForum> forum_;
  std::unique_ptr<TMail> draft_;
  Messages expected_;
  Messages prepared_;
  bool hasForum_ = false;
};

}  // namespace faults
