// A board in a temporary directory, with templates and a site, for tests of the pages.
#pragma once

#include "platform/win32.h"
#include "shared/board_cache.h"
#include "support/temporary_directory.h"
#include "text/page_site.h"

#include <brevant/board.h>
#include <brevant/frame.h>

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

// A message to be put into a forum.
struct Post {
  std::string subject = "Hello";
  std::string from = "\"Ann Lee\" <ann@example.org>";
  std::string content = "Text";
  std::string type = "text/plain";
  LONG linkId = 0;
  TTime time{};                                                    // zero: now, local time
  std::vector<std::pair<std::string, std::string>> attachments{};  // stored name, second value
  std::vector<std::pair<std::string, std::string>> values{};       // further values
};

class HtmlBoard : public ::testing::Test {
 protected:
  HtmlBoard();
  ~HtmlBoard() override;

  // --- The board ---------------------------------------------------------------------------------
  void MakeForum(const std::string& name, const std::string& description = "",
                 const std::string& prefix = "");
  // Its number.
  DWORD Add(const std::string& forum, const Post& post = Post());
  void Remove(const std::string& forum, DWORD index);
  // The same for containers of every kind.
  using Values = std::vector<std::pair<std::string, std::string>>;
  void MakeContainer(brevant::TBoardKind kind, const std::string& name, const Values& values = {});
  std::unique_ptr<TForum> OpenContainer(brevant::TBoardKind kind, const std::string& name);
  DWORD AddTo(brevant::TBoardKind kind, const std::string& name, const Post& post);
  std::string ForumPath(const std::string& forum) const {
    return root_ / ("Data/" + forum + ".mwd");
  }
  void Template(const std::string& name, const std::string& text) {
    WriteFileBytes(root_ / ("Templates/" + name), text);
  }
  void Set(const std::string& key, const std::string& value);

  // --- Runs --------------------------------------------------------------------------------------
  int Run();
  // Makes every source (settings, templates, data files) hours old.
  void AgeSources(int hours = 2);
  // Gives a file a last-write time so many hours ago; its attributes stay.
  static void Age(const std::string& path, int hours);
  std::string SitePath(const std::string& name) const { return root_ / ("Site/" + name); }
  std::string Site(const std::string& name) const { return ReadFileBytes(SitePath(name)); }
  std::vector<std::string> SiteFiles() const;
  static FILETIME WrittenAt(const std::string& path);
  bool Logged(const std::string& text) const;
  int CountLogged(const std::string& text) const;

  // A page made from text for a forum (no such: empty name) and one of its items (none: 0).
  std::string Expand(const std::string& text, const std::string& forum = "", DWORD item = 0) {
    return ExpandIn(brevant::kForumKind, text, forum, item);
  }
  static constexpr const char* kNoPage = "(no page is made)";
  // The same for a container of any kind of objects.
  std::string ExpandIn(int kind, const std::string& text, const std::string& container = "",
                       DWORD item = 0);
  static std::string Unwrapped(std::string page);

  // False where the platform keeps no file attributes of its own (Wine): tests that need them are
  // left out there.
  static bool KeepsAttributes();

  TemporaryDirectory root_;
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  std::vector<std::string> pages_;  // that the last Expand asked for
  bool failed_ = false;             // a data file could not be opened in the last Expand

 public:
  // What the host was told.
  static std::vector<std::string> history;
  static std::vector<std::string> status;
  static std::function<void()> onStatus;
};

}  // namespace test
