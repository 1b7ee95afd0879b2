// Following the links of pages.
#include "html_board.h"

#include <algorithm>
#include <filesystem>

namespace test {
namespace {

class HtmlLinks : public HtmlBoard {
 protected:
  void SetUp() override {
    MakeForum("General Talk");
    Set("HTML File - Forum list", "index");
  }
  // The page that a template with this body becomes, without line ends.
  std::string Page(const std::string& body) {
    Template("index.htm", body);
    EXPECT_EQ(Run(), 1);
    std::string page = Site("index.htm");
    for (std::size_t at; (at = page.find("\r\n")) != std::string::npos;) page.erase(at, 2);
    return page;
  }
  // Nobody else can read the template until the handle is closed.
  HANDLE OpenAlone(const std::string& name) {
    const HANDLE file = CreateFileA((root_ / ("Templates/" + name)).c_str(), GENERIC_READ, 0,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    return file;
  }
  // The one line of the history is that the template cannot be opened.
  static bool ToldOfNotOpened(const std::string& name) {
    return history.size() == 1 && history[0].starts_with("Cannot open ") &&
           history[0].ends_with(name);
  }
  void Sub(const std::string& name) { std::filesystem::create_directory(root_ / name); }
};

TEST_F(HtmlLinks, FilesAreCopiedAndLinkedByTheirName) {
  Sub("Templates/img");
  Template("style.css", "body{}");
  Template("img/logo.gif", "GIF");
  EXPECT_EQ(Page("<link href=\"style.css\"><img src=\"img/logo.gif\"><img src='img\\logo.gif'>"
                 "<table background=./img/../img/logo.gif><applet codebase=\"style.css\">"),
            "<link href=\"style.css\"><img src=\"logo.gif\"><img src='logo.gif'>"
            "<table background=logo.gif><applet codebase=\"style.css\">");
  EXPECT_EQ(Site("style.css"), "body{}");
  EXPECT_EQ(Site("logo.gif"), "GIF");
}

TEST_F(HtmlLinks, AttributeNamesIgnoreLetterCase) {
  Template("a.gif", "x");
  EXPECT_EQ(Page("<IMG SrC=\"A.GIF\">"), "<IMG SrC=\"a.gif\">");
  EXPECT_TRUE(FileExists(SitePath("a.gif")));
}

TEST_F(HtmlLinks, CopiesCarryTheTemporaryAttributeAndTheTimeOfTheirSource) {
  Template("a.gif", "x");
  Age(root_ / "Templates/a.gif", 9);
  Page("<img src=\"a.gif\">");
  EXPECT_EQ(TTime(WrittenAt(SitePath("a.gif"))), TTime(WrittenAt(root_ / "Templates/a.gif")));
  if (!KeepsAttributes()) GTEST_SKIP() << "this platform keeps no temporary attribute";
  EXPECT_EQ(GetFileAttributesA(SitePath("a.gif").c_str()), 0x100U);
}

TEST_F(HtmlLinks, AFileThatIsNotOlderInTheSiteIsNotCopiedAgain) {
  Template("a.gif", "new");
  Age(root_ / "Templates/a.gif", 2);
  WriteFileBytes(SitePath("a.gif"), "mine");
  Age(SitePath("a.gif"), 1);
  Page("<img src=\"a.gif\">");
  EXPECT_EQ(Site("a.gif"), "mine");
  Age(SitePath("a.gif"), 3);
  Page("<img src=\"a.gif\"> ");
  EXPECT_EQ(Site("a.gif"), "new");
}

TEST_F(HtmlLinks, OfTwoFilesWithOneNameTheNewerEndsInTheSite) {
  Sub("Templates/one");
  Sub("Templates/two");
  Template("one/a.gif", "old");
  Template("two/a.gif", "newer");
  Age(root_ / "Templates/one/a.gif", 5);
  Age(root_ / "Templates/two/a.gif", 4);
  Page("<img src=\"one/a.gif\"><img src=\"two/a.gif\">");
  EXPECT_EQ(Site("a.gif"), "newer");
  ASSERT_EQ(history.size(), 1U);
  std::string told = history[0];
  std::replace(told.begin(), told.end(), '\\', '/');
  EXPECT_NE(told.find("one/a.gif"), std::string::npos) << told;
  EXPECT_NE(told.find("two/a.gif"), std::string::npos) << told;
  Page("<img src=\"two/a.gif\"><img src=\"one/a.gif\">");
  EXPECT_EQ(Site("a.gif"), "newer");
}

TEST_F(HtmlLinks, TwoFilesWithOneNameAreToldOnceARun) {
  Sub("Templates/one");
  Sub("Templates/two");
  Template("one/a.gif", "1");
  Template("two/a.gif", "2");
  const std::string both = "<img src=\"one/a.gif\"><img src=\"two/a.gif\">";
  Template("next.htm", both);
  Page(both + both + "<a href=\"next.htm\">n</a>");
  EXPECT_EQ(status.size(), 2U);
  EXPECT_EQ(history.size(), 1U);
}

TEST_F(HtmlLinks, LinkedPagesAreMadeUnderTheirOwnName) {
  Template("about.htm", "<p>$FORUM_POST$</p><a href=\"$BACK$\">back</a>");
  Template("more.HTML", "<p>more</p>");
  EXPECT_EQ(Page("<a href=\"about.htm\">x</a><a href=\"more.html\">y</a>"),
            "<a href=\"about.htm\">x</a><a href=\"more.HTML\">y</a>");
  EXPECT_NE(Site("about.htm").find("<a href=\"index.htm\">back</a>"), std::string::npos)
      << Site("about.htm");
  EXPECT_EQ(Site("more.HTML"), "<p>more</p>");
}

TEST_F(HtmlLinks, APageLinkedFromTwoTemplatesIsMadeOnce) {
  Template("about.htm", "<a href=\"other.htm\">o</a>");
  Template("other.htm", "<a href=\"about.htm\">a</a><a href=\"index.htm\">i</a>");
  Page("<a href=\"about.htm\">x</a><a href=\"other.htm\">y</a>");
  EXPECT_EQ(status, (std::vector<std::string>{"Processing [index.htm]", "Processing [about.htm]",
                                              "Processing [other.htm]"}));
}

TEST_F(HtmlLinks, LinksOfALinkedPageStartWhereThoseOfItsLinkDid) {
  Sub("Templates/sub");
  Template("sub/page.htm", "<img src=\"a.gif\"><img src=\"b.gif\">");
  Template("a.gif", "a");
  Template("sub/b.gif", "b");
  EXPECT_EQ(Page("<a href=\"sub/page.htm\">x</a>"), "<a href=\"page.htm\">x</a>");
  EXPECT_TRUE(FileExists(SitePath("a.gif")));
  EXPECT_FALSE(FileExists(SitePath("b.gif")));
}

TEST_F(HtmlLinks, ASettingNamesTheTemplateOfALinkedPage) {
  Template("about.htm", "not this");
  Template("plain.htm", "<p>this</p>");
  Set("HTML File - about", "plain");
  Page("<a href=\"about.htm\">x</a>");
  EXPECT_EQ(Site("about.htm"), "<p>this</p>");
  EXPECT_STREQ(setup_->String("HTML File Priority - about"), "Low");
  EXPECT_NE(ReadFileBytes(root_ / "board.ini").find("HTML File Priority - about=Low"),
            std::string::npos);
}

TEST_F(HtmlLinks, TheLinksOfItsTemplateStartWhereThoseOfTheLinkDid) {
  Sub("Templates/sub");
  Template("index.htm", "x");
  Template("sub/start.htm", "<a href=\"about.htm\">x</a>");
  Template("sub/about.htm", "not this");
  Template("plain.htm", "<img src=\"a.gif\"><img src=\"b.gif\">");
  Template("a.gif", "a");
  Template("sub/b.gif", "b");
  Set("HTML File - Forum list", "sub/start");
  Set("HTML File - about", "plain");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"about.htm", "b.gif", "start.htm"}));
}

