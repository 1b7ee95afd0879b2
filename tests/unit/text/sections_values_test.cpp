// Repeated parts: what is a marker and what only looks like one, sub-templates, and hard cases.
#include "template_board.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

using test::SectionPage;

TEST(SectionIdentity, CommentsOutOfFieldsAreComments) {
  SectionPage page;
  page.Add("HOSTILE", "<!--repeat-->");
  page.Add("HOSTILE_END", "<!--/repeat-->");
  page.Add("WORD", "repeat");
  EXPECT_EQ(page.Make("$HOSTILE$<p>$FORUM$</p>$HOSTILE_END$<!--$WORD$--><p>x</p>"),
            "<!--repeat--><p>F1</p><p>F2</p><!--/repeat--><!--repeat--><p>x</p>");
}

TEST(SectionIdentity, MarkersOutOfFieldsAreText) {
  SectionPage page;
  page.Add("HOSTILE", "$*.FORUM$");
  EXPECT_EQ(page.Make("<p>$FORUM$</p><p>$HOSTILE$</p>"), "<p>F1</p><p>F2</p><p>$*.FORUM$</p>");
}

TEST(SectionIdentity, ValuesOfObjectsAreNotExpandedAgain) {
  SectionPage page;
  page.board.containers[1] = {{"$*.FORUM$", {}}, {"$FORUM$", {}}};
  EXPECT_EQ(page.Make("<p>$FORUM$</p>"), "<p>$*.FORUM$</p><p>$FORUM$</p>");
}

TEST(SectionIdentity, ValuesOfObjectsInsideAttributesAreNotExpandedAgain) {
  SectionPage page;
  page.board.containers[1] = {{"$FORUM$ <!--repeat--", {}},
                              {"\xBB"
                               "FORUM\xAB",
                               {}}};
  EXPECT_EQ(page.Make("<p><a b=\"$FORUM$\">x</a></p><p><!--$FORUM$--></p>"),
            "<p><a b=\"$FORUM$ <!--repeat--\">x</a></p><p><a b=\"\xBB"
            "FORUM\xAB\">x</a></p>"
            "<p><!--$FORUM$ <!--repeat----></p><p><!--\xBB"
            "FORUM\xAB--></p>");
}

TEST(SectionIdentity, CommentsOutOfObjectsBoundNoExtentOfThePageAround) {
  SectionPage page;
  page.board.containers[3] = {{"<!--repeat-->", {}}, {"<!--/repeat-->", {}}};
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "<i>$LIST$</i>");
  });
  EXPECT_EQ(page.Make("<div>$SUB$<p>$FORUM$</p></div>$SUB$"),
            "<div><i><!--repeat--></i><i><!--/repeat--></i><p>F1</p><p>F2</p></div>"
            "<i><!--repeat--></i><i><!--/repeat--></i>");
}

TEST(SectionIdentity, ATagThatAFieldOpenedStaysOneWhenItsMarkerIsReplaced) {
  SectionPage page;
  page.Add("OPEN", "<p");
  page.Make("$OPEN$ x=$FORUM$>");
  EXPECT_EQ(test::OneLine(page.writer), "<p x=F1F2>");
  EXPECT_TRUE(page.writer.Item(0).fromField);
}

TEST(SectionRequests, AreRegisteredOnceAndMarkedEveryTime) {
  SectionPage page;
  page.writer.Feed("<p>$FORUM$</p> $FORUM$ $*.FORUM$ $All.FORUM$");
  page.writer.Flush();
  ASSERT_EQ(page.writer.Sections().size(), 2U);
  EXPECT_EQ(page.writer.Sections()[0].text, "*.FORUM");
  EXPECT_EQ(page.writer.Sections()[1].text, "All.FORUM");
  EXPECT_EQ(test::OneLine(page.writer), "<p>$*.FORUM$</p> $*.FORUM$ $*.FORUM$ $All.FORUM$");
}

TEST(SectionRequests, ArgumentsReachTheFieldAndMayHoldMarkup) {
  SectionPage page;
  page.Add(
      "ARGS",
      [&page](TPageWriter& writer, TFieldArguments arguments) {
        writer.Feed(page.board.ContainerName(1));
        for (std::string_view argument : arguments) writer.Feed(argument);
        return 1;
      },
      1, TFieldLevel::kContainer);
  EXPECT_EQ(page.Make("<p>$ARGS(<b>,x y, )$</p>"), "<p>F1<b>x y</p><p>F2<b>x y</p>");
}

TEST(SectionRequests, SourceTimesOfObjectsAreRecorded) {
  SectionPage page;
  page.Add(
      "T", [](TPageWriter&, TFieldArguments) { return 1; }, 1, TFieldLevel::kContainer,
      TTime::FromTicks(77));
  page.Make("<p>$T$</p>");
  EXPECT_EQ(page.writer.SourceTime().Ticks(), 77U);
}

TEST(SectionRequests, AFailureIsWrittenInEveryCopy) {
  SectionPage page;
  page.Add(
      "BAD", [](TPageWriter&, TFieldArguments) { return 0; }, 1, TFieldLevel::kContainer);
  EXPECT_EQ(page.Make("<p>$BAD$</p>"), "<p>***ERROR***</p><p>***ERROR***</p>");
}

