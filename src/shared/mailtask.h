// The mail retrieval task: takes the board's mail out of its mailbox.
#pragma once

#include "shared/board_cache.h"
#include "shared/filing_ledger.h"
#include "shared/mail_routes.h"
#include "shared/message_reader.h"

#include <brevant/frame.h>
#include <brevant/net.h>

#include <string>

class TMailRetrievalTask : public TTask {
 public:
  TMailRetrievalTask(TSetup* setup, TPersistentState* state);

  // One pass over the mailbox: 1 when the task was not aborted, the log-on succeeded and everything
  // that was to be filed could be written safely, else 0.
  int Execute() override;
  // Ends every wait of the connection. What was filed is still committed, and "QUIT" still sent.
  void Abort() override;

  TMIMEEnabledPOP3& Client() { return client_; }
  // How board files are committed from now on; see TBoardCache.
  void SetCommit(brevant::TBoardCache::TCommit commit) { commit_ = std::move(commit); }

 private:
  // What one pass works with.
  struct TRun;

  int ExecuteRun();
  bool LogOn(const std::string& server);
  void WatchCommits(TRun& run);
  void WalkMailbox(TRun& run);
  bool HandleMessage(TRun& run);
  bool HandleItem(TRun& run, const brevant::TMailHeaders& headers,
                  const brevant::TMailRoute& route);
  bool HandleVote(TRun& run, const brevant::TMailHeaders& headers);
  bool NotRetrieved(brevant::TReadResult result, const brevant::TMailHeaders& headers);
  bool Complete(TRun& run, TMail& mail, const brevant::TMailHeaders& headers,
                const brevant::TMailRoute& route);
  bool FileMessage(TRun& run, TMail& mail, const brevant::TMailHeaders& headers,
                   const brevant::TMailRoute& route, brevant::TMessageReader& reader);
  bool ChangeMailingList(TRun& run, TForum& forum, TMail& mail, const std::string& address);
  bool CannotKeep(const std::string& container);
  bool DeleteMessage(TRun& run);
  void LogOff(TRun& run);
  bool DeleteSafeOnly(TRun& run);
  // Leaves the line of the call in the persistent state.
  void TraceHere(int line = __builtin_LINE());
  bool Aborted() const { return continue_ == 0; }

  TMIMEEnabledPOP3 client_;
  brevant::TMailRoutes routes_;
  brevant::TBoardCache::TCommit commit_;
  bool loggedOn_ = false;
  bool failed_ = false;  // something could not be made safe
  bool broken_ = false;  // the walk cannot go on
  int handled_ = 0;
};
