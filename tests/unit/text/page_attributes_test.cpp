// Attributes of start tags: finding them, and giving links new values.
#include "template_board.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

using test::OneLine;
using test::Page;

struct Attributes {
  explicit Attributes(std::string_view text) {
    writer.Feed(text);
    writer.Flush();
  }
  // The values of all attributes of a name, with "|" behind each.
  std::string All(std::string_view name) const {
    std::string values;
    TAttribute a;
    for (bool found = writer.FindAttribute(name, &a); found;
         found = writer.FindAttribute(name, &a, a.item, a.end)) {
      values.append(a.value).append("|");
    }
    return values;
  }
  TPageWriter writer;
};

std::string ValuesOf(std::string_view text, std::string_view name = "HREF") {
  return Attributes(text).All(name);
}

TEST(PageAttributes, QuotedAndUnquotedValues) {
  EXPECT_EQ(ValuesOf("<a href=\"x y\"><a href='it\"s'><a href=z/w.htm><a href = v >"),
            "x y|it\"s|z/w.htm|v|");
}

TEST(PageAttributes, NamesAreComparedIgnoringCaseOverTheirFullLength) {
  EXPECT_EQ(ValuesOf("<a HrEf=x><a hrefs=y><a hre=z><a data-href=w>"), "x|");
}

TEST(PageAttributes, AmongOthers) {
  EXPECT_EQ(ValuesOf("<a class=\"href=no\" href=yes id=x/><a\nid=1\thref=also>"), "yes|also|");
}

TEST(PageAttributes, WithoutValue) {
  EXPECT_EQ(ValuesOf("<a href><a href=><a href class=x>"), "|||");
}

TEST(PageAttributes, EveryOccurrenceIsFound) {
  EXPECT_EQ(ValuesOf("<a href=1 href=2 href=\"3\">"), "1|2|3|");
}

TEST(PageAttributes, CommentsEndTagsAndWordsHaveNone) {
  EXPECT_EQ(ValuesOf("<!-- href=1 --><!doctype href=2><?x href=3></a href=4> href=5 <a>"), "");
}

TEST(PageAttributes, TheElementNameIsNoAttribute) {
  EXPECT_EQ(ValuesOf("<href><href=1><href href=2>"), "2|");
}

TEST(PageAttributes, AnUnclosedQuotationRunsToTheEnd) {
  EXPECT_EQ(ValuesOf("<a href=\"x y>"), "x y|");
}

TEST(PageAttributes, SlashesSeparate) { EXPECT_EQ(ValuesOf("<a/href=1/>"), "1/|"); }

TEST(PageAttributes, StrayEqualsSignsDoNotStopTheSearch) {
  EXPECT_EQ(ValuesOf("<a = == href=x>"), "x|");
}

std::string Set(std::string_view text, std::string_view value) {
  Attributes page(text);
  TAttribute a;
  EXPECT_TRUE(page.writer.FindAttribute("href", &a));
  EXPECT_TRUE(page.writer.SetAttributeValue(&a, value));
  EXPECT_EQ(a.name.size(), 4U);
  return OneLine(page.writer);
}

TEST(PageAttributesSet, KeepsQuotesAndNeighbours) {
  EXPECT_EQ(Set("<a id=1 href=\"x\" class=c>t", "new.htm"), "<a id=1 href=\"new.htm\" class=c>t");
  EXPECT_EQ(Set("<a href='x'>", "n"), "<a href='n'>");
  EXPECT_EQ(Set("<a href=x>", "n"), "<a href=n>");
}

TEST(PageAttributesSet, QuotesWhereNeeded) {
  EXPECT_EQ(Set("<a href=x>", "a b"), "<a href=\"a b\">");
  EXPECT_EQ(Set("<a href=x>", ""), "<a href=\"\">");
  EXPECT_EQ(Set("<a href class=y>", "v"), "<a href=\"v\" class=y>");
  EXPECT_EQ(Set("<a href=\"x y>", "v"), "<a href=\"v\">");
  EXPECT_EQ(Set("<a href=\"x\"class=y>", "v"), "<a href=\"v\" class=y>");
}

TEST(PageAttributesSet, QuotationMarksInsideBecomeEntities) {
  EXPECT_EQ(Set("<a href=\"x\">", "a\"b>"), "<a href=\"a&quot;b&gt;\">");
  EXPECT_EQ(Set("<a href='x'>", "a'b"), "<a href='a&#39;b'>");
}

