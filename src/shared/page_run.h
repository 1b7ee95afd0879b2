// One run of the HTML task: makes every page that is asked for and saves those that are due.
#pragma once

#include "shared/html_site.h"
#include "shared/link_follower.h"
#include "text/tag_dispatcher.h"

#include <atomic>
#include <functional>
#include <set>
#include <string>

namespace brevant {

class TPageRun final : private TLinkFollower::TLinkedPages {
 public:
  // setup, state (may be null) and goOn outlive the run. trace is called before each page.
  TPageRun(TSetup& setup, const TPersistentState* state, const std::atomic<int>& goOn,
           std::function<void()> trace);

  // Makes the site. False when a page could not be saved, a data file could not be opened, or goOn
  // was cleared on the way.
  bool Make();

 private:
  void AddMainPages();
  void MakePage(std::size_t number, unsigned failures);
  void SavePage(const std::string& fileName, const TTemplate& file, const TPageWriter& page);
  void RequestLinkedPage(const std::string& path, const TFileFacts& file,
                         const std::string& baseDirectory) override;

  TSetup& setup_;
  const std::atomic<int>& goOn_;
  std::function<void()> trace_;
  THtmlSite site_;
  TPageStore store_;
  TLinkFollower links_;
  TFieldDispatcher dispatcher_;
  std::set<std::string> reported_;  // each failure of a field is told once a run
  bool saved_ = true;               // everything so far
};

}  // namespace brevant
