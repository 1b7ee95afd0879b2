// Repeated parts: which part of the page is repeated, and for which objects.
#include "template_board.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

using test::Page;
using test::SectionPage;

std::string Made(std::string_view text) { return SectionPage().Make(text); }

std::string MadeInForum(std::string_view text, int forum = 0) {
  SectionPage page;
  page.board.container[1] = forum;
  return page.Make(text);
}

TEST(SectionUnit, EveryUnitElementIsRepeated) {
  for (std::string unit : {"tr", "li", "option", "p", "div", "section", "article", "blockquote",
                           "tbody", "ul", "ol", "dl", "table"}) {
    const std::string open = "<" + unit + " x>";
    const std::string close = "</" + unit + ">";
    EXPECT_EQ(Made("<body>a" + open + "<b>$FORUM$</b>" + close + "z</body>"),
              "<body>a" + open + "<b>F1</b>" + close + open + "<b>F2</b>" + close + "z</body>");
  }
}

TEST(SectionUnit, LetterCaseOfElementsDoesNotMatter) {
  EXPECT_EQ(Made("<UL><Li>$FORUM$</lI></UL>"), "<UL><Li>F1</lI><Li>F2</lI></UL>");
}

TEST(SectionUnit, TheInnermostUnitIsRepeated) {
  EXPECT_EQ(Made("<div><ul><li><b>$FORUM$</b></li></ul></div>"),
            "<div><ul><li><b>F1</b></li><li><b>F2</b></li></ul></div>");
}

TEST(SectionUnit, AMarkerInACellBelongsToItsRow) {
  EXPECT_EQ(Made("<table><tr><th>$FORUM$</th><td>x</td></tr></table>"),
            "<table><tr><th>F1</th><td>x</td></tr><tr><th>F2</th><td>x</td></tr></table>");
  EXPECT_EQ(Made("<table><tr><td class=\"$FORUM$\">x</td></tr></table>"),
            "<table><tr><td class=\"F1\">x</td></tr><tr><td class=\"F2\">x</td></tr></table>");
}

TEST(SectionUnit, AListInACellIsItsOwnUnit) {
  EXPECT_EQ(Made("<table><tr><td><ul><li>$FORUM$</li></ul></td></tr></table>"),
            "<table><tr><td><ul><li>F1</li><li>F2</li></ul></td></tr></table>");
}

TEST(SectionUnit, AMarkerInAUnitsOwnStartTagRepeatsTheUnit) {
  EXPECT_EQ(Made("<ul><li id=\"$FORUM$\">x</li></ul>"),
            "<ul><li id=\"F1\">x</li><li id=\"F2\">x</li></ul>");
}

TEST(SectionUnit, AMarkerInAnInlineStartTagRepeatsTheUnitAround) {
  EXPECT_EQ(Made("<p><a href=\"$FORUM$.htm\">x</a></p>"),
            "<p><a href=\"F1.htm\">x</a></p><p><a href=\"F2.htm\">x</a></p>");
  EXPECT_EQ(Made("<p><img src=\"$FORUM$\"></p>"), "<p><img src=\"F1\"></p><p><img src=\"F2\"></p>");
}

TEST(SectionUnit, TermsAndDescriptionsAreOneUnit) {
  EXPECT_EQ(Made("<dl><dt>$FORUM$</dt><dd>x</dd><dd>y</dd></dl>"),
            "<dl><dt>F1</dt><dd>x</dd><dd>y</dd><dt>F2</dt><dd>x</dd><dd>y</dd></dl>");
  EXPECT_EQ(Made("<dl><dt>x<dt>y<dd>$FORUM$<dt>z</dl>"),
            "<dl><dt>x<dt>y<dd>F1<dt>x<dt>y<dd>F2<dt>z</dl>");
}

TEST(SectionUnit, WithoutUnitTheInnermostElementBelowTheBody) {
  EXPECT_EQ(Made("<body><h1><i>$FORUM$</i></h1></body>"),
            "<body><h1><i>F1</i><i>F2</i></h1></body>");
  EXPECT_EQ(Made("<body><a href=\"$FORUM$\">$FORUM$</a></body>"),
            "<body><a href=\"F1\">F1</a><a href=\"F2\">F2</a></body>");
  EXPECT_EQ(Made("<body><img src=\"$FORUM$\"></body>"),
            "<body><img src=\"F1\"><img src=\"F2\"></body>");
}

