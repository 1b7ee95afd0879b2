// Which messages a retrieval has filed where, so that none leaves the mailbox before it is safe.
#pragma once

#include "shared/board_cache.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace brevant {

class TFilingLedger {
 public:
  // The message, or a vote out of it, was filed in that board file, which is not committed yet;
  // attachments are the paths of the files that it brought.
  void Filed(TBoardKind kind, const std::string& name, LONG number,
             std::vector<std::string> attachments);
  // The file was committed: what it received is safe.
  void Committed(TBoardKind kind, const std::string& name);
  // The file's commit failed: what it received since the last one is lost there, stays in the
  // mailbox, and its attachments are removed.
  void Lost(TBoardKind kind, const std::string& name);
  // The message was deleted from the mailbox, which the server makes good at "QUIT".
  void Deleted(LONG number) { deleted_.push_back(number); }

  bool AnyLost() const { return anyLost_; }
  bool MustStay(LONG number) const { return staying_.contains(number); }
  // The deleted messages except those that must stay, in the order of their deletion.
  std::vector<LONG> SafeDeletions() const;

 private:
  struct TFiled {
    LONG number;
    std::vector<std::string> attachments;
  };

  std::map<std::pair<TBoardKind, std::string>, std::vector<TFiled>> uncommitted_;
  std::vector<LONG> deleted_;
  std::set<LONG> staying_;
  bool anyLost_ = false;
};

}  // namespace brevant