TEST_F(HtmlLinks, ThePriorityIsWrittenOnlyWhenItDiffers) {
  Template("about.htm", "x");
  Template("plain.htm", "<p>this</p>");
  Set("HTML File - about", "plain");
  Page("<a href=\"about.htm\">x</a>");
  Age(root_ / "board.ini", 3);
  const FILETIME before = WrittenAt(root_ / "board.ini");
  Page("<a href=\"about.htm\">again</a>");
  EXPECT_EQ(TTime(WrittenAt(root_ / "board.ini")), TTime(before));
}

TEST_F(HtmlLinks, WithoutASettingThereIsNoPriority) {
  Template("about.htm", "x");
  Page("<a href=\"about.htm\">x</a>");
  EXPECT_EQ(ReadFileBytes(root_ / "board.ini").find("Priority"), std::string::npos);
}

TEST_F(HtmlLinks, OtherLinksAreLeftAlone) {
  Template("a.gif", "x");
  const std::string page =
      "<a href=\"\"><a href=\"#a.gif\"><a href=\"/a.gif\"><a href=\"\\a.gif\">"
      "<a href=\"http://example.org/a.gif\"><a href=\"mailto:a.gif\"><a href=\"C:a.gif\">"
      "<a href=\"gone.gif\"><a href=\"a.gif#top\"><a href=\"a.gif?x\"><a href=\"*.gif\">"
      "<a href=\".\"><a href><a name=\"a.gif\"><!-- src=\"a.gif\" --></a src=\"a.gif\">";
  EXPECT_EQ(Page(page), page);
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
}

TEST_F(HtmlLinks, AFileLinkIsALocalPath) {
  Sub("Elsewhere");
  WriteFileBytes(root_ / "Elsewhere/pic ture.gif", "x");
  std::string path = root_ / "Elsewhere/pic ture.gif";
  if (path[0] == '/') path.erase(0, 1);
  EXPECT_EQ(Page("<img src=\"file:///" + path + "\">"), "<img src=\"pic%20ture.gif\">");
  EXPECT_EQ(Site("pic ture.gif"), "x");
}