TEST(SectionUnit, DirectlyInTheBodyTheMarkerAlone) {
  EXPECT_EQ(Made("<body>a($FORUM$)b<br></body>"), "<body>a(F1F2)b<br></body>");
  EXPECT_EQ(Made("$FORUM$"), "F1F2");
}

TEST(SectionUnit, InTheHeadTheFirstObjectAlone) {
  EXPECT_EQ(Made("<html><head><title>a $FORUM$ b</title><meta content=\"$FORUM$\"></head>"
                 "<body><p>$FORUM$</p></body></html>"),
            "<html><head><title>a F1 b</title><meta content=\"F1\"></head>"
            "<body><p>F1</p><p>F2</p></body></html>");
}

TEST(SectionUnit, AHeadThatIsNotWrittenIsAHeadToo) {
  EXPECT_EQ(Made("<title>$FORUM$</title><meta x=\"$FORUM$\"><p>$FORUM$"),
            "<title>F1</title><meta x=\"F1\"><p>F1<p>F2");
}

TEST(SectionUnit, AHeadWithoutEndTagEndsWhereTheBodyBegins) {
  EXPECT_EQ(Made("<head><title>$FORUM$</title><p>$FORUM$</p>"),
            "<head><title>F1</title><p>F1</p><p>F2</p>");
}

TEST(SectionUnit, InTheHeadTheFirstObjectThatOpens) {
  SectionPage page;
  page.board.unreadable = {"F1"};
  EXPECT_EQ(page.Make("<title>$FORUM$</title>"), "<title>F2</title>");
}

TEST(SectionEndTags, OmittedOnesOfItems) {
  EXPECT_EQ(Made("<ul><li>a<li>$FORUM$<li>z</ul>"), "<ul><li>a<li>F1<li>F2<li>z</ul>");
}

TEST(SectionEndTags, OmittedOnesOfParagraphs) {
  EXPECT_EQ(Made("<p>a<p>$FORUM$<p>z"), "<p>a<p>F1<p>F2<p>z");
  EXPECT_EQ(Made("<p>$FORUM$<table><tr><td>z</table>"), "<p>F1<p>F2<table><tr><td>z</table>");
}

TEST(SectionEndTags, AButtonDoesNotEndItsParagraph) {
  EXPECT_EQ(Made("<p>a <button>$FORUM$</button> b</p>z"),
            "<p>a <button>F1</button> b</p><p>a <button>F2</button> b</p>z");
}

TEST(SectionEndTags, ElementsWithoutContentHoldNothing) {
  for (const std::string tag : {"<br>", "<hr>", "<img>", "<input>", "<wbr>", "<embed>", "<keygen>",
                                "<basefont>", "<bgsound>"}) {
    EXPECT_EQ(Made("<body>a" + tag + "$FORUM$ z</body>"), "<body>a" + tag + "F1F2 z</body>");
  }
}

TEST(SectionEndTags, OmittedOnesOfRowsAndCells) {
  EXPECT_EQ(Made("<table><tr><td>h<tr><td>$FORUM$<td>x<tr><td>z</table>"),
            "<table><tr><td>h<tr><td>F1<td>x<tr><td>F2<td>x<tr><td>z</table>");
}

TEST(SectionEndTags, ARowThatIsNotWritten) {
  EXPECT_EQ(Made("<table><td>$FORUM$<td>x</table>"), "<table><td>F1<td>x<td>F2<td>x</table>");
}

TEST(SectionEndTags, OmittedOnesOfOptions) {
  EXPECT_EQ(Made("<select><option>a<option value=\"$FORUM$\">$FORUM$<option>z</select>"),
            "<select><option>a<option value=\"F1\">F1<option value=\"F2\">F2<option>z</select>");
}

TEST(SectionEndTags, InnerListsDoNotCloseOuterItems) {
  EXPECT_EQ(Made("<ul><li>$FORUM$<ul><li>x</ul>y</ul>"),
            "<ul><li>F1<ul><li>x</ul>y<li>F2<ul><li>x</ul>y</ul>");
}

TEST(SectionEndTags, InnerTablesDoNotCloseOuterRows) {
  EXPECT_EQ(
      Made("<table><tr><td>$FORUM$<table><tr><td>x</table>y</table>"),
      "<table><tr><td>F1<table><tr><td>x</table>y<tr><td>F2<table><tr><td>x</table>y</table>");
}