TEST(PageAttributesSet, TheSearchGoesOnBehind) {
  Attributes page("<a href=1 href=2><a href=3>");
  TAttribute a;
  for (bool found = page.writer.FindAttribute("href", &a); found;
       found = page.writer.FindAttribute("href", &a, a.item, a.end)) {
    const std::string value = "href=" + std::string(a.value) + "0";
    ASSERT_TRUE(page.writer.SetAttributeValue(&a, value));
  }
  EXPECT_EQ(OneLine(page.writer), "<a href=\"href=10\" href=\"href=20\"><a href=\"href=30\">");
}

TEST(PageAttributesSet, ATagThatWouldGrowTooLongStays) {
  Attributes page("<a href=x>");
  TAttribute a;
  ASSERT_TRUE(page.writer.FindAttribute("href", &a));
  EXPECT_FALSE(page.writer.SetAttributeValue(&a, std::string(70'000, 'x')));
  EXPECT_EQ(OneLine(page.writer), "<a href=x>");
}

TEST(PageAttributesSet, BeforeTheLastWordIsProduced) {
  TPageWriter writer;
  writer.Feed("<a href=x>last");
  TAttribute a;
  ASSERT_TRUE(writer.FindAttribute("href", &a));
  ASSERT_TRUE(writer.SetAttributeValue(&a, "y"));
  writer.Feed("word");
  writer.Flush();
  EXPECT_EQ(OneLine(writer), "<a href=y>lastword");
}

struct Origins : Page {
  Origins() {
    Add("V", "value");
    Add("LINK_TAG", "<a href=whole>");
    Add("EMPTY", "");
    board.containers[1] = {{"F1", {}}};
  }
  bool FromField(std::string_view text) {
    Make(text);
    TAttribute a;
    EXPECT_TRUE(writer.FindAttribute("href", &a));
    return a.fromField;
  }
};

TEST(PageAttributesOrigin, ATemplatesOwnValue) {
  EXPECT_FALSE(Origins().FromField("<a href=\"x\">"));
  EXPECT_FALSE(Origins().FromField("<a id=$V$ href=\"x\" class=$V$>"));
  EXPECT_FALSE(Origins().FromField("<a href=\"x$EMPTY$y\">"));
}

TEST(PageAttributesOrigin, AnyByteOutOfAFieldCounts) {
  EXPECT_TRUE(Origins().FromField("<a href=\"$V$\">"));
  EXPECT_TRUE(Origins().FromField("<a href=\"x$V$\">"));
  EXPECT_TRUE(Origins().FromField("<a href=$V$.htm>"));
}

TEST(PageAttributesOrigin, AWholeTagOutOfAField) { EXPECT_TRUE(Origins().FromField("$LINK_TAG$")); }

TEST(PageAttributesOrigin, AnUnknownTagIsTheTemplates) {
  EXPECT_FALSE(Origins().FromField("<a href=\"$NO_FIELD$\">"));
}

TEST(PageAttributesOrigin, SurvivesTheExpansionOfSections) {
  EXPECT_TRUE(Origins().FromField("<p><a href=\"$FORUM$\"></p>"));
  EXPECT_TRUE(Origins().FromField("<p><a id=$FORUM$ href=\"$V$\"></p>"));
  EXPECT_FALSE(Origins().FromField("<p><a id=$FORUM$ href=\"x\"></p>"));
  EXPECT_TRUE(Origins().FromField("<p>$FORUM$ $LINK_TAG$</p>"));
}

TEST(PageAttributesOrigin, AnErrorMessageCountsAsAField) {
  EXPECT_TRUE(Origins().FromField("<a href=\"$A.B.FORUM$\">"));
}

TEST(PageAttributesOrigin, OtherAttributesKeepTheirsWhenOneIsReplaced) {
  Origins page;
  page.Make("<a id=$V$ href=\"$V$\" src=\"$V$\" lowsrc=x>");
  TAttribute a;
  ASSERT_TRUE(page.writer.FindAttribute("href", &a));
  ASSERT_TRUE(page.writer.SetAttributeValue(&a, "a much longer value"));
  EXPECT_FALSE(a.fromField);
  ASSERT_TRUE(page.writer.FindAttribute("id", &a));
  EXPECT_TRUE(a.fromField);
  ASSERT_TRUE(page.writer.FindAttribute("src", &a));
  EXPECT_TRUE(a.fromField);
  ASSERT_TRUE(page.writer.FindAttribute("lowsrc", &a));
  EXPECT_FALSE(a.fromField);
}

TEST(PageItems, TagsKnowWhetherAFieldOpenedThem) {
  Origins page;
  page.Make("<b>$LINK_TAG$<i x=$V$>");
  EXPECT_FALSE(page.writer.Item(0).fromField);
  EXPECT_TRUE(page.writer.Item(1).fromField);
  EXPECT_FALSE(page.writer.Item(2).fromField);
}

}  // namespace
}  // namespace brevant
