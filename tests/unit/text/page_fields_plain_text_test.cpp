// Plain text as the HTML of a page.
#include "text/plain_text_page.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

namespace brevant {
namespace {

const std::string kLong(50, 'x');  // 41 characters or more make a paragraph

std::string Html(std::initializer_list<std::string> lines) {
  TPlainTextPage page;
  std::string html;
  for (const std::string& line : lines) html += page.Line(line);
  return html;
}

TEST(PlainText, TheFirstParagraphHasNoTag) { EXPECT_EQ(Html({kLong}), kLong + "\r\n"); }

TEST(PlainText, ABlankLineEndsAParagraphAndTheNextOneHasATag) {
  EXPECT_EQ(Html({"short", "", kLong, kLong, "", kLong}),
            "short\r\n<br>\r\n<p>" + kLong + "\r\n" + kLong + "\r\n</p>\r\n<p>" + kLong + "\r\n");
}

TEST(PlainText, AfterAnUntaggedFirstParagraphAllParagraphsEndWithABreak) {
  EXPECT_EQ(Html({kLong, "", kLong, "", kLong, ""}),
            kLong + "\r\n<br><p>" + kLong + "\r\n<br><p>" + kLong + "\r\n<br>");
}

TEST(PlainText, BlankLinesBeforeTheFirstTextAreDropped) {
  EXPECT_EQ(Html({"", " \t", "", "Hello"}), "Hello\r\n");
}

TEST(PlainText, FurtherBlankLinesAreWrittenBeforeTheNextText) {
  EXPECT_EQ(Html({"one", "", "", "two"}), "one\r\n<br>\r\n<br>\r\n<br>two\r\n");
  // The one that ends a paragraph is not counted.
  EXPECT_EQ(Html({"a", kLong, "", "b"}), "a\r\n<p>" + kLong + "\r\n</p>\r\n<br>b\r\n");
  EXPECT_EQ(Html({"one", "", ""}), "one\r\n");
}

TEST(PlainText, BlankLinesAreWrittenBeforeARuleAndBeforeAParagraphToo) {
  EXPECT_EQ(Html({"one", "", std::string(11, '-')}), "one\r\n<br>\r\n<hr width=\"90%\">\r\n\r\n");
  EXPECT_EQ(Html({"one", "", kLong}), "one\r\n<br>\r\n<p>" + kLong + "\r\n");
}

TEST(PlainText, BlanksAndTabsMakeABlankLineAndMayStandBeforeAStar) {
  EXPECT_EQ(Html({"a", kLong, " \t ", "b"}), "a\r\n<p>" + kLong + "\r\n</p>\r\n<br>b\r\n");
  EXPECT_EQ(Html({"a", "\t* " + kLong}), "a\r\n<br>\t* " + kLong + "\r\n");
}

TEST(PlainText, AShortLineHasFewerThan41Characters) {
  const std::string forty(40, 'y');
  const std::string fortyOne(41, 'y');
  EXPECT_EQ(Html({"a", forty}), "a\r\n<br>" + forty + "\r\n");
  EXPECT_EQ(Html({"a", fortyOne}), "a\r\n<p>" + fortyOne + "\r\n");
}

TEST(PlainText, InsideAParagraphShortLinesBelongToIt) {
  EXPECT_EQ(Html({"a", kLong, "tail"}), "a\r\n<p>" + kLong + "\r\ntail\r\n");
}

TEST(PlainText, StarsDashesAndQuotesMakeShortLinesOfAnyLength) {
  for (const char mark : {'*', '-', '>'}) {
    const std::string line = "  " + std::string(1, mark) + " " + kLong;
    const std::string escaped = mark == '>' ? "  &gt; " + kLong : line;
    EXPECT_EQ(Html({"a", line}), "a\r\n<br>" + escaped + "\r\n");
  }
}

TEST(PlainText, AMarkedLineEndsAnOpenParagraph) {
  EXPECT_EQ(Html({"a", kLong, "* item", kLong}),
            "a\r\n<p>" + kLong + "\r\n</p>\r\n* item\r\n<p>" + kLong + "\r\n");
  EXPECT_EQ(Html({kLong, "* item"}), kLong + "\r\n<br>* item\r\n");
}

TEST(PlainText, ALineOfElevenDashesIsARule) {
  const std::string eleven(11, '-');
  EXPECT_EQ(Html({"a", eleven}), "a\r\n<hr width=\"90%\">\r\n\r\n");
  EXPECT_EQ(Html({"a", std::string(10, '-')}), "a\r\n<br>----------\r\n");
  EXPECT_EQ(Html({"a", " " + eleven}), "a\r\n<br> -----------\r\n");
  EXPECT_EQ(Html({"a", eleven + "x"}), "a\r\n<br>-----------x\r\n");
}

TEST(PlainText, ARuleOnTheFirstLineIsDropped) {
  EXPECT_EQ(Html({std::string(20, '-'), "b"}), "\r\n<br>b\r\n");
}

TEST(PlainText, ARuleInsideAParagraphIsAnOrdinaryLine) {
  const std::string rule(20, '-');
  EXPECT_EQ(Html({"a", kLong, rule}), "a\r\n<p>" + kLong + "\r\n</p>\r\n" + rule + "\r\n");
}

TEST(PlainText, MarkupIsEscaped) {
  EXPECT_EQ(Html({"<b>&\"\xE4"}), "&lt;b&gt;&amp;&quot;&auml;\r\n");
}

TEST(PlainText, TheLengthOfALineIsThatBeforeEscaping) {
  EXPECT_EQ(Html({"a", "&&&&&&&&&&"}).substr(0, 7), "a\r\n<br>");
}

}  // namespace
}  // namespace brevant
