// The site's directory tree as it stood at one moment: its pages, and the files that nobody but the
// library wrote.
#pragma once

#include "platform/win32.h"

#include <atomic>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

// Whether a file of these attributes is a plain one: it has none, or the temporary one alone.
bool IsPlainFile(DWORD attributes);

// Paths are relative to the site's root, with "\" between directories. Directories that are
// symbolic links are not entered: what they hold is no part of the site.
class TSiteListing {
 public:
  // root: a full path with its final separator.
  explicit TSiteListing(std::string root);

  // Looks through the whole tree; ends early when goOn is clear. False when a directory cannot be
  // listed to its end, though it is there and may be read: what links from it is not known.
  bool Scan(const std::atomic<int>& goOn);

  // The path of the page that a link's text, read in the root directory, leads to; null when that
  // is no page of the site. Letter case is ignored; "." and ".." are resolved.
  const std::string* FindPage(const std::string& name) const;
  const std::vector<std::string>& PlainFiles() const { return plain_; }

  const std::string& Root() const { return root_; }
  std::string FullPathOf(const std::string& path) const { return root_ + path; }

 private:
  bool ScanDirectory(const std::string& directory, const std::atomic<int>& goOn,
                     std::vector<std::string>& waiting);

  std::string root_;
  std::vector<std::string> plain_;
  std::unordered_map<std::string, std::string> pages_;  // by path in lower case
};

}  // namespace brevant