TEST(SectionEndTags, StrayOnesCloseNothing) {
  EXPECT_EQ(Made("<div><table><tr><td></div></span>$FORUM$</td></tr></table></div>"),
            "<div><table><tr><td></div></span>F1</td></tr><tr><td></div></span>F2</td></tr></table>"
            "</div>");
  EXPECT_EQ(Made("<ul><li><ul></li></ul>$FORUM$</li></ul>"),
            "<ul><li><ul></li></ul>F1</li><li><ul></li></ul>F2</li></ul>");
}

TEST(SectionEndTags, AnInlineEndTagDoesNotLeaveItsBlock) {
  EXPECT_EQ(Made("<b><p></b>$FORUM$</p>"), "<b><p></b>F1</p><p></b>F2</p>");
}

TEST(SectionEndTags, TheEndOfTheBodyEndsWhatIsOpen) {
  EXPECT_EQ(Made("<body><div>$FORUM$</body></html>"), "<body><div>F1<div>F2</body></html>");
}

TEST(SectionTags, InScriptsAreText) {
  EXPECT_EQ(Made("<p><script>if (a<b) '<p>' </script>$FORUM$</p>"),
            "<p><script>if (a<b) '<p>' </script>F1</p><p><script>if (a<b) '<p>' </script>F2</p>");
  EXPECT_EQ(Made("<div><script>a<b</script><p>$FORUM$</p></div>"),
            "<div><script>a<b</script><p>F1</p><p>F2</p></div>");
}

TEST(SectionTags, InCommentsAreNoElements) {
  EXPECT_EQ(Made("<p><!-- <div></p> -->$FORUM$</p>"),
            "<p><!-- <div></p> -->F1</p><p><!-- <div></p> -->F2</p>");
}

TEST(SectionTags, AMarkerInACommentBelongsToTheElementAround) {
  EXPECT_EQ(Made("<p><!-- $FORUM$ --></p>"), "<p><!-- F1 --></p><p><!-- F2 --></p>");
}

TEST(SectionTags, OutOfFieldsAreNoElements) {
  SectionPage page;
  page.Add("HOSTILE", "</p></li><li><div>");
  EXPECT_EQ(page.Make("<ul><li>$HOSTILE$<b>$FORUM$</b></li></ul>"),
            "<ul><li></p></li><li><div><b>F1</b></li><li></p></li><li><div><b>F2</b></li></ul>");
}

TEST(SectionTags, OutOfFieldsEndNoScript) {
  SectionPage page;
  page.Add("HOSTILE", "</script>");
  page.Add("TAIL", "x</script");
  for (std::string script : {"s='$HOSTILE$'; '</p>'", "a<b$TAIL$>c '</p>'", "</$TAIL$> '</p>'"}) {
    script = "<script>" + script + "</script>";
    const std::string made = page.Make("<p>" + script + "$FORUM$</p>");
    EXPECT_TRUE(made.ends_with("F2</p>")) << made;
    EXPECT_NE(made.find("F1</p><p><script>"), std::string::npos) << made;
  }
}

TEST(SectionTags, TheTemplatesOwnEndOfAScriptCountsBehindAFieldsBracket) {
  SectionPage page;
  page.Add("OPEN", "a<b");
  EXPECT_EQ(page.Make("<p><script>'$OPEN$'</script>$FORUM$</p>"),
            "<p><script>'a<b'</script>F1</p><p><script>'a<b'</script>F2</p>");
}

TEST(SectionTags, OutOfFieldsEndNoComment) {
  for (std::string value : {"<x-->", "-->", "a --> b", "<x --", "</x-->"}) {
    SectionPage page;
    page.Add("HOSTILE", value);
    const std::string made = page.Make("<p><!-- <div> $HOSTILE$ </p> -->$FORUM$</p>");
    EXPECT_TRUE(made.ends_with("F2</p>")) << made;
    EXPECT_NE(made.find("F1</p><p><!--"), std::string::npos) << made;
    SectionPage other;
    other.Add("HOSTILE", value);
    const std::string inTag = other.Make("<p><!-- $HOSTILE$ </p> -->$FORUM$</p>");
    EXPECT_NE(inTag.find("F1</p><p><!--"), std::string::npos) << inTag;
  }
}

