// The filters of UTF-8 texts.
#include "text/filters.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

std::string Escaped(std::string text) {
  HtmlEscapeUtf8(text);
  return text;
}

std::string Decoded(std::string text) {
  HtmlDecodeToUtf8(text);
  return text;
}

std::string Link(std::string text) {
  UrlEncodeUtf8(text);
  return text;
}

TEST(EscapeUtf8, NamesWhatTheTableNamesAndNumbersTheRest) {
  EXPECT_EQ(Escaped("a\"&<>"), "a&quot;&amp;&lt;&gt;");
  EXPECT_EQ(Escaped("M\xC3\xBCller"), "M&uuml;ller");
  EXPECT_EQ(Escaped("\xE2\x80\x99\xE2\x82\xAC!"), "&#8217;&#8364;!");
  EXPECT_EQ(Escaped("\xF0\x9F\x98\x80"), "&#128512;");
  EXPECT_EQ(Escaped("\xC2\xA8\xC2\xB4\xC2\xB8"), "&#168;&#180;&#184;");
}

TEST(EscapeUtf8, LeavesAsciiAlone) {
  EXPECT_EQ(Escaped(""), "");
  EXPECT_EQ(Escaped("plain 'text' #$%"), "plain 'text' #$%");
}

TEST(EscapeUtf8, ShowsBrokenSequencesAsTheReplacementCharacter) {
  EXPECT_EQ(Escaped("a\xC3"), "a&#65533;");
  EXPECT_EQ(Escaped("\xFF\xFE"), "&#65533;&#65533;");
}

TEST(ReferUtf8, LeavesMarkupAlone) {
  std::string text = "<a href=\"x\">&amp; \xC3\xA4\xE2\x80\x99</a>";
  ReferUtf8(text);
  EXPECT_EQ(text, "<a href=\"x\">&amp; &auml;&#8217;</a>");
}

TEST(DecodeToUtf8, TakesNamesAndNumbers) {
  EXPECT_EQ(Decoded("&auml;&lt;&yen"), "\xC3\xA4<\xC2\xA5");
  EXPECT_EQ(Decoded("&#65;&#x42;&#X43; &#8364 x"), "ABC \xE2\x82\xAC x");
  EXPECT_EQ(Decoded("&#128512;"), "\xF0\x9F\x98\x80");
}

TEST(DecodeToUtf8, LeavesWhatIsNoReference) {
  for (const char* text : {"&", "&;", "&#;", "&#x;", "&#12a;", "&#-1;", "&uml;", "&nosuch;", "& b",
                           "&#00000000000000065;", "a&b"}) {
    EXPECT_EQ(Decoded(text), text);
  }
}

TEST(DecodeToUtf8, ShowsNumbersThatAreNoCharacterAsTheReplacementCharacter) {
  for (const char* text : {"&#0;", "&#xD800;", "&#1114112;", "&#99999999999;", "&#0"}) {
    EXPECT_EQ(Decoded(text), "\xEF\xBF\xBD") << text;
  }
}

TEST(DecodeToUtf8, TakesTheNumbersOfWindows1252AsItsCharacters) {
  EXPECT_EQ(Decoded("&#146;&#128;"), "\xE2\x80\x99\xE2\x82\xAC");
  EXPECT_EQ(Decoded("&#160;&#127;"), "\xC2\xA0\x7F");
}

TEST(DecodeToUtf8, EndsAtAQuestionMark) {
  EXPECT_EQ(Decoded("&#65;?&#65;"), "A?&#65;");
  EXPECT_EQ(Decoded("&am?p;&#6?5;"), "&am?p;&#6?5;");
}

TEST(UrlEncodeUtf8, LeavesNamedCharactersToTheirNames) {
  EXPECT_EQ(Link("a b#%\xC3\xA4\xE2\x80\x99"), "a%20b%23%25\xC3\xA4%E2%80%99");
  EXPECT_EQ(Escaped(Link("\xC3\xA4\xE2\x80\x99.htm")), "&auml;%E2%80%99.htm");
}

TEST(UrlEncodeUtf8, EndsAtAQuestionMarkAndKeepsBrokenBytes) {
  EXPECT_EQ(Link("a b?c d\xE2\x80\x99"), "a%20b?c d\xE2\x80\x99");
  EXPECT_EQ(Link("a\xFF"
                 "b"),
            "a%FFb");
}

}  // namespace
}  // namespace brevant
