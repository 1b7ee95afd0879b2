// Whole sites: what a run reads and writes, and that the pages of every kind fit together.
#include "html_board.h"
#include "support/element_times.h"

#include <filesystem>
#include <map>
#include <set>

namespace test {
namespace {

using brevant::TBoardKind;

class HtmlSite : public HtmlBoard {
 protected:
  static constexpr int kForums = 1000;

  std::map<std::string, std::uint64_t> Times() const {
    std::map<std::string, std::uint64_t> times;
    for (const std::string& name : SiteFiles()) {
      times.emplace(name, TTime(WrittenAt(SitePath(name))).Ticks());
    }
    return times;
  }
  static std::string ForumName(int number) { return "Forum " + std::to_string(number); }
  void MakeForums() {
    Template("index.htm", "<ul><li><a href=\"$FORUM_FILENAME(list)$\">$FORUM_NAME$</a></li></ul>");
    Template("list.htm",
             "<p>$FORUM_NAME$ $FORUM_PREV$ $FORUM_NEXT$</p><ul><li>"
             "<a href=\"$MESSAGE_FILENAME(item)$\">$MESSAGE_SUBJECT$</a></li></ul>");
    Template("item.htm", "<p>$MESSAGE_SUBJECT$ $MESSAGE_PREV$ $MESSAGE_NEXT$ $FORUM_NAME$</p>");
    Set("HTML File - Forum list", "index");
    MakeForum(ForumName(0));
    ASSERT_EQ(Add(ForumName(0), {.time = TTime(2001, 2, 3, 4, 5, 6)}), 1U);
    // A forum's name is that of its file.
    for (int i = 1; i < kForums; ++i) {
      std::filesystem::copy_file(ForumPath(ForumName(0)), ForumPath(ForumName(i)));
    }
    AgeSources();
    ASSERT_EQ(Run(), 1);
    ASSERT_EQ(SiteFiles().size(), 1U + 2 * kForums);
  }
};

TEST_F(HtmlSite, OneMessageInAThousandForumsRewritesNoPageOfAnother) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  MakeForums();
  for (const std::string& name : SiteFiles()) Age(SitePath(name), 1);
  const auto before = Times();
  Add("Forum 500", {.time = TTime(2001, 2, 3, 4, 5, 6)});
  ASSERT_EQ(Run(), 1);
  std::set<std::string> written;
  for (const auto& [name, time] : Times()) {
    const auto known = before.find(name);
    if (known == before.end() || known->second != time) written.insert(name);
  }
  EXPECT_EQ(written,
            (std::set<std::string>{"index.htm", "item--f--forum_500--1.htm",
                                   "item--f--forum_500--2.htm", "list--f--forum_500.htm"}));
  EXPECT_TRUE(history.empty());
}

TEST_F(HtmlSite, WithoutAChangeNoBoardFileIsReadAndNothingIsWritten) {
  Template("index.htm", "<ul><li>$FORUM_NAME$</li></ul><ul><li>$LIST_NAME$</li></ul>");
  Set("HTML File - Forum list", "index");
  MakeForum("Talk");
  MakeContainer(TBoardKind::kLinkList, "Links");
  MakeContainer(TBoardKind::kContributor, "Archive");
  MakeContainer(TBoardKind::kQuestion, "Colour");
  AgeSources();
  ASSERT_EQ(Run(), 1);
  const auto before = Times();
  {
    // Whoever opens a board file now is refused.
    const auto forum = OpenContainer(TBoardKind::kForum, "Talk");
    const auto links = OpenContainer(TBoardKind::kLinkList, "Links");
    const auto archive = OpenContainer(TBoardKind::kContributor, "Archive");
    const auto question = OpenContainer(TBoardKind::kQuestion, "Colour");
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(history.empty());
    EXPECT_TRUE(status.empty());
    EXPECT_EQ(Times(), before);
    Set("BBS Name", "Changed");
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(Logged("Cannot open data file of message forum Talk"));
    EXPECT_TRUE(Logged("Cannot open data file of resource list Links"));
  }
  EXPECT_EQ(Run(), 1);
}

TEST_F(HtmlSite, AnItemThatVanishesDuringARunHasNoPage) {
  // More forums than stay open, so that the first one is closed again when its items' turn comes.
  for (int i = 100; i < 400; ++i) MakeForum("F" + std::to_string(i));
  for (int i = 0; i < 3; ++i) Add("F100");
  Set("HTML File - Forum list", "index");
  Template("index.htm", "<ul><li>$FORUM_FILENAME(forum)$</li></ul>");
  Template("forum.htm", "<ul><li>$MESSAGE_FILENAME(item)$</li></ul>");
  Template("item.htm", "<p>$MESSAGE_SUBJECT$ $MESSAGE_NEXT$</p>");
  bool removed = false;
  onStatus = [&] {
    if (removed || status.back().find("item--f--f100--1") == std::string::npos) return;
    Remove("F100", 2);
    removed = true;
  };
  EXPECT_EQ(Run(), 1);
  ASSERT_TRUE(removed);
  EXPECT_EQ(Site("item--f--f100--1.htm"), "<p>Hello item--f--f100--3.htm</p>");
  EXPECT_EQ(Site("item--f--f100--3.htm"), "<p>Hello</p>");
  EXPECT_FALSE(std::filesystem::exists(SitePath("item--f--f100--2.htm")));
  EXPECT_EQ(CountLogged("Cannot open message 2 in F100"), 1);
}

TEST_F(HtmlSite, ASubTemplateThatChangedIsSeenByTheNextRun) {
  Template("index.htm", "<p>$QUESTION$ $QUESTION_GRAPH$</p>");
  WriteFileBytes(root_ / "graph.htf", "old");
  Set("HTML File - Question list", "index");
  MakeContainer(TBoardKind::kQuestion, "Colour");
  AgeSources();
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Unwrapped(Site("index.htm")), "<p>Colour old</p>");
  WriteFileBytes(root_ / "graph.htf", "new");
  Template("unrelated.txt", "makes the run due");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Unwrapped(Site("index.htm")), "<p>Colour new</p>");
}

