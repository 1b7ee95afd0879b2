// Which files the links of the site's pages keep.
#include "site_scan.h"

#include <system_error>

namespace test {
namespace {

namespace fs = std::filesystem;

class FileManagementLinks : public SiteScanErases {
 protected:
  // Whether a file stays when this is the text of the main page.
  bool Keeps(const std::string& page, const std::string& file) {
    Index(page);
    File(file);
    EXPECT_EQ(Scan(), 1);
    EXPECT_TRUE(history.empty());
    return FileExists(SitePath(file));
  }
  bool LinkKeeps(const std::string& value, const std::string& file) {
    return Keeps("<a href=\"" + value + "\">x</a>", file);
  }
};

TEST_F(FileManagementLinks, FourAttributesOfAnyTagAndLetterCaseAreLinks) {
  EXPECT_TRUE(Keeps("<a href=\"a.gif\">", "a.gif"));
  EXPECT_TRUE(Keeps("<IMG SRC='a.gif'>", "a.gif"));
  EXPECT_TRUE(Keeps("<body class=x BackGround=a.gif>", "a.gif"));
  EXPECT_TRUE(Keeps("<applet codebase = \"a.gif\" >", "a.gif"));
  EXPECT_TRUE(Keeps("<odd\nhref=\"a.gif\"\r\nsrc=b.gif>", "a.gif"));
  EXPECT_TRUE(Keeps("<p href=1 href=2 src=3 href=a.gif>", "a.gif"));
  EXPECT_FALSE(Keeps("<a name=\"a.gif\">", "a.gif"));
  EXPECT_FALSE(Keeps("<a data-href=\"a.gif\" hrefs=a.gif>", "a.gif"));
}

TEST_F(FileManagementLinks, TextCommentsAndEndTagsHoldNone) {
  EXPECT_FALSE(Keeps("href=\"a.gif\" a.gif", "a.gif"));
  EXPECT_FALSE(Keeps("<!-- <img src=\"a.gif\" -->", "a.gif"));
  EXPECT_FALSE(Keeps("<!doctype href=\"a.gif\">", "a.gif"));
  EXPECT_FALSE(Keeps("</a href=\"a.gif\">", "a.gif"));
  EXPECT_FALSE(Keeps("<a href=\"a.gif\"", "a.gif"));
}

TEST_F(FileManagementLinks, EveryLinkOfALongPageCounts) {
  std::string page(40000, 'x');
  for (int i = 0; i < 3000; ++i) {
    page += "<p>words in between</p><a title='t' href=file" + std::to_string(i) + ".gif>";
    if (i % 300 == 0) File("file" + std::to_string(i) + ".gif");
  }
  Index(page);
  ASSERT_EQ(Scan(), 1);
  EXPECT_EQ(Left().size(), 11U);
}

TEST_F(FileManagementLinks, ForwardSlashesStandForBackslashes) {
  EXPECT_TRUE(LinkKeeps("images/a.gif", "images/a.gif"));
  EXPECT_TRUE(LinkKeeps("images\\a.gif", "images/a.gif"));
}

TEST_F(FileManagementLinks, LetterCaseIsIgnored) {
  EXPECT_TRUE(LinkKeeps("IMAGES/A.gif", "images/a.GIF"));
}

TEST_F(FileManagementLinks, ASchemeOrADriveKeepsNothing) {
  for (const char* value : {"http://x.example/a.gif", "mailto:a.gif", "http:a.gif", "C:\\a.gif",
                            "C:a.gif", ":a.gif", "a.gif:", "file:///a.gif"}) {
    EXPECT_FALSE(LinkKeeps(value, "a.gif")) << value;
  }
}

TEST_F(FileManagementLinks, AnEmptyLinkKeepsNothing) {
  EXPECT_FALSE(Keeps("<a href=\"\"><a href><a href=>", "a.gif"));
}

TEST_F(FileManagementLinks, ALinkWithAnAnchorIsKeptUnderItsWholeText) {
  EXPECT_FALSE(LinkKeeps("page.htm#top", "page.htm"));
  EXPECT_FALSE(LinkKeeps("page.htm?a=b", "page.htm"));
  EXPECT_TRUE(LinkKeeps("page.htm#top", "page.htm#top"));
  EXPECT_TRUE(Keeps("<a href=page.htm#top><a href=page.htm>", "page.htm"));
}

TEST_F(FileManagementLinks, AnAnchorMakesNoPageToRead) {
  File("page.htm", "<img src=a.gif>");
  File("page.htm#top", "<img src=a.gif>");
  EXPECT_FALSE(LinkKeeps("page.htm#top", "a.gif"));
}

TEST_F(FileManagementLinks, APathThatIsNotWrittenPlainlyProtectsNoFile) {
  EXPECT_FALSE(LinkKeeps("./a.gif", "a.gif"));
  EXPECT_FALSE(LinkKeeps("sub/../a.gif", "a.gif"));
  EXPECT_FALSE(LinkKeeps("/a.gif", "a.gif"));
  EXPECT_FALSE(LinkKeeps(" a.gif", "a.gif"));
}

TEST_F(FileManagementLinks, AtMost1024CharactersOfALinkCount) {
  const std::string part(200, 'p');
  std::string path;
  for (int i = 0; i < 5; ++i) path += part + "/";
  path += std::string(1024 - path.size() - 4, 'f') + ".gif";
  ASSERT_EQ(path.size(), 1024U);
  EXPECT_TRUE(LinkKeeps(path, path));
  EXPECT_TRUE(LinkKeeps(path + "tail", path));
  EXPECT_TRUE(LinkKeeps(path + ":", path)) << "what is not read is no scheme";
  EXPECT_FALSE(LinkKeeps(path + "tail", path + "tail"));
}

// --- Decoded forms -------------------------------------------------------------------------------

TEST_F(FileManagementLinks, EncodedLinksKeepTheFilesThatTheyStandFor) {
  const std::pair<const char*, const char*> kPairs[] = {
      {"my%20photo.gif", "my photo.gif"},
      {"B%c3%84r.gif", "B\xC3\x84r.gif"},
      {"100%25%23.gif", "100%#.gif"},
      {"images%2Fa.gif", "images/a.gif"},
      {"a&amp;b.gif", "a&b.gif"},
      {"B&auml;r.gif", "B\xC3\xA4r.gif"},
      {"B&auml;r.gif", "B\xE4r.gif"},
      {"&#66;&#x00e4;r.gif", "B\xC3\xA4r.gif"},
      {"it&#39;s.gif", "it's.gif"},
      {"a%20&amp;%20b.gif", "a & b.gif"},
      {"&euro;%E2%82%AC&auml;.gif", "&euro;\xE2\x82\xAC\xC3\xA4.gif"},
      {"a&amp;%62.gif", "a&b.gif"},
      {"%26amp;.gif", "&amp;.gif"},
  };
  for (const auto& [value, file] : kPairs) EXPECT_TRUE(LinkKeeps(value, file)) << value;
}

TEST_F(FileManagementLinks, TheTextAsItStandsIsKeptToo) {
  for (const char* name : {"my%20photo.gif", "a&amp;b.gif", "&auml;%41.gif"}) {
    EXPECT_TRUE(LinkKeeps(name, name));
  }
}

TEST_F(FileManagementLinks, NothingIsDecodedTwice) {
  EXPECT_FALSE(LinkKeeps("a%2520b.gif", "a b.gif"));
  EXPECT_FALSE(LinkKeeps("a&amp;amp;b.gif", "a&b.gif"));
}

TEST_F(FileManagementLinks, AQuestionMarkEndsTheDecoding) {
  EXPECT_FALSE(LinkKeeps("a?b%20c.gif", "a?b c.gif"));
  EXPECT_TRUE(LinkKeeps("a?b%20c.gif", "a?b%20c.gif"));
}

TEST_F(FileManagementLinks, ANulInALinkNamesNothing) {
  EXPECT_FALSE(LinkKeeps("a.gif%00", "a.gif"));
  File("page.htm", "<img src=b.gif>");
  EXPECT_FALSE(LinkKeeps("page.htm%00.htm", "b.gif"));
}

TEST_F(FileManagementLinks, WhatPageGenerationWritesIsFoundAgain) {
  const Names files = {"a&b.gif", "my photo.gif", "B\xC3\xA4r #1.gif", "50%.gif", "it's.gif"};
  std::string page;
  for (const std::string& name : files) {
    Template(name, "x");
    std::string value = name;
    for (std::size_t at = 0; (at = value.find('&', at)) != std::string::npos; ++at) {
      value.replace(at, 1, "&");
    }
    page += "<img src=\"" + value + "\">";
  }
  Template("index.htm", page);
  ASSERT_EQ(Run(), 1);
  const Names made = Left();
  ASSERT_EQ(made.size(), files.size() + 1);
  File("orphan.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), made);
}

// --- Pages ---------------------------------------------------------------------------------------

TEST_F(FileManagementLinks, PagesAreFollowedToAnyDepthAndInCircles) {
  Index("<a href=1.htm>");
  File("1.htm", "<a href=2.HTML><a href=index.htm>");
  File("2.html", "<a href=sub/3.htm>");
  File("sub/3.htm", "<a href=1.htm><img src=sub/a.gif>");
  File("sub/a.gif");
  File("4.htm", "<a href=index.htm><a href=4.htm><img src=b.gif>");
  File("b.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"1.htm", "2.html", "index.htm", "sub/3.htm", "sub/a.gif"}));
}

TEST_F(FileManagementLinks, OnlyFilesCalledPagesAreRead) {
  Names names;
  std::string page;
  for (const char* extension :
       {"htm", "HTML", "Htm", "txt", "css", "shtml", "htmx", "xhtm", "svg"}) {
    const std::string name = "page_" + std::string(extension) + "." + extension;
    page += "<a href=\"" + name + "\">";
    File(name, "<img src=by_" + std::string(extension) + ".gif>");
    File("by_" + std::string(extension) + ".gif");
  }
  page += "<a href=htm><a href=.htm>";
  File("htm", "<img src=by_none.gif>");
  File("by_none.gif");
  Index(page);
  EXPECT_EQ(Scan(), 1);
  Names read;
  for (const std::string& name : Left()) {
    if (name.starts_with("by_")) read.push_back(name);
  }
  EXPECT_EQ(read, (Names{"by_HTML.gif", "by_Htm.gif", "by_htm.gif"}));
}

TEST_F(FileManagementLinks, OwnersPagesAreReadAsWell) {
  Index("<a href=own.htm>");
  Owners("own.htm", "<img src=a.gif>");
  Owners("unlinked.htm", "<img src=b.gif>");
  File("a.gif");
  File("b.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"a.gif", "index.htm", "own.htm", "unlinked.htm"}));
}

TEST_F(FileManagementLinks, APageInAFolderNamesFilesFromTheTop) {
  Index("<a href=sub/page.htm>");
  File("sub/page.htm", "<img src=a.gif>");
  File("a.gif");
  File("sub/a.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"a.gif", "index.htm", "sub/page.htm"}));
}

TEST_F(FileManagementLinks, APageThatCannotBeOpenedIsSkippedAndItsFilesGo) {
  Index("<a href=page.htm><a href=other.htm>");
  File("page.htm", "<img src=a.gif>");
  File("other.htm", "<img src=b.gif>");
  File("a.gif");
  File("b.gif");
  const HANDLE held = CreateFileA(SitePath("page.htm").c_str(), GENERIC_READ, 0, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Scan(), 1);
  CloseHandle(held);
  EXPECT_TRUE(history.empty());
  EXPECT_EQ(Left(), (Names{"b.gif", "index.htm", "other.htm", "page.htm"}));
}

// What else such a page names is not known.
TEST_F(FileManagementLinks, APageThatBreaksOffDeletesNothing) {
  const std::string unreadable = "/proc/self/mem";
  std::error_code error;
  if (fs::exists(unreadable, error)) fs::create_symlink(unreadable, SitePath("page.htm"), error);
  if (!fs::is_symlink(SitePath("page.htm"), error)) GTEST_SKIP() << "no file that cannot be read";
  Index("<a href=page.htm>");
  File("orphan.gif");
  EXPECT_EQ(Scan(), 0);
  EXPECT_EQ(history, Names{"Cannot open page.htm"});
  EXPECT_EQ(Left(), (Names{"index.htm", "orphan.gif", "page.htm"}));
  EXPECT_EQ(state_->Number("Last Local Directory Scan Time"), 0U);
}

// --- Nothing outside -----------------------------------------------------------------------------

TEST_F(FileManagementLinks, PagesOutsideAreNotRead) {
  WriteFileBytes(root_ / "outside.htm", "<img src=a.gif>");
  File("sub/page.htm");
  for (const std::string& value :
       {std::string("../outside.htm"), std::string("..\\outside.htm"),
        std::string("sub/../../outside.htm"), std::string("%2e%2e/outside.htm"),
        std::string("..%5Coutside.htm"), std::string("&#46;./outside.htm"), root_ / "outside.htm",
        std::string("/../../../../../../../../") + (root_ / "outside.htm")}) {
    EXPECT_FALSE(LinkKeeps(value, "a.gif")) << value;
  }
}

TEST_F(FileManagementLinks, APageInsideIsReadHoweverALinkLeadsToIt) {
  File("sub/own.txt");
  for (const std::string& value :
       {std::string("./page.htm"), std::string("sub/../page.htm"), std::string(".//.\\page.htm"),
        std::string("../Site/page.htm"), SitePath("page.htm")}) {
    Owners("page.htm", "<img src=a.gif>");
    EXPECT_TRUE(LinkKeeps(value, "a.gif")) << value;
  }
}

TEST_F(FileManagementLinks, NothingOutsideIsDeleted) {
  WriteFileBytes(root_ / "outside.gif", "x");
  WriteFileBytes(root_ / "Site2", "x");
  for (const char* name : {"outside.gif", "Site2"}) {
    SetFileAttributesA((root_ / name).c_str(), FILE_ATTRIBUTE_TEMPORARY);
  }
  EXPECT_FALSE(LinkKeeps("../a.gif", "a.gif"));
  EXPECT_TRUE(FileExists(root_ / "outside.gif"));
  EXPECT_TRUE(FileExists(root_ / "Site2"));
}

TEST_F(FileManagementLinks, DirectoriesThatAreSymbolicLinksAreNotEntered) {
  fs::create_directory(root_ / "Elsewhere");
  WriteFileBytes(root_ / "Elsewhere/plain.gif", "x");
  SetFileAttributesA((root_ / "Elsewhere/plain.gif").c_str(), FILE_ATTRIBUTE_TEMPORARY);
  WriteFileBytes(root_ / "Elsewhere/page.htm", "<img src=a.gif>");
  std::error_code error;
  fs::create_directory_symlink(root_ / "Elsewhere", SitePath("link"), error);
  if (error) GTEST_SKIP() << "no symbolic links: " << error.message();
  fs::create_directory_symlink(root_ / "Site", SitePath("circle"), error);
  EXPECT_FALSE(LinkKeeps("link/page.htm", "a.gif"));
  EXPECT_TRUE(FileExists(root_ / "Elsewhere/plain.gif"));
  EXPECT_TRUE(fs::is_symlink(SitePath("circle")));
}

TEST_F(FileManagementLinks, AFileThatIsASymbolicLinkStays) {
  WriteFileBytes(root_ / "target.gif", "x");
  SetFileAttributesA((root_ / "target.gif").c_str(), FILE_ATTRIBUTE_TEMPORARY);
  std::error_code error;
  fs::create_symlink(root_ / "target.gif", SitePath("link.gif"), error);
  if (error) GTEST_SKIP() << "no symbolic links: " << error.message();
  EXPECT_FALSE(LinkKeeps("", "a.gif"));
  EXPECT_TRUE(fs::is_symlink(SitePath("link.gif")));
  EXPECT_TRUE(FileExists(root_ / "target.gif"));
}

// --- Many and large ------------------------------------------------------------------------------

TEST_F(FileManagementLinks, ACircleOfAHundredThousandPagesEnds) {
  constexpr int kPages = 100000;
  const auto page = [](int number) { return "p" + std::to_string(number) + ".htm"; };
  Index("<a href=p0.htm>");
  for (int i = 0; i < kPages; ++i) {
    const int next = (i + 1) % kPages;
    WriteFileBytes(SitePath(page(i)), "<a href=" + page(next) + "><a href=index.htm><a href=" +
                                          page(i / 2) + "><img src=last.gif>");
  }
  File("last.gif");
  File("orphan.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_FALSE(FileExists(SitePath("orphan.gif")));
  EXPECT_EQ(Left().size(), kPages + 2U);
}

// Read once for every spelling of its name it would take hours.
TEST_F(FileManagementLinks, APageIsReadOnceHoweverItIsSpelled) {
  std::string page(1 << 20, 'x');
  std::string spelling = "page.htm";
  for (int i = 0; i < 400; ++i) {
    page += "<a href=\"" + spelling + "\">";
    spelling.insert(0, i % 2 == 0 ? "./" : "%2e/");
  }
  for (int i = 0; i < 20000; ++i) page += "<a href=\"d" + std::to_string(i) + "/../page.htm\">";
  File("page.htm", page + "<img src=a.gif>");
  EXPECT_TRUE(LinkKeeps("page.htm", "a.gif"));
}

TEST_F(FileManagementLinks, LinksToPagesThatAreNotThereCostNothing) {
  std::string page;
  for (int i = 0; i < 100000; ++i) page += "<a href=gone" + std::to_string(i) + ".htm>";
  for (int i = 0; i < 2000; ++i) Owners("f" + std::to_string(i));
  EXPECT_FALSE(Keeps(page, "a.gif"));
}

}  // namespace
}  // namespace test
