// A directory of the site as delivery sees it.
#pragma once

#include "shared/file_checksum.h"

#include <brevant/remote_fat.h>

#include <atomic>
#include <functional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace brevant {

struct TLocalFile {
  TRemoteFileRecord record;  // with the name that the server is to know
  std::string path;
};

struct TLocalFolder {
  std::vector<TLocalFile> files;     // in the order of the directory
  std::vector<std::string> folders;  // those to be delivered
  // Names, as the server is to know them, of files that cannot be read, and of directories that are
  // not delivered: what the server holds under these is not gone here.
  std::unordered_set<std::string> kept;
};

class TLocalScan {
 public:
  // goOn: scanning ends when it is clear. keepCase: names that fit 8.3 are not made lower case.
  // root: the site, out of which no file's link is followed.
  TLocalScan(const std::atomic<int>& goOn, bool keepCase, std::string root)
      : goOn_(goOn), keepCase_(keepCase), root_(std::move(root)), summer_(goOn) {}

  // Called before each file with its number, from 1, and with the path of one that cannot be read.
  std::function<void(int)> onFile;
  std::function<void(const std::string&)> onUnreadable;

  // Sizes and checksums of the plain files (all that are no directories), and the directories that
  // are no symbolic links. A link to a file that is not in the site counts as one that cannot be
  // read. Temporaries and journals are left out. path ends in a separator. False when the directory
  // cannot be listed.
  bool Scan(const std::string& path, TLocalFolder* folder);

 private:
  void TakeFile(const std::string& path, const std::string& name, int number, TLocalFolder* folder);

  const std::atomic<int>& goOn_;
  bool keepCase_;
  std::string root_;
  TFileSummer summer_;
};

}  // namespace brevant
