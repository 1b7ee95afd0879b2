// What delivery has to do for one directory, found by comparing it with the remote file table.
#pragma once

#include "shared/local_folder.h"

#include <brevant/remote_fat.h>

#include <string>
#include <vector>

namespace brevant {

struct TDeliveryPlan {
  std::vector<const TLocalFile*> fresh;    // not in the table
  std::vector<const TLocalFile*> changed;  // there with another size or checksum
  std::vector<std::string> removed;        // in the table, and not here any more
  // Of these the ones that differ from a fresh file in letter case only: a server that ignores it
  // would delete the fresh one.
  std::vector<std::string> respelled;
  // Whether a directory here is not on the server yet, and those that are there and not here any
  // more.
  bool freshFolder = false;
  std::vector<std::string> goneFolders;

  bool Any() const;
};

// local must outlive the plan.
TDeliveryPlan PlanDelivery(const TLocalFolder& local, const TRemoteDirectoryRecord& record);
// Adds what is to be done about the directories in that of the section key.
void PlanFolders(const TLocalFolder& local, const TRemoteFAT& table, const std::string& key,
                 TDeliveryPlan* plan);

// The section of the table for the top of the site: a relative directory is one of the account's.
std::string TopKey(const std::string& account, const std::string& directory);
// The separator that goes on in a key as it has begun.
char SeparatorOf(const std::string& key);
// Whether a command can carry the name.
bool CanBeSent(const std::string& name);

}  // namespace brevant
