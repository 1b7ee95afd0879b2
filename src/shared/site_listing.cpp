#include "shared/site_listing.h"

#include "shared/page_names.h"
#include "shared/page_store.h"
#include "shared/site_paths.h"
#include "store/ascii.h"

#include <algorithm>
#include <utility>

namespace brevant {

bool IsPlainFile(DWORD attributes) {
  // "Normal" stands for no attribute.
  return (attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_TEMPORARY)) == 0;
}

TSiteListing::TSiteListing(std::string root) : root_(std::move(root)) {}

bool TSiteListing::Scan(const std::atomic<int>& goOn) {
  std::vector<std::string> waiting(1);
  while (!waiting.empty() && goOn != 0) {
    const std::string directory = std::move(waiting.back());
    waiting.pop_back();
    if (!ScanDirectory(directory, goOn, waiting)) return false;
  }
  return true;
}

bool TSiteListing::ScanDirectory(const std::string& directory, const std::atomic<int>& goOn,
                                 std::vector<std::string>& waiting) {
  const bool listed = ForEachEntry(root_ + directory + "*", [&](const TFileFacts& entry) {
    std::string path = directory + entry.name;
    if ((entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      // What a killed run left half written is cleared away by the next one that writes pages.
      const bool unfinished = directory.empty() && IsUnfinishedName(entry.name);
      const bool link = (entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
      if (!unfinished && !link) waiting.push_back(path + "\\");
    } else {
      if (IsPageFile(entry.name)) pages_.emplace(LowerCased(path), path);
      if (IsPlainFile(entry.attributes) && !IsJournalName(entry.name)) {
        plain_.push_back(std::move(path));
      }
    }
    return goOn != 0;
  });
  if (listed) return true;
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_ACCESS_DENIED;
}

const std::string* TSiteListing::FindPage(const std::string& name) const {
  std::string path = name;
  if (name.find('\\') != std::string::npos) {
    path = FullPath(name[0] == '\\' ? name : root_ + name);
    if (!IsBelow(path, root_)) return nullptr;
    path.erase(0, root_.size());
    std::replace(path.begin(), path.end(), '/', '\\');
  }
  const auto found = pages_.find(LowerCased(path));
  return found == pages_.end() ? nullptr : &found->second;
}

}  // namespace brevant