TEST_F(HtmlLinks, AFileInTheSiteIsLinkedWhereItStands) {
  Sub("Site/pics");
  WriteFileBytes(SitePath("pics/a.gif"), "x");
  EXPECT_EQ(Page("<img src=\"../Site/pics/a.gif\">"), "<img src=\"pics/a.gif\">");
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"index.htm", "pics"}));
}

TEST_F(HtmlLinks, TheBoardsOwnFilesAreNeverPublished) {
  for (const char* name : {"x.mwd", "x.MWE", "x.mwf", "x.mwg", "x.mwd.jnl", "x.fat", "x.fat.jnl",
                           "error.log", "Board.ini", "state.ini", "~brevant.tmp"}) {
    Template(name, "private");
    const std::string page = "<a href=\"" + std::string(name) + "\">";
    EXPECT_EQ(Page(page), page);
    std::filesystem::remove(root_ / ("Templates/" + std::string(name)));
  }
  const std::string up =
      "<a href=\"../board.ini\"><a href=\"../Data/General%20Talk.mwd\">"
      "<a href=\"../Data/General Talk.mwd\"><a href=\"../state.ini\">";
  EXPECT_EQ(Page(up), up);
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
}

TEST_F(HtmlLinks, WhatAVisitorWroteStaysInTheTemplateDirectory) {
  Sub("Templates/sub");
  Template("sub/a.gif", "a");
  Template("b.gif", "b");
  WriteFileBytes(root_ / "secret.gif", "secret");
  const std::string absolute = root_ / "secret.gif";
  Add("General Talk", {.content = "<img src=\"../secret.gif\"><img src=\"sub/../../secret.gif\">"
                                  "<img src=\"file:///" +
                                  absolute.substr(absolute[0] == '/' ? 1 : 0) +
                                  "\"><img src=\"sub/a.gif\"><img src=\"sub\\..\\b.gif\">",
                       .type = "text/html"});
  const std::string page = Page("<ul><li>$FORUM_NAME$<p>$MESSAGE_CONTENT$</p></li></ul>");
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"a.gif", "b.gif", "index.htm"})) << page;
  EXPECT_NE(page.find("src=\"../secret.gif\""), std::string::npos) << page;
  EXPECT_NE(page.find("src=\"b.gif\""), std::string::npos) << page;
}

TEST_F(HtmlLinks, AValueThatIsOnlyInPartAVisitorsIsTheVisitors) {
  Sub("Templates/sub");
  Template("sub/x", "s");
  WriteFileBytes(root_ / "secret.gif", "secret");
  Add("General Talk", {.subject = "../../secret"});
  Add("General Talk", {.subject = "../x"});
  Page("<ul><li>$FORUM_NAME$<p><img src=\"sub/$MESSAGE_SUBJECT$.gif\"></p></li></ul>");
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
}

TEST_F(HtmlLinks, TheOwnersLinksMayLeadAnywhere) {
  WriteFileBytes(root_ / "logo.gif", "x");
  EXPECT_EQ(Page("<img src=\"../logo.gif\">"), "<img src=\"logo.gif\">");
  EXPECT_EQ(Site("logo.gif"), "x");
}

TEST_F(HtmlLinks, ACopyThatCannotBeWrittenFailsTheRun) {
  Sub("Site/a.gif");
  Template("a.gif", "x");
  Template("index.htm", "<img src=\"a.gif\">");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(Logged("Cannot save " + SitePath("a.gif")));
}

TEST_F(HtmlLinks, AFileThatCannotBeReadIsReportedAndTheRunGoesOn) {
  Template("a.gif", "x");
  const HANDLE locked = OpenAlone("a.gif");
  Page("<img src=\"a.gif\"><p>text</p>");
  CloseHandle(locked);
  EXPECT_TRUE(ToldOfNotOpened("a.gif"));
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
  EXPECT_NE(Site("index.htm").find("<p>text</p>"), std::string::npos);
  Page("<img src=\"a.gif\">");
  EXPECT_EQ(Site("a.gif"), "x") << "of the next run";
}

TEST_F(HtmlLinks, APageThatCannotBeReadIsReportedAndTheRunGoesOn) {
  Template("about.htm", "<p>about</p>");
  Template("next.htm", "<p>next</p>");
  const HANDLE locked = OpenAlone("about.htm");
  Page("<a href=\"about.htm\">x</a><a href=\"next.htm\">y</a>");
  CloseHandle(locked);
  EXPECT_TRUE(ToldOfNotOpened("about.htm"));
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"index.htm", "next.htm"}));
  Page("<a href=\"about.htm\">x</a>");
  EXPECT_EQ(Site("about.htm"), "<p>about</p>") << "of the next run";
}

TEST_F(HtmlLinks, LongValuesAreLeftAlone) {
  Template("a.gif", "x");
  std::string value;
  while (value.size() < 1024) value += "./";
  const std::string page = "<img src=\"" + value + "a.gif\">";
  EXPECT_EQ(Page(page), page);
}

}  // namespace
}  // namespace test
