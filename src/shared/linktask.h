// The file management task: deletes what no page of the site refers to any longer.
#pragma once

#include "shared/kept_files.h"
#include "shared/site_listing.h"

#include <brevant/frame.h>

class TFileManagementTask : public TTask {
 public:
  TFileManagementTask(TSetup* setup, TPersistentState* state);

  // One scan, due when the site was updated since the last one. 1 when none was due or it was done;
  // 0 when it was aborted, or the site's directory cannot be entered, or a page of it not be read
  // to its end or is a link out of it, in which case nothing is deleted and no time is stored. An
  // aborted scan stores its time.
  int Execute() override;

 private:
  int ExecuteScan();
  bool IsDue() const;
  void AddMainPages(brevant::TKeptFiles& kept) const;
  // False when a page could be read in part only.
  bool FollowLinks(const brevant::TSiteListing& site, brevant::TKeptFiles& kept);
  bool ReadPage(const std::string& path, brevant::TKeptFiles& kept) const;
  void EraseOrphans(const brevant::TSiteListing& site, const brevant::TKeptFiles& kept);
  // Leaves the line of the call in the persistent state.
  void TraceHere(int line = __builtin_LINE());

  int worked_ = 0;
};
