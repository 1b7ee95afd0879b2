// The mail dispatch task: sends the forums' new messages to their mailing lists.
#pragma once

#include "shared/board_cache.h"

#include <brevant/frame.h>
#include <brevant/smtp.h>

#include <string>

namespace brevant {
struct TMailText;
}

class TMailDispatchTask : public TTask {
 public:
  TMailDispatchTask(TSetup* setup, TPersistentState* state);

  // One scan of the forums, if anything changed since the last one: 1 when nothing did or the scan
  // was not aborted, else 0. A message that could not be sent is reported and stays for a later
  // scan. The time of the scan is stored whatever came of it; in standard mode only when nothing is
  // left to be tried again.
  int Execute() override;

  TSMTP& Client() { return client_; }
  // How board files are committed from now on; see TBoardCache.
  void SetCommit(brevant::TBoardCache::TCommit commit) { commit_ = std::move(commit); }

 private:
  // What one scan works with.
  struct TRun;
  // What became of a message: it counts as sent, is to be tried again, or was on every list
  // already.
  enum class TOutcome { kSent, kFailed, kNobody };

  int ExecuteRun();
  bool IsDue() const;
  void WatchCommits(TRun& run);
  void DispatchForum(TRun& run, const std::string& name);
  bool DispatchMessage(TRun& run, const brevant::TBoardCache::THandle& forum, DWORD index);
  TOutcome Send(TRun& run, TForum& forum, TMail& message);
  bool LogOn(TRun& run);
  void NameSender(const TRun& run, const TMail& message);
  TOutcome NameRecipients(TRun& run, const std::string& to);
  TOutcome SendMessageText(TRun& run, TForum& forum, TMail& message);
  bool PrepareHeader(TRun& run, const TForum& forum, const TMail& message,
                     brevant::TMailText& text);
  bool StartData();
  bool SendBody(const TRun& run, const std::string& body);
  bool EndData(const TRun& run);
  void TakeBack();
  // Leaves the line of the call in the persistent state.
  void TraceHere(int line = __builtin_LINE());
  bool IsOpen() { return (client_.Status() & kStatusConnected) != 0; }
  bool Aborted() const { return continue_ == 0; }

  TSMTP client_;
  int worked_ = 0;  // a scan was carried out
  brevant::TBoardCache::TCommit commit_;
};
