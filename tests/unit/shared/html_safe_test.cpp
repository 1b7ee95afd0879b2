// Visitors' texts on pages, with "Safe HTML" and without.
#include "html_board.h"

#include <filesystem>
#include <fstream>

namespace test {
namespace {

using brevant::kListKind;
using brevant::TBoardKind;

class HtmlSafe : public HtmlBoard {
 protected:
  void SetUp() override {
    MakeForum("Talk");
    setup_->Number("Safe HTML", 1);
  }
  // What a template makes of a message.
  std::string Page(const std::string& text, const Post& post) {
    return Unwrapped(Expand(text, "Talk", Add("Talk", post)));
  }
  std::string PageOf(const std::string& text, const std::string& subject) {
    return Page(text, {.subject = subject});
  }
  std::string LinkPage(const std::string& text, const std::string& address) {
    if (!std::exchange(listMade_, true)) MakeContainer(TBoardKind::kLinkList, "Links");
    const DWORD index =
        AddTo(TBoardKind::kLinkList, "Links",
              {.subject = std::to_string(++links_), .values = {{"Address", address}}});
    return Unwrapped(ExpandIn(kListKind, text, "Links", index));
  }
  bool listMade_ = false;
  int links_ = 0;
};

TEST_F(HtmlSafe, ContentIsReducedToTheAllowList) {
  EXPECT_EQ(
      Page("<div>$MESSAGE_CONTENT$</div>",
           {.content = "<script>x()</script><b onclick=x()>b</b></div><p>", .type = "text/html"}),
      "<div><b>b</b><p></p></div>");
}

TEST_F(HtmlSafe, WithoutTheSettingContentIsCopiedUnchanged) {
  setup_->Number("Safe HTML", 0);
  const std::string hostile =
      "<script>x()</script><b onclick=x() style='a:b'>b</b></div><!-- c --><p><a "
      "href=javascript:x()>";
  EXPECT_EQ(Page("$MESSAGE_CONTENT$", {.content = hostile, .type = "text/html"}), hostile);
  EXPECT_EQ(PageOf("<i x='$MESSAGE_SUBJECT$' y=$MESSAGE_SUBJECT$ onclick=\"$MESSAGE_SUBJECT$\">",
                   "a'b c=d"),
            "<i x='a'b c=d' y=a'b c=d onclick=\"a'b c=d\">");
  EXPECT_EQ(LinkPage("<a href=\"$LINK_ADDRESS$\">$LINK_ADDRESS$</a>", "javascript:x()"),
            "<a href=\"javascript:x()\">javascript:x()</a>");
  EXPECT_EQ(Page("<a href=\"$MESSAGE_MAIL$\">", {.subject = "a&bcc=b", .from = "a?cc=b@c"}),
            "<a href=\"mailto:a?cc=b@c?Subject=Re: a&amp;bcc=b\">");
}

TEST_F(HtmlSafe, SummariesOfLinksAreContentToo) {
  MakeContainer(TBoardKind::kLinkList, "Links");
  const DWORD index = AddTo(TBoardKind::kLinkList, "Links",
                            {.content = "<i><script>x</script>y", .type = "text/html"});
  EXPECT_EQ(Unwrapped(ExpandIn(kListKind, "$LINK_SUMMARY$", "Links", index)), "<i>y</i>");
}

TEST_F(HtmlSafe, PlainTextStaysAsItIs) {
  const Post post = {.content = "a <b> 'c'\r\n\r\n* d"};
  const std::string safe = Page("$MESSAGE_CONTENT$", post);
  setup_->Number("Safe HTML", 0);
  EXPECT_EQ(Page("$MESSAGE_CONTENT$", post), safe);
}

TEST_F(HtmlSafe, OnlyTheMessagesOwnFilesAreShownAndLinked) {
  EXPECT_EQ(Page("$MESSAGE_CONTENT$",
                 {.content = "<img src=k3x9a.png><img src=k3x9b.png alt=b><a href=k3x9a.png>a</a>"
                             "<a href=style.css>s</a>",
                  .type = "text/html",
                  .attachments = {{"k3x9a.png", "a.png"}}}),
            "<img src=\"k3x9a.png\" alt=\"\">b<a href=\"k3x9a.png\">a</a>s");
}

TEST_F(HtmlSafe, ContentInATagIsTextAndShort) {
  EXPECT_EQ(Page("<i title=\"$MESSAGE_CONTENT$\">",
                 {.content = "<p>one</p><script>two</script>\"three\"", .type = "text/html"}),
            "<i title=\"one&quot;three&quot;\">");
  const std::string page =
      Page("<i title='$MESSAGE_CONTENT$'>", {.content = std::string(5000, '\'')});
  EXPECT_EQ(page.size(), std::string("<i title=''>").size() + 512 * std::string("&#39;").size());
}

TEST_F(HtmlSafe, QuotationMarksOfAValueAreEscaped) {
  EXPECT_EQ(PageOf("<i x='$MESSAGE_SUBJECT$'>", "' onclick='x()"),
            "<i x='&#39; onclick=&#39;x()'>");
  EXPECT_EQ(PageOf("<i x=$MESSAGE_SUBJECT$>", "a onclick=x()`'"),
            "<i x=a&#32;onclick&#61;x()&#96;&#39;>");
  EXPECT_EQ(PageOf("<i x=\"$MESSAGE_SUBJECT$\">$MESSAGE_SUBJECT$", "it's \"x\" = y"),
            "<i x=\"it's &quot;x&quot; = y\">it's &quot;x&quot; = y");
}

TEST_F(HtmlSafe, NothingIsWrittenIntoCodeAndOutsideOfValues) {
  EXPECT_EQ(PageOf("<i onclick=\"f('$MESSAGE_SUBJECT$')\" STYLE='a:$MESSAGE_SUBJECT$' "
                   "srcdoc=$MESSAGE_SUBJECT$ $MESSAGE_SUBJECT$><$MESSAGE_SUBJECT$>",
                   "abc"),
            "<i onclick=\"f('')\" STYLE='a:' srcdoc= ><>");
}

TEST_F(HtmlSafe, AValueThatWouldOverfillTheTagIsLeftOut) {
  const std::string page = PageOf(
      "<i a=\"$MESSAGE_SUBJECT$$MESSAGE_SUBJECT$\" b=\"$MESSAGE_SUBJECT$$MESSAGE_SUBJECT$\" "
      "c=\"$MESSAGE_SUBJECT$\" d=\"e\">",
      std::string(120, '"'));
  EXPECT_TRUE(page.ends_with("c=\"\" d=\"e\">")) << page;
}

TEST_F(HtmlSafe, AddressesThatALinkFollowsLeadToNothingThatRuns) {
  for (const char* address : {"javascript:x()", "JAVA\tscript:x()", " data:text/html,x",
                              "vbscript:x", "//example.org", "\\\\example.org"}) {
    EXPECT_EQ(PageOf("<a href=\"$MESSAGE_SUBJECT$\">", address), "<a href=\"\">") << address;
    EXPECT_EQ(PageOf("<form action=$MESSAGE_SUBJECT$>", address), "<form action=>") << address;
  }
  for (const char* address : {"http://example.org/", "MAILTO:a@b", "page.htm", "a/b:c"}) {
    EXPECT_EQ(PageOf("<a href=\"$MESSAGE_SUBJECT$\">", address),
              "<a href=\"" + std::string(address) + "\">");
  }
}

TEST_F(HtmlSafe, WhatIsLoadedComesFromTheSiteOrWhereTheTemplateSays) {
  for (const char* address : {"http://example.org/x.png", "//example.org/x.png", "data:x"}) {
    EXPECT_EQ(PageOf("<img src=\"$MESSAGE_SUBJECT$\">", address), "<img src=\"\">") << address;
    EXPECT_EQ(PageOf("<link href=\"$MESSAGE_SUBJECT$\">", address), "<link href=\"\">") << address;
  }
  EXPECT_EQ(PageOf("<img src=\"icons/$MESSAGE_SUBJECT$.gif\">", "smile"),
            "<img src=\"icons/smile.gif\">");
  EXPECT_EQ(PageOf("<img src=\"https://example.org/$MESSAGE_SUBJECT$\">", "x"),
            "<img src=\"https://example.org/x\">");
  EXPECT_EQ(PageOf("<img src=\"https://$MESSAGE_SUBJECT$\">", "evil.example/x"),
            "<img src=\"https://\">");
  EXPECT_EQ(PageOf("<img src=\"/$MESSAGE_SUBJECT$\">", "/evil.example/x"), "<img src=\"/\">");
}

TEST_F(HtmlSafe, ASchemeMayNotBePutTogether) {
  EXPECT_EQ(Page("<a href=\"$MESSAGE_SUBJECT$$MESSAGE_OTHER(Other)$\">",
                 {.subject = "java", .values = {{"Other", "script:x()"}}}),
            "<a href=\"java\">");
  EXPECT_EQ(PageOf("<a href=\"javascript:f('$MESSAGE_SUBJECT$')\">", "x"),
            "<a href=\"javascript:f('')\">");
  EXPECT_EQ(PageOf("<a href=\"tel:$MESSAGE_SUBJECT$\">", "123"), "<a href=\"tel:123\">");
}

TEST_F(HtmlSafe, TheAddressOfALinkIsShownOnlyWithASchemeThatIsSafe) {
  const std::string page = "<a href=\"$LINK_ADDRESS$\">$LINK_ADDRESS$$LINK_OTHER(address)$</a>";
  for (const char* address : {"http://x.org/", "HTTPS://x.org", "ftp://x.org", "mailto:a@b"}) {
    const std::string a = address;
    EXPECT_EQ(LinkPage(page, a), "<a href=\"" + a + "\">" + a + a + "</a>");
  }
  for (const char* address :
       {"javascript:x()", "data:x", "www.x.org", "//x.org", "file:///x", ""}) {
    EXPECT_EQ(LinkPage(page, address), "<a href=\"\"></a>") << address;
  }
}

TEST_F(HtmlSafe, AnswersGoToNobodyElse) {
  EXPECT_EQ(
      Page("<a href=\"$MESSAGE_MAIL$\">", {.subject = "a&bcc=b#%41", .from = "x?cc=b@example.org"}),
      "<a href=\"mailto:xcc=b@example.org?Subject=Re: a%26bcc=b%23%2541\">");
  EXPECT_NE(PageOf("<a href=\"$MESSAGE_REPLY$\">", "a&to=b").find("?Subject=Re:a%26to=b\""),
            std::string::npos);
}

TEST_F(HtmlSafe, AttachedFilesAreContentToo) {
  WriteFileBytes(SitePath("k3x9a.htm"), "<script>x()</script><b>y");
  const Post post = {.attachments = {{"k3x9a.htm", "a.htm"}}};
  EXPECT_EQ(Page("$MESSAGE_ATTACHMENT_CONTENT(a)$", post), "<b>y</b>");
  EXPECT_EQ(Page("<i x=\"$MESSAGE_ATTACHMENT_CONTENT(a)$\">", post), "<i x=\"\">");
  EXPECT_EQ(Page("<img src=\"$MESSAGE_ATTACHMENT_FILENAME(a)$\">", post),
            "<img src=\"k3x9a.htm\">");
  EXPECT_EQ(Page("<i x='$MESSAGE_ATTACHMENT_FILENAME(a)$'>",
                 {.attachments = {{"k3x9' onclick='x()", "a"}}}),
            "<i x='k3x9&#39; onclick=&#39;x()'>");
}

TEST_F(HtmlSafe, ControlCharactersGo) {
  EXPECT_EQ(PageOf("$MESSAGE_SUBJECT$",
                   "a\x1B\x01\x7F\x0C"
                   "b"),
            "ab");
}

// With the setting and without, in every spelling.
TEST_F(HtmlSafe, NoFileIsPulledIntoTheSite) {
  WriteFileBytes(root_ / "brevant.ini", "secret");
  WriteFileBytes(root_ / "secret.gif", "secret");
  Template("page.txt", "not for visitors");
  Set("HTML File - Forum list", "index");
  OpenContainer(TBoardKind::kForum, "Talk")->Number("Max Message Count", DWORD{1000});
  std::string absolute = root_ / "secret.gif";
  std::string names;
  for (const std::string& name : {std::string("../board.ini"),
                                  std::string("..%2fboard.ini"),
                                  std::string("%2e%2e/board.ini"),
                                  std::string("..&#47;board.ini"),
                                  std::string("&#46;&#46;/board.ini"),
                                  std::string("..\\board.ini"),
                                  std::string("..&bsol;board.ini"),
                                  std::string("../secret.gif"),
                                  std::string("sub/../../secret.gif"),
                                  std::string("../Data/Talk.mwd"),
                                  std::string("../Data/Talk.mwd.jnl"),
                                  std::string("../state.ini"),
                                  std::string("../error.log"),
                                  std::string("../brevant.ini"),
                                  std::string("./.././brevant.ini"),
                                  std::string("%2e%2e%2fbrevant.ini"),
                                  std::string("..%5cbrevant.ini"),
                                  std::string("%252e%252e/brevant.ini"),
                                  std::string("&#x2e;&#x2E;/brevant.ini"),
                                  std::string("..\t/brevant.ini"),
                                  absolute,
                                  "file:///" + absolute,
                                  "file://" + absolute,
                                  "file://localhost" + absolute,
                                  "FILE:///" + absolute,
                                  "file:&#47;&#47;&#47;" + absolute,
                                  "file%3a///" + absolute}) {
    names += "<img src=\"" + name + "\"><a href='" + name + "'>x</a><a href=" + name +
             ">y</a><table background=\"" + name + "\"></table><applet codebase='" + name +
             "'></applet>";
    // In every text that a template may put into an address.
    Add("Talk", {.subject = name,
                 .from = "\"" + name + "\" <a@example.org>",
                 .values = {{"Homepage", name}}});
  }
  Add("Talk", {.content = names, .type = "text/html"});
  Template("index.htm",
           "<ul><li>$FORUM_NAME$<p>$MESSAGE_CONTENT$<img src=\"$MESSAGE_OTHER(Homepage)$\">"
           "<img src='$MESSAGE_SUBJECT$'><a href=$MESSAGE_FROM$>x</a></p></li></ul>");
  for (const DWORD on : {1U, 0U}) {
    setup_->Number("Safe HTML", on);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"}) << on;
  }
  // Files beside the templates are for those who write templates.
  Add("Talk", {.content = "<a href=\"page.txt\">x</a><img src=page.txt>", .type = "text/html"});
  setup_->Number("Safe HTML", 1);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
}

}  // namespace
}  // namespace test