TEST(SectionValues, AreTokenizedInPlace) {
  SectionPage page;
  page.board.containers[1] = {{"a<i>b\nc</i>", {}}, {"\"><q x=\"", {}}};
  EXPECT_EQ(page.Make("<p>$FORUM$,z</p>"), "<p>a<i>b c</i>,z</p><p>\"> <q x=\",z</p>");
}

TEST(SectionValues, AnUnclosedTagStaysInItsWord) {
  SectionPage page;
  page.board.containers[1] = {{"a <b", {}}};
  EXPECT_EQ(page.Make("<p>$FORUM$</p><p>z</p>"), "<p>a  <b</p><p>z</p>");
}

TEST(SectionValues, MayCloseTheTagTheyStandIn) {
  SectionPage page;
  page.board.containers[1] = {{"x>y", {}}};
  EXPECT_EQ(page.Make("<p><a b=$FORUM$ c></p>"), "<p><a b=x>y c></p>");
}

TEST(SectionSubTemplate, IsFedAsTemplateText) {
  SectionPage page;
  page.Add("X", "value");
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "<i>$X$</i> $NO$");
  });
  EXPECT_EQ(page.Make("a$SUB$b"), "a<i>value</i> $NO$b");
}

TEST(SectionSubTemplate, ItsSectionsAreExpandedAtOnce) {
  SectionPage page;
  page.Add(
      "SUB",
      [](TPageWriter& writer, TFieldArguments) {
        return writer.FeedSubTemplate("sub", "<ul><li>$MESSAGE$</li></ul>");
      },
      1, TFieldLevel::kContainer);
  EXPECT_EQ(page.Make("<div>$FORUM$ $SUB$</div>"),
            "<div>F1<ul><li>m1</li><li>m2</li></ul></div><div>F2<ul><li>m3</li></ul></div>");
}

TEST(SectionSubTemplate, ItsPartsEndWithIt) {
  SectionPage page;
  page.board.container[1] = 0;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "<b>x</b>$MESSAGE$");
  });
  EXPECT_EQ(page.Make("<p>a $SUB$ b</p>"), "<p>a<b>x</b>m1m2 b</p>");
}

TEST(SectionSubTemplate, InsideAnHtmlTagItsSectionsAreWrittenInARow) {
  SectionPage page;
  page.board.container[1] = 0;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "$MESSAGE$;");
  });
  EXPECT_EQ(page.Make("<a title=\"$SUB$\">"), "<a title=\"m1m2;\">");
}

TEST(SectionSubTemplate, InsideItselfIsAnError) {
  SectionPage page;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("dir/sub.htf", "a$SUB$b");
  });
  EXPECT_EQ(page.Make("$SUB$"), "a***ERROR: Cannot open template sub.htf inside itself***b");
}

TEST(SectionSubTemplate, AMissingOneIsAnError) {
  SectionPage page;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("no/such/directory/graph.htf");
  });
  EXPECT_EQ(page.Make("$SUB$"), "***ERROR: Cannot open template graph.htf***");
}

TEST(SectionSubTemplate, ATagOpenAtItsEndIsText) {
  SectionPage page;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "costs $5 ");
  });
  EXPECT_EQ(page.Make("$SUB$and$X$"), "costs $5 and$X$");
}

TEST(SectionSubTemplate, MarkersOfThePageAroundStayItsOwn) {
  SectionPage page;
  page.Add("SUB", [](TPageWriter& writer, TFieldArguments) {
    return writer.FeedSubTemplate("sub", "<b>$LIST$</b>");
  });
  EXPECT_EQ(page.Make("<p>$FORUM$$SUB$</p>"),
            "<p>F1<b>L1</b><b>L2</b></p><p>F2<b>L1</b><b>L2</b></p>");
}

TEST(SectionHostile, DeepNestingNeedsNoDeepStack) {
  std::string text;
  for (int i = 0; i < 200'000; ++i) text += "<div><b>";
  text += "$FORUM$";
  SectionPage page;
  const std::string made = page.Make(text);
  EXPECT_EQ(made.size(), text.size() - 7 + 2 + 3 + 5 + 2);
}

TEST(SectionHostile, ManyNestedExtentsTakeLinearTime) {
  std::string text;
  for (int i = 0; i < 50'000; ++i) text += "<!--repeat-->$FORUM$";
  for (int i = 0; i < 50'000; ++i) text += "<!--/repeat-->";
  SectionPage page;
  page.board.containers[1].resize(1);
  EXPECT_EQ(page.Make(text).size(), 50'000U * 3 - 1);  // the words and a blank between them
}

TEST(SectionHostile, ManyObjectsTakeLinearTime) {
  SectionPage page;
  std::vector<std::string> items(100'000, "subject of a message");
  page.board.containers[1] = {{"F", items}};
  page.board.container[1] = 0;
  page.Make("<table><tr><td><a href=\"$MESSAGE$\">$MESSAGE$</a></td></tr></table>");
  EXPECT_EQ(page.writer.ItemCount(), 100'000U * 7 + 2);
}

}  // namespace
}  // namespace brevant