TEST(SectionTags, OutOfFieldsOpenNoComment) {
  SectionPage page;
  page.Add("HOSTILE", "<!-- ");
  page.Add("TEXT", "!-- ");
  EXPECT_EQ(page.Make("<div>$HOSTILE$><$TEXT$><p>$FORUM$</p></div>"),
            "<div><!-- ><!-- ><p>F1</p><p>F2</p></div>");
}

TEST(SectionTags, TheTemplatesOwnEndOfACommentCountsBehindAFieldsBracket) {
  SectionPage page;
  page.Add("OPEN", "a <b");
  EXPECT_EQ(page.Make("<p><!-- <i>$OPEN$ -->$FORUM$</p>"),
            "<p><!-- <i>a <b -->F1</p><p><!-- <i>a <b -->F2</p>");
}

TEST(SectionObjects, WithoutAnyThePartGoes) {
  Page page;
  EXPECT_EQ(page.Make("<title>$FORUM$</title><ul>a<li>b $FORUM$</li>c</ul>"),
            "<title></title><ul>a c</ul>");
}

TEST(SectionObjects, ThatCannotBeOpenedArePassedOver) {
  SectionPage page;
  page.board.unreadable = {"F1"};
  EXPECT_EQ(page.Make("<li>$FORUM$</li>"), "<li>F2</li>");
}

TEST(SectionObjects, ACurrentOneMeansNoSection) {
  EXPECT_EQ(MadeInForum("<li>$FORUM$ $*.FORUM$ $All.FORUM$</li>"), "<li>F1 F1 F1</li>");
}

TEST(SectionObjects, ItemsOfTheCurrentContainer) {
  EXPECT_EQ(MadeInForum("<h1>$FORUM$</h1><ul><li>$MESSAGE$</li></ul>"),
            "<h1>F1</h1><ul><li>m1</li><li>m2</li></ul>");
}

TEST(SectionObjects, ItemsWithoutAContainerAreNone) {
  EXPECT_EQ(Made("<ul>a<li>$MESSAGE$</li></ul>"), "<ul>a</ul>");
}

TEST(SectionObjects, ItemsInAContainersPartAreThatContainers) {
  EXPECT_EQ(Made("<div><h2>$FORUM$</h2><ul><li>$MESSAGE$</li></ul></div>"),
            "<div><h2>F1</h2><ul><li>m1</li><li>m2</li></ul></div>"
            "<div><h2>F2</h2><ul><li>m3</li></ul></div>");
}

TEST(SectionObjects, AContainerWithoutItemsKeepsItsPart) {
  EXPECT_EQ(Made("<div>$LIST$<ul><li>$LINK$</li></ul></div>"),
            "<div>L1<ul><li>k1</li></ul></div><div>L2<ul></ul></div>");
}

TEST(SectionObjects, AllMarkersOfAPartMeanTheSameObject) {
  EXPECT_EQ(Made("<div>$FORUM$ <p>$FORUM$</p><p>$All.FORUM$</p></div>"),
            "<div>F1 <p>F1</p><p>F1</p></div><div>F2 <p>F2</p><p>F2</p></div>");
}

TEST(SectionObjects, PartsSideBySideAreWrittenOnTheirOwn) {
  EXPECT_EQ(Made("<p>$FORUM$</p><p>$FORUM$</p>"), "<p>F1</p><p>F2</p><p>F1</p><p>F2</p>");
}

TEST(SectionObjects, InASharedElementTheContainerIsTheOuter) {
  EXPECT_EQ(Made("<p>$MESSAGE$ $FORUM$</p>"), "<p>m1 F1</p><p>m2 F1</p><p>m3 F2</p>");
}

TEST(SectionObjects, OfTwoKindsTheFirstMarkersIsTheOuter) {
  EXPECT_EQ(Made("<p>$FORUM$ $LIST$</p>"), "<p>F1 L1</p><p>F1 L2</p><p>F2 L1</p><p>F2 L2</p>");
  EXPECT_EQ(Made("<p>$LIST$ $FORUM$</p>"), "<p>L1 F1</p><p>L1 F2</p><p>L2 F1</p><p>L2 F2</p>");
}

TEST(SectionObjects, PartsAreTakenFromTheOutsideIn) {
  EXPECT_EQ(Made("<div>$LIST$<p>$FORUM$ $LIST$</p></div>"),
            "<div>L1<p>F1 L1</p><p>F2 L1</p></div><div>L2<p>F1 L2</p><p>F2 L2</p></div>");
}