// The file names in the attributes and texts of a page.
std::set<std::string> LinksOf(const std::string& page) {
  std::set<std::string> links;
  constexpr std::string_view kStart = "href=\"";
  for (std::size_t at = 0; (at = page.find(kStart, at)) != std::string::npos;) {
    at += kStart.size();
    const std::string link = page.substr(at, page.find('"', at) - at);
    if (!link.empty() && link.find(':') == std::string::npos) links.insert(link);
  }
  return links;
}

TEST_F(HtmlSite, ASiteOfEveryKindHoldsTogether) {
  for (const char* name : {"One", "Two"}) {
    MakeForum(name);
    for (int i = 0; i < 3; ++i) Add(name, {.linkId = i});
  }
  for (const TBoardKind kind : {TBoardKind::kLinkList, TBoardKind::kContributor}) {
    const std::string name = kind == TBoardKind::kLinkList ? "Links" : "Archive";
    MakeContainer(kind, name);
    for (const char* link : {"a", "b"}) AddTo(kind, name, {.subject = link});
  }
  MakeContainer(TBoardKind::kQuestion, "Colour", {{"Total Vote Count", "3"}});
  for (const char* answer : {"Red", "Blue"}) {
    AddTo(TBoardKind::kQuestion, "Colour", {.subject = answer, .values = {{"Vote Count", "1"}}});
  }
  WriteFileBytes(root_ / "graph.htf", "<ul><li>$ANSWER$ $ANSWER_PERCENTAGE$</li></ul>");
  Template("forums.htm",
           "<ul><li><a href=\"$FORUM_FILENAME$\">$FORUM_NAME$</a><ul><li>"
           "<a href=\"$MESSAGE_FILENAME(message)$\">$MESSAGE_SUBJECT$</a></li></ul></li></ul>"
           "<a href=\"lists.htm\">lists</a><a href=\"polls.htm\">polls</a>");
  Template("messages.htm",
           "<a href=\"$FORUM_PREV$\">p</a><a href=\"$FORUM_NEXT$\">n</a>"
           "<ul><li><a href=\"$MESSAGE_FILENAME(message)$\">$MESSAGE_SUBJECT$</a></li></ul>"
           "<ul><li>$LIST_NAME$ $LINK_NAME$</li></ul>");
  Template(
      "message.htm",
      "<a href=\"$BACK$\">b</a><a href=\"$MESSAGE_PREV$\">p</a><a href=\"$MESSAGE_NEXT$\">n</a>"
      "$MESSAGE_CONTENT$ $First.FORUM_NAME$ $Last.FORUM_NAME$ $Two.FORUM_SIZE$"
      "<p>$QUESTION$ $QUESTION_GRAPH$</p>");
  Template("lists.htm", "<ul><li><a href=\"$LIST_FILENAME(links)$\">$LIST_NAME$</a></li></ul>");
  Template("links.htm",
           "<a href=\"$LIST_NEXT$\">n</a><ul><li><a href=\"$LINK_FILENAME(link)$\">$LINK_NAME$</a>"
           "</li></ul>");
  Template("link.htm", "<a href=\"$LINK_NEXT$\">n</a>$LIST_NAME$ $LINK_SUMMARY$");
  Template("polls.htm", "<ul><li><a href=\"$QUESTION_FILENAME$\">$QUESTION$</a></li></ul>");
  Template("answers.htm", "<p>$QUESTION$ $QUESTION_GRAPH$</p><ul><li>$ANSWER_COUNT$</li></ul>");
  Set("HTML File - Forum list", "forums");
  Set("HTML File - Message list", "messages");
  Set("HTML File - Question list", "polls");
  Set("HTML File - Answer list", "answers");
  ASSERT_EQ(Run(), 1);
  EXPECT_TRUE(history.empty());
  // Five templates of the settings and of links, two forums with three messages, two lists with two
  // links, one question.
  EXPECT_EQ(SiteFiles().size(), 5U + 2 * 4 + 2 * 3 + 1);
  for (const std::string& name : SiteFiles()) {
    const std::string page = Unwrapped(Site(name));
    EXPECT_EQ(page.find("***ERROR"), std::string::npos) << name << page;
    EXPECT_EQ(page.find('$'), std::string::npos) << name << page;
    for (const std::string& link : LinksOf(page)) {
      EXPECT_TRUE(FileExists(SitePath(link))) << link << " on " << name;
    }
  }
}

}  // namespace
}  // namespace test
