// How values are filtered, and the arguments and qualifiers at the edge of their rules.
#include "html_board.h"
#include "support/element_times.h"

#include <regex>

namespace test {
namespace {

using brevant::kListKind;
using brevant::TBoardKind;

class HtmlFilters : public HtmlBoard {
 protected:
  void SetUp() override { MakeForum("Talk", "", "p q"); }
  std::string InItem(const std::string& text, DWORD item = 1) {
    return Unwrapped(Expand(text, "Talk", item));
  }
};

TEST_F(HtmlFilters, AnAddressIsUrlEncodedInsideTagsOnly) {
  Add("Talk", {.from = "a b@x"});
  EXPECT_EQ(InItem("<i x=\"$MESSAGE_FROM_ADDRESS$\">"), "<i x=\"a%20b@x\">");
  EXPECT_EQ(InItem("$MESSAGE_FROM_ADDRESS$"), "a b@x");
}

TEST_F(HtmlFilters, ThePrefixOfAListKeepsItsBlanksInsideTagsThatOfAForumDoesNot) {
  MakeContainer(TBoardKind::kLinkList, "Links", {{"HTML Filename Prefix", "p q"}});
  EXPECT_EQ(Unwrapped(ExpandIn(kListKind, "<i x=\"$LIST_PREFIX$\">", "Links")), "<i x=\"p q\">");
  EXPECT_EQ(Unwrapped(Expand("<i x=\"$FORUM_PREFIX$\">", "Talk")), "<i x=\"p%20q\">");
}

TEST_F(HtmlFilters, NamesOfPagesAreUrlEncodedInsideTagsOnly) {
  MakeForum("Talk2", "", "p q");
  Add("Talk");
  Add("Talk");
  Template("x.htm", "");
  for (const char* field :
       {"FORUM_FILENAME(x)", "FORUM_NEXT", "MESSAGE_FILENAME(x)", "MESSAGE_NEXT"}) {
    const std::string tag = "$" + std::string(field) + "$";
    const std::string plain = InItem(tag);
    EXPECT_EQ(plain.substr(0, 3), "p q") << field;
    const std::string encoded = std::regex_replace(plain, std::regex(" "), "%20");
    EXPECT_EQ(InItem("<a href=\"" + tag + "\">"), "<a href=\"" + encoded + "\">") << field;
  }
}

TEST_F(HtmlFilters, NamesOfPreviousPagesAreUrlEncodedInsideTagsOnly) {
  MakeForum("Talk2", "", "p q");
  Add("Talk2");
  Add("Talk2");
  for (const char* tag : {"$FORUM_PREV$", "$MESSAGE_PREV$"}) {
    const std::string plain = Unwrapped(Expand(tag, "Talk2", 2));
    EXPECT_EQ(plain.substr(0, 3), "p q") << tag;
    const std::string encoded = std::regex_replace(plain, std::regex(" "), "%20");
    EXPECT_EQ(Unwrapped(Expand("<a href=\"" + std::string(tag) + "\">", "Talk2", 2)),
              "<a href=\"" + encoded + "\">")
        << tag;
  }
}

TEST_F(HtmlFilters, TheNameOfThePageBeforeIsUrlEncodedInsideTagsOnly) {
  Set("HTML File - Forum list", "front page");
  Template("front page.htm", "<p>$FORUM_FILENAME(back)$</p>");
  Template("back.htm", "<a href=\"$BACK$\">$BACK$</a>");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("p qback--f--talk.htm"), "<a href=\"front%20page.htm\">front page.htm</a>");
}

TEST_F(HtmlFilters, TheTypeOfADocumentIgnoresLetterCase) {
  Add("Talk", {.content = "<b>x</b>", .type = "TEXT/HTML"});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$"), "<b>x</b>");
}

TEST_F(HtmlFilters, AContentThatEndsInACarriageReturnEndsItsLine) {
  Add("Talk", {.content = "one\r\ntwo\r"});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$"), "one<br>two");
}

TEST_F(HtmlFilters, AnEmptyQualifierMeansTheCurrentObject) {
  EXPECT_EQ(Unwrapped(Expand("$.FORUM_NAME$", "Talk")), "Talk");
}

TEST_F(HtmlFilters, TheBoardHasNoQualifiers) {
  EXPECT_EQ(Unwrapped(Expand("$*.POST$")), "***ERROR: Invalid identifier***");
}

TEST_F(HtmlFilters, DaysThatAreNoNumberMeanToday) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime now = TTime::Now();
  Add("Talk", {.time = now});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(x)$]"), "[new]");
  if (now.Day() == 1) return;  // the other days of the month are not to be had
  Add("Talk", {.time = TTime(now.Year(), now.Month(), 1, 0, 0, 0)});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(x)$]", 2), "[]");
}

}  // namespace
}  // namespace test