TEST(SectionObjects, AnotherKindInsideHasItsOwnItems) {
  EXPECT_EQ(Made("<div>$FORUM$<p>$LIST$<b>$LINK$</b></p></div>"),
            "<div>F1<p>L1<b>k1</b></p></div><div>F2<p>L1<b>k1</b></p></div>");
}

TEST(SectionObjects, WhatWasCurrentIsCurrentAgain) {
  SectionPage page;
  page.board.container[1] = 1;
  page.Make("<p>$MESSAGE$</p><p>$LIST$</p>");
  EXPECT_EQ(page.board.container.at(1), 1);
  EXPECT_EQ(page.board.container.count(3), 0U);
  EXPECT_TRUE(page.board.item.empty());
}

TEST(SectionExtent, IsWhatStandsBetweenTheComments) {
  EXPECT_EQ(Made("<table><!--repeat--><tr><td>$FORUM$</td></tr><tr><td>x</td></tr><!--/repeat-->"
                 "</table>"),
            "<table><tr><td>F1</td></tr><tr><td>x</td></tr><tr><td>F2</td></tr><tr><td>x</td></tr>"
            "</table>");
}

TEST(SectionExtent, MarkersInInnerUnitsMeanItsObject) {
  EXPECT_EQ(Made("<!--repeat--><p>$FORUM$</p><p>$FORUM$</p><!--/repeat-->"),
            "<p>F1</p><p>F1</p><p>F2</p><p>F2</p>");
}

TEST(SectionExtent, WithoutUnitInsideItIsTheUnit) {
  EXPECT_EQ(Made("<body><!--repeat--><b>$FORUM$</b><br><!--/repeat--></body>"),
            "<body><b>F1</b><br><b>F2</b><br></body>");
}

TEST(SectionExtent, ItemsInsideKeepTheirUnits) {
  EXPECT_EQ(Made("<!--repeat--><h2>$FORUM$</h2><ul><li>$MESSAGE$</li></ul><!--/repeat-->"),
            "<h2>F1</h2><ul><li>m1</li><li>m2</li></ul><h2>F2</h2><ul><li>m3</li></ul>");
}

TEST(SectionExtent, MayBeNested) {
  EXPECT_EQ(Made("<!--repeat-->$FORUM$<br><!--repeat-->$MESSAGE$ $FORUM$<hr><!--/repeat-->"
                 "<!--/repeat-->"),
            "F1<br>m1 F1<hr>m2 F1<hr>F2<br>m3 F2<hr>");
}

TEST(SectionExtent, MayBeginInsideOneElementAndEndInAnother) {
  EXPECT_EQ(Made("<table><tr><td>h</td><!--repeat--></tr><tr><td>$FORUM$</td><!--/repeat--></tr>"
                 "</table>"),
            "<table><tr><td>h</td></tr><tr><td>F1</td></tr><tr><td>F2</td></tr></table>");
}

TEST(SectionExtent, WorksInScriptsAndHeads) {
  EXPECT_EQ(Made("<head><script><!--repeat-->\"$FORUM$\",<!--/repeat--></script></head>"),
            "<head><script>\"F1\", \"F2\",</script></head>");
}

TEST(SectionExtent, WithoutMarkersTheCommentsStay) {
  EXPECT_EQ(Made("<!--repeat-->x<!--/repeat--><p>$FORUM$</p>"),
            "<!--repeat-->x<!--/repeat--><p>F1</p><p>F2</p>");
  EXPECT_EQ(MadeInForum("<!--repeat-->$FORUM$<!--/repeat-->"), "<!--repeat-->F1<!--/repeat-->");
}

TEST(SectionExtent, UnpairedCommentsStay) {
  EXPECT_EQ(Made("<!--/repeat--><p>$FORUM$</p><!--repeat-->"),
            "<!--/repeat--><p>F1</p><p>F2</p><!--repeat-->");
}

TEST(SectionExtent, OneThatNobodyNeedsLeavesNoComments) {
  EXPECT_EQ(Made("<div>$FORUM$<!--repeat--><b>$FORUM$</b><!--/repeat--></div>"),
            "<div>F1<b>F1</b></div><div>F2<b>F2</b></div>");
}

}  // namespace
}  // namespace brevant
