// Follows the links of a page to files beside its template: pages are made from pages, everything
// else is copied into the site.
#pragma once

#include "shared/page_store.h"
#include "text/page_writer.h"

#include <atomic>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

class TLinkFollower {
 public:
  // Makes pages from the pages that links name.
  class TLinkedPages {
   public:
    virtual ~TLinkedPages() = default;
    // path: the file's full path; baseDirectory: that of the page with the link.
    virtual void RequestLinkedPage(const std::string& path, const TFileFacts& file,
                                   const std::string& baseDirectory) = 0;
  };

  struct TSettings {
    std::string templateDirectory;  // with its final separator
    // File names that are never copied, in any directory: the settings and what runs leave behind.
    std::vector<std::string> privateFiles;
  };

  // All three outlive the follower.
  TLinkFollower(TSettings settings, TPageStore& store, TLinkedPages& pages);

  // Follows every link of the page and rewrites those that led to a file. Stops early when goOn is
  // clear. False when a file could not be written into the site.
  bool Follow(TPageWriter& page, const std::string& baseDirectory, const std::atomic<int>& goOn);

 private:
  // The files of one directory, by name in the spelling of the disk and in lower case.
  struct TListing {
    std::map<std::string, TFileFacts, std::less<>> files;
    std::unordered_map<std::string, const TFileFacts*> lowered;
  };

  // The path that a value names, empty when it is not to be followed.
  std::string TargetOf(const TAttribute& link, const std::string& baseDirectory) const;
  bool FindTarget(const std::string& path, TFileFacts* facts);
  const TListing* ListingOf(const std::string& directory);
  bool IsPrivate(const std::string& fileName) const;
  // What the link is to read instead; empty when it stays as it is.
  std::string FollowTarget(const std::string& path, const std::string& baseDirectory);
  void CopyIntoSite(const std::string& path, const TFileFacts& source);

  TSettings settings_;
  TPageStore& store_;
  TLinkedPages& pages_;
  std::string siteRoot_;  // full paths
  std::string templateRoot_;
  std::unordered_map<std::string, TListing> listings_;
  // What was copied, or was older than what stood there: sources by name in lower case.
  std::unordered_map<std::string, std::vector<std::string>> copies_;
  bool allWritten_ = true;
};

}  // namespace brevant
