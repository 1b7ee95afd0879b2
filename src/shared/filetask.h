// The file delivery task: brings what changed in the site to the web server.
#pragma once

#include "shared/delivery_plan.h"
#include "shared/local_folder.h"

#include <brevant/frame.h>
#include <brevant/ftp.h>
#include <brevant/remote_fat.h>

#include <memory>
#include <string>
#include <vector>

class TFileDeliveryTask : public TTask {
 public:
  TFileDeliveryTask(TSetup* setup, TPersistentState* state);
  ~TFileDeliveryTask() override;

  // One delivery, due when the site or the settings changed since the last one. 1 when none was due
  // or it was done, 0 when it was aborted, could not log on or could not open a file on the server,
  // and whenever it could not be finished; then the next one goes on.
  int Execute() override;

  TFTP& Client() { return client_; }

 private:
  struct TRun;
  struct TFolder;

  bool IsDue() const;
  int Deliver();
  bool Finish();
  void DeliverFolder(const TFolder& folder);
  void DeliverFolders(const TFolder& folder, const std::vector<std::string>& names);
  bool Scan(const TFolder& folder, brevant::TLocalFolder* local);
  TRemoteDirectoryRecord& Record(const std::string& key) const;

  bool LogOn(const TFolder& folder);
  bool EnterFromTop(const TFolder* folder);
  bool Enter(const TFolder& folder);
  void Leave(const TFolder& folder);
  bool ChangeUp();

  void BringUpToDate(const TFolder& folder, const brevant::TDeliveryPlan& plan);
  void SendFile(const TFolder& folder, const brevant::TLocalFile& file, bool isNew);
  bool Transfer(const brevant::TLocalFile& file, bool isNew);
  bool Store(const brevant::TLocalFile& file);
  std::uint64_t Copy(HANDLE file);
  bool PutInPlace(const std::string& name, bool isNew);
  bool Rename(const std::string& name, bool isNew);
  bool CannotErase(const std::string& name);
  bool EraseFile(const std::string& key, const std::string& name);
  bool EraseFolder(const std::string& key, const std::string& name, int depth);
  bool EraseContents(const std::string& key, int depth);
  void ForgetFolder(const std::string& key, int depth);

  // What a write of the journal gave. Without it a kill would leave a wrong table, so nothing more
  // is done.
  bool Noted(bool written);
  // A step failed: in standard mode the next run tries again.
  void StepFailed();
  // Nothing more can be done in this run, and the next one has to go on.
  void Stop();
  void CheckConnection();
  bool Stopped() const;
  bool Connected() { return (client_.Status() & kStatusConnected) != 0; }
  // Whether there is no reason to try the next file.
  bool Ended() { return Stopped() || !Connected(); }
  // Leaves the line of the call in the persistent state.
  void TraceHere(int line = __builtin_LINE());

  TFTP client_;
  std::unique_ptr<TRemoteFAT> remoteFat_;  // during a delivery
  std::unique_ptr<TRun> run_;              // the same
  bool delivered_ = false;
};
