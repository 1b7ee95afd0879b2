// Symbolic links in the site while pages are made and tidied up.
#include "shared/htmltask.h"
#include "shared/page_store.h"
#include "site_scan.h"
#include "support/posix/outside.h"

#include <iterator>

namespace test {
namespace {

namespace fs = std::filesystem;

class LinksInTheSite : public HtmlBoard {
 protected:
  void SetUp() override {
    Template("index.htm", "<p>the page</p>");
    Set("HTML File - Forum list", "index");
  }
  void ExpectThePage() const {
    EXPECT_FALSE(IsLink(SitePath("index.htm")));
    EXPECT_EQ(Site("index.htm"), "<p>the page</p>");
  }

  Outside outside_;
};

TEST_F(LinksInTheSite, APageTakesTheLinksPlace) {
  MakeLink(SitePath("index.htm"), outside_.Victim());
  Age(outside_.Victim(), 5);
  outside_.Remember();
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheSite, NothingIsMadeWhereALinkOfAPageLeads) {
  MakeLink(SitePath("index.htm"), outside_.Nothing());
  AgeLink(SitePath("index.htm"));
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  outside_.ExpectUntouched();
}

// A page of the same bytes gets a new time only; what a link leads to does not.
TEST_F(LinksInTheSite, AnEqualPageOutsideKeepsItsTime) {
  EXPECT_EQ(Run(), 1);
  WriteFileBytes(outside_.Victim(), Site("index.htm"));
  Age(outside_.Victim(), 5);
  MakeLink(SitePath("index.htm"), outside_.Victim());
  outside_.Remember();
  Template("index.htm", "<p>the page</p>");
  state_->Number("Last Site Update Time", DWORD{0});
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  outside_.ExpectUntouched();
}

// A newer file is its owner's, wherever it lies: it stays, and is not written.
TEST_F(LinksInTheSite, ANewerFileOutsideStaysUnwritten) {
  AgeSources();
  MakeLink(SitePath("index.htm"), outside_.Victim());
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(IsLink(SitePath("index.htm")));
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheSite, TheDirectoryOfUnfinishedFilesIsNeverSomebodysLink) {
  WriteFileBytes(outside_.Path("inner/file"), "a file of that name");
  outside_.Remember();
  MakeLink(SitePath("~brevant.tmp"), outside_.Path("inner"));
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheSite, LinksAmongUnfinishedFilesAreNotFollowed) {
  fs::create_directory(SitePath("~brevant.tmp"));
  MakeLink(SitePath("~brevant.tmp/file"), outside_.Victim());
  MakeLink(SitePath("~brevant.tmp/file-1"), outside_.Nothing());
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
  outside_.ExpectUntouched();
}

// What somebody keeps in a directory of that name is not the library's to delete.
TEST_F(LinksInTheSite, OtherFilesAmongTheUnfinishedOnesStay) {
  fs::create_directory(SitePath("~brevant.tmp"));
  WriteFileBytes(SitePath("~brevant.tmp/notes.txt"), "mine");
  EXPECT_EQ(Run(), 1);
  ExpectThePage();
  EXPECT_EQ(Site("~brevant.tmp/notes.txt"), "mine");
  EXPECT_EQ(std::distance(fs::directory_iterator(SitePath("~brevant.tmp")), {}), 1);
}

TEST_F(LinksInTheSite, ACopyTakesTheLinksPlace) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    Template("pic.gif", "a picture");
    Template("index.htm", "<img src=\"pic.gif\">");
    if (FileExists(target)) Age(target, 5);
    MakeLink(SitePath("pic.gif"), target);
    AgeLink(SitePath("pic.gif"));
    outside_.Remember();
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(IsLink(SitePath("pic.gif")));
    EXPECT_EQ(Site("pic.gif"), "a picture");
    outside_.ExpectUntouched();
  }
}

TEST_F(LinksInTheSite, TheContentOfAnAttachmentIsTheSitesOwn) {
  MakeForum("General Talk");
  Add("General Talk", {.attachments = {{"ab12a.txt", "a.txt"}}});
  WriteFileBytes(SitePath("ab12a.txt"), "an attachment");
  const std::string field = "$MESSAGE_ATTACHMENT_CONTENT(a.txt)$";
  EXPECT_NE(Expand(field, "General Talk", 1).find("an attachment"), std::string::npos);
  MakeLink(SitePath("ab12a.txt"), outside_.Victim());
  EXPECT_EQ(Expand(field, "General Talk", 1).find("outside's"), std::string::npos);
}

TEST_F(LinksInTheSite, TheSiteItselfMayBeALink) {
  fs::remove_all(SitePath(""));
  fs::create_directory(root_ / "Elsewhere");
  MakeLink(root_ / "Site", root_ / "Elsewhere");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(FileExists(root_ / "Elsewhere/index.htm"));
  ExpectThePage();
}

class LinksAndFileManagement : public SiteScanErases {
 protected:
  Outside outside_;
};

TEST_F(LinksAndFileManagement, NothingOutsideIsDeleted) {
  SetFileAttributesA(outside_.Victim().c_str(), FILE_ATTRIBUTE_TEMPORARY);
  SetFileAttributesA(outside_.Path("inner/deep").c_str(), FILE_ATTRIBUTE_TEMPORARY);
  outside_.Remember();
  Index("<p>");
  File("orphan.gif");
  MakeLink(SitePath("link.gif"), outside_.Victim());
  MakeLink(SitePath("dangling.gif"), outside_.Nothing());
  MakeLink(SitePath("directory"), outside_.Path("inner"));
  EXPECT_EQ(Scan(), 1);
  EXPECT_FALSE(FileExists(SitePath("orphan.gif")));
  EXPECT_TRUE(IsLink(SitePath("directory")));
  outside_.ExpectUntouched();
}

// What a page that is a link out names is not known, so nothing is deleted for not being named.
TEST_F(LinksAndFileManagement, APageOutsideIsNotReadAndNothingIsDeleted) {
  WriteFileBytes(outside_.Path("page.htm"), "<img src=\"kept.gif\">");
  outside_.Remember();
  Index("<a href=\"page.htm\">x</a>");
  File("kept.gif");
  MakeLink(SitePath("page.htm"), outside_.Path("page.htm"));
  EXPECT_EQ(Scan(), 0);
  EXPECT_EQ(history, Names{"Cannot open page.htm"});
  EXPECT_TRUE(FileExists(SitePath("kept.gif")));
  outside_.ExpectUntouched();
}

TEST_F(LinksAndFileManagement, APageThatIsALinkInsideTheSiteIsRead) {
  Index("<a href=\"sub/page.htm\">x</a>");
  File("real.htm", "<img src=\"kept.gif\">");
  File("kept.gif");
  File("sub/other.htm");
  MakeLink(SitePath("sub/page.htm"), SitePath("real.htm"));
  EXPECT_EQ(Scan(), 1);
  EXPECT_TRUE(FileExists(SitePath("kept.gif")));
  EXPECT_FALSE(FileExists(SitePath("sub/other.htm")));
}

}  // namespace
}  // namespace test
