// Pages that show the characters of mail, whatever character set it came in.
#include "html_board.h"

#include <algorithm>

namespace test {
namespace {

class HtmlCharset : public HtmlBoard {
 protected:
  void SetUp() override {
    MakeForum("Talk", "Caf\xC3\xA9 \xE2\x80\x93 all welcome");
    Set("Decode Mail Text", "1");
  }
  // Of a message whose header texts are UTF-8.
  std::string Shown(const std::string& text, Post post) {
    post.values.emplace_back("Header Charset", "utf-8");
    return ShownAsStored(text, post);
  }
  std::string ShownAsStored(const std::string& text, const Post& post) {
    const std::string page = Unwrapped(Expand(text, "Talk", Add("Talk", post)));
    EXPECT_TRUE(std::all_of(page.begin(), page.end(), [](char c) {
      return static_cast<unsigned char>(c) < 128;
    })) << page;
    return page;
  }
  std::string Content(const std::string& content, const std::string& charset,
                      const std::string& type = "text/plain") {
    return ShownAsStored("$MESSAGE_CONTENT$",
                         {.content = content, .type = type, .values = {{"Charset", charset}}});
  }
};

TEST_F(HtmlCharset, WithoutTheSettingBytesMeanThemselves) {
  Set("Decode Mail Text", "0");
  const DWORD item = Add("Talk", {.subject = "M\xC3\xBC\x80",
                                  .content = "\xC3\xBC",
                                  .values = {{"Header Charset", "utf-8"}, {"Charset", "utf-8"}}});
  EXPECT_EQ(Expand("$MESSAGE_SUBJECT$", "Talk", item), "M&Atilde;&frac14;\x80");
  EXPECT_EQ(Unwrapped(Expand("$MESSAGE_CONTENT$", "Talk", item)), "&Atilde;&frac14;");
}

TEST_F(HtmlCharset, HeaderTextsAreNamedOrNumberedCharacters) {
  EXPECT_EQ(Shown("$MESSAGE_SUBJECT$ / $MESSAGE_FROM$",
                  {.subject = "M\xC3\xBCller\xE2\x80\x99s <b>",
                   .from = "\"Zo\xC3\xAB \xC5\x81\" <z@example.org>"}),
            "M&uuml;ller&#8217;s &lt;b&gt; / Zo&euml; &#321;");
}

TEST_F(HtmlCharset, HeaderTextsWithoutACharsetAreLatin1) {
  EXPECT_EQ(ShownAsStored("$MESSAGE_SUBJECT$", {.subject = "M\xFCller \x80"}),
            "M&uuml;ller &#8364;");
}

TEST_F(HtmlCharset, BrokenSequencesAreTheReplacementCharacter) {
  EXPECT_EQ(Shown("$MESSAGE_SUBJECT$", {.subject = "a\xC3 b\xFF"}), "a&#65533; b&#65533;");
}

TEST_F(HtmlCharset, OtherValuesAreDecodedToo) {
  EXPECT_EQ(Shown("$MESSAGE_OTHER(Town)$", {.values = {{"Town", "\xC5\x81\xC3\xB3\x64\xC5\xBA"}}}),
            "&#321;&oacute;d&#378;");
}

TEST_F(HtmlCharset, TextsOfContainersAreUtf8OrElseWindows1252) {
  EXPECT_EQ(Unwrapped(Expand("$FORUM_DESCRIPTION$", "Talk")), "Caf&eacute; &#8211; all welcome");
  MakeForum("Old", "Caf\xE9 \x96 all");
  EXPECT_EQ(Unwrapped(Expand("$FORUM_DESCRIPTION$", "Old")), "Caf&eacute; &#8211; all");
}

TEST_F(HtmlCharset, PlainContentInEveryCharacterSet) {
  EXPECT_EQ(Content("\xC3\xA4\xE2\x82\xAC", "utf-8"), "&auml;&#8364;");
  EXPECT_EQ(Content("\x93q\x94 \x80", "windows-1252"), "&#8220;q&#8221; &#8364;");
  EXPECT_EQ(Content("\xE4\xFF", "iso-8859-1"), "&auml;&yuml;");
  EXPECT_EQ(Content("\xB3\xF3", "ISO-8859-2"), "&#322;&oacute;");
  EXPECT_EQ(Content("\xA4", "iso-8859-15"), "&#8364;");
}

TEST_F(HtmlCharset, UnknownAndWrongLabels) {
  EXPECT_EQ(Content("\xC3\xA4 \xE4", "x-nobody-knows"), "&auml; &auml;");
  EXPECT_EQ(Content("\xC3\xA4", "us-ascii"), "&auml;");
  EXPECT_EQ(Content("\xE4\xE4", "utf-8"), "&#65533;&#65533;");
}

TEST_F(HtmlCharset, ACharacterIsNotCutWhereverTheBlocksEnd) {
  std::string content;
  while (content.size() < 4090) content += "words ";
  content.resize(4093);
  for (int i = 0; i < 4; ++i) {
    content.insert(0, 1, 'y');
    const std::string page = Content(content + "\xE2\x82\xAC.", "utf-8");
    EXPECT_EQ(page.substr(page.size() - 8), "&#8364;.") << i;
  }
}

TEST_F(HtmlCharset, TextWithoutBlanksIsWhole) {
  std::string text;
  std::string references;
  for (int i = 0; i < 3000; ++i) {
    text += "\xE6\x97\xA5";
    references += "&#26085;";
  }
  for (const char* type : {"text/plain", "text/html"}) {
    EXPECT_EQ(Content(text, "utf-8", type), references) << type;
    EXPECT_EQ(Content("abc" + text + " end", "utf-8", type), "abc" + references + " end") << type;
  }
  EXPECT_EQ(Content("<p>" + text + "<b>" + text + "</b>", "utf-8", "text/html"),
            "<p>" + references + "<b>" + references + "</b>");
}

TEST_F(HtmlCharset, TextWithoutBlanksIsWholeBesideAFieldThatIsRepeated) {
  std::string text;
  std::string references;
  for (int i = 0; i < 1000; ++i) {
    text += "\xE6\x97\xA5";
    references += "&#26085;";
  }
  Add("Talk", {.subject = "One", .content = text, .values = {{"Charset", "utf-8"}}});
  Add("Talk", {.subject = "Two", .content = text, .values = {{"Charset", "utf-8"}}});
  std::string page = Unwrapped(Expand("<p>$MESSAGE_SUBJECT$:$MESSAGE_CONTENT$!</p>", "Talk"));
  std::erase(page, ' ');
  EXPECT_EQ(page, "<p>One:" + references + "!</p><p>Two:" + references + "!</p>");
}

TEST_F(HtmlCharset, ACharacterThatTheContentEndsInIsBroken) {
  EXPECT_EQ(Content("x\xE2\x82", "utf-8"), "x&#65533;");
  EXPECT_EQ(Content("<i>x</i>\xE2\x82", "utf-8", "text/html"), "<i>x</i>&#65533;");
}

TEST_F(HtmlCharset, HtmlContentKeepsItsMarkup) {
  EXPECT_EQ(Content("<p title=\"\xE4\">\xE4 &amp; \x96</p>", "windows-1252", "text/html"),
            "<p title=\"&auml;\">&auml; &amp; &#8211;</p>");
}

TEST_F(HtmlCharset, AnAttachmentsContentIsDecodedToo) {
  Add("Talk", {.attachments = {{"ab12a.htm", "a"}}});
  WriteFileBytes(SitePath("ab12a.htm"), "<b>\xC3\xBC \xFC</b> &amp; \xC3");
  EXPECT_EQ(Unwrapped(Expand("$MESSAGE_ATTACHMENT_CONTENT(a)$", "Talk", 1)),
            "<b>&uuml; &uuml;</b> &amp; &Atilde;");
  setup_->Number("Decode Mail Text", 0);
  EXPECT_EQ(Unwrapped(Expand("$MESSAGE_ATTACHMENT_CONTENT(a)$", "Talk", 1)),
            "<b>\xC3\xBC \xFC</b> &amp; \xC3");
}

TEST_F(HtmlCharset, AShortLineIsCountedInCharacters) {
  const auto line = [](int characters) {
    std::string text;
    for (int i = 0; i < characters; ++i) text += "\xC3\xA4";
    return text;
  };
  const auto ends = [&](const std::string& page, const std::string& with) {
    return page.find(with) != std::string::npos;
  };
  EXPECT_TRUE(ends(Content("- a\r\n" + line(40), "utf-8"), "<br>&auml;"));
  EXPECT_TRUE(ends(Content("- a\r\n" + line(41), "utf-8"), "<p>&auml;"));
}

TEST_F(HtmlCharset, AddressesStayLinks) {
  const Post post{.subject = "Wie geht\xE2\x80\x99s \xC3\xBC?", .from = "\xC3\xBC@example.org"};
  EXPECT_EQ(Shown("<a href=\"$MESSAGE_MAIL$\">", post),
            "<a href=\"mailto:&uuml;@example.org?Subject=Re: Wie geht&#8217;s &uuml;?\">");
  EXPECT_EQ(Shown("<a href=\"$MESSAGE_OTHER(Link)$\">",
                  {.values = {{"Link", "a b\xE2\x80\x99\xC3\xBC#1.htm"}}}),
            "<a href=\"a%20b%E2%80%99&uuml;%231.htm\">");
}

TEST_F(HtmlCharset, RepliesJoinTextsOfTwoCharacterSets) {
  Set("BBS Short Name", "Caf\xC3\xA9");
  EXPECT_EQ(ShownAsStored("$MESSAGE_REPLY$", {.subject = "\xFC"}),
            "mailto:&quot;[Caf&eacute;:Talk:1]&quot;&lt;board@example.org&gt;?Subject=Re:&uuml;");
}

}  // namespace
}  // namespace test
