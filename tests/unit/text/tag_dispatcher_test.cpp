// Template tags: collecting, parsing, expanding.
#include "text/tag_dispatcher.h"

#include "template_board.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brevant {
namespace {

using test::Dump;
using test::Page;
using testing::ElementsAre;
using testing::IsEmpty;

// A page with a field that writes its arguments in brackets.
struct ArgumentPage : Page {
  ArgumentPage() {
    Add("ARGS", [](TPageWriter& page, TFieldArguments arguments) {
      for (std::string_view argument : arguments) {
        page.Feed("[");
        page.Feed(argument);
        page.Feed("]");
      }
      return 1;
    });
  }
};

TEST(TagCollecting, DollarsEncloseATagInText) {
  Page page;
  page.Add("X", "value");
  EXPECT_EQ(page.Make("a $X$ b"), "a value b");
}

TEST(TagCollecting, InsideHtmlTagsGuillemetsDoTheSame) {
  Page page;
  page.Add("X", "value");
  EXPECT_EQ(page.Make("<a b=\"\xBBX\xAB\" c=\"$X$\">"), "<a b=\"value\" c=\"value\">");
}

TEST(TagCollecting, InTextAGuillemetStartsNothing) {
  Page page;
  page.Add("X", "value");
  EXPECT_EQ(page.Make("\xBBX\xAB"), "\xBBX\xAB");
}

TEST(TagCollecting, EitherEndMarkEndsATag) {
  Page page;
  page.Add("X", "value");
  EXPECT_EQ(page.Make("$X\xAB<a \xBBX$>"), "value<a value>");
}

TEST(TagCollecting, TagsAreFoundInComments) {
  Page page;
  page.Add("X", "value");
  EXPECT_EQ(page.Make("<!-- $X$ -->"), "<!-- value -->");
}

TEST(TagCollecting, LineEndsAndBlanksShrinkToOneBlank) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ \r\n  ARGS(a \r\n b,c\nd)$"), "[a b][c d]");
}

TEST(TagCollecting, ATagOf256CharactersIsDispatched) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS(" + std::string(250, 'x') + ")$"), "[" + std::string(250, 'x') + "]");
}

TEST(TagCollecting, TheLengthCountsWhatIsCollected) {
  for (const std::size_t length : {255U, 256U, 257U}) {
    ArgumentPage page;
    const std::string argument(length - 6, 'x');
    const std::string made = page.Make("$ARGS(" + argument + ")$");
    EXPECT_EQ(made, length <= 256 ? "[" + argument + "]" : "$ARGS(" + argument + ")$") << length;
    EXPECT_FALSE(page.writer.IsLiteral());
  }
}

TEST(TagCollecting, WhatIsNotCollectedFitsBehind256Characters) {
  const std::string argument(250, 'x');
  for (const char* end : {"\r$", "\xAB", "\r\r\xAB"}) {
    ArgumentPage page;
    EXPECT_EQ(page.Make("$ARGS(" + argument + ")" + end), "[" + argument + "]");
  }
  Page page;
  page.Make("$" + std::string(255, 'x') + "  \n $");
  EXPECT_EQ(Dump(page.writer), "W$" + std::string(255, 'x') + " $\n");
}

TEST(TagCollecting, ALineFeedAsThe257thCharacterAbandonsAndIsALineBreak) {
  Page page;
  page.Make("$" + std::string(256, 'x') + "\nb");
  EXPECT_EQ(Dump(page.writer), "W$" + std::string(256, 'x') + "\nL\nWb\n");
}

TEST(TagCollecting, AbandonedTextIsTokenizedInLiteralMode) {
  Page page;
  page.Make("$5 <b>and</b> " + std::string(250, 'x') + " y");
  EXPECT_EQ(Dump(page.writer), "W$5 \n<b\nWand\n/b\nW " + std::string(250, 'x') + "\nWy\n");
}

TEST(TagCollecting, AnOverlongTagIsWrittenBackBehindADollarWhateverItBeganWith) {
  Page page;
  EXPECT_EQ(page.Make("<a \xBB" + std::string(257, 'x') + " b>"),
            "<a $" + std::string(257, 'x') + " b>");
}

TEST(TagCollecting, CarriageReturnsAreIgnored) {
  Page page;
  page.Add("NAME", "value");
  EXPECT_EQ(page.Make("$\rNA\rME\r$"), "value");
}

TEST(TagCollecting, ABlankAtItsEndIsKept) {
  Page page;
  page.Add("NAME", "value");
  EXPECT_EQ(page.Make("$ NAME  $"), "$NAME $");
}

TEST(TagCollecting, AnEmptyTagIsAnUnknownOne) {
  Page page;
  EXPECT_EQ(page.Make("a $$ b"), "a $$ b");
}

TEST(TagCollecting, ALongerOneIsWrittenBack) {
  ArgumentPage page;
  page.Add("X", "value");
  const std::string tag = "$ARGS(" + std::string(251, 'x') + ")";
  EXPECT_EQ(page.Make(tag + " $X$"), tag + " value");
  EXPECT_FALSE(page.writer.IsLiteral());
}

TEST(TagCollecting, TheAbandonedTextIsOrdinaryTextWithItsCurrentCharacter) {
  Page page;
  page.Make("$" + std::string(256, 'x') + "<b>");
  EXPECT_EQ(Dump(page.writer), "W$" + std::string(256, 'x') + "\n<b\n");
}

TEST(TagCollecting, ABlankAsThe257thCharacterAbandonsAndStaysInTheWord) {
  Page page;
  page.Make("$" + std::string(256, 'x') + " b");
  EXPECT_EQ(Dump(page.writer), "W$" + std::string(256, 'x') + " b\n");
}

TEST(TagCollecting, AnOpenTagAtTheEndIsWrittenBack) {
  Page page;
  EXPECT_EQ(page.Make("costs $5 or more"), "costs $5 or more");
  Page inTag;
  EXPECT_EQ(inTag.Make("<a \xBBX"), "<a \xBBX");
}

TEST(TagCollecting, ValuesAreNeverScannedForTags) {
  Page page;
  page.Add("X", "$Y$");
  page.Add("Y", "no");
  EXPECT_EQ(page.Make("$X$<a $X$>"), "$Y$<a $Y$>");
}

TEST(TagDispatch, APriceIsNoTag) {
  Page page;
  EXPECT_EQ(page.Make("Price: $5 or $6"), "Price: $5 or $6");
}

TEST(TagDispatch, AnUnknownTagIsWrittenBackInLiteralMode) {
  Page page;
  page.Make("a $no such$ b");
  EXPECT_EQ(Dump(page.writer), "Wa\nW$no such$\nWb\n");
}

TEST(TagDispatch, FieldNamesAreComparedExactly) {
  Page page;
  page.Add("NAME", "value");
  EXPECT_EQ(page.Make("$name$ $NAMES$ $NAM$ $NAME $ $NAME$"), "$name$ $NAMES$ $NAM$ $NAME $ value");
}

TEST(TagDispatch, TheFirstFieldOfANameIsTaken) {
  Page page;
  page.Add("X", "first");
  page.Add("X", "second");
  EXPECT_EQ(page.Make("$X$"), "first");
}

TEST(TagDispatch, EntitiesAreDecodedEverywhere) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS(&lt;b&gt;x)$"), "[<b>x]");
}

TEST(TagDispatch, UrlCodesAreDecodedInHtmlTagsOnly) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS(%41)$<a $ARGS(%41%26lt;)$>"), "[%41]<a [A<]>");
}

TEST(TagDispatch, BothDecodingsStopAtAQuestionMark) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS(&amp;?&amp;)$"), "[&?&amp;]");
  EXPECT_EQ(ArgumentPage().Make("<a $ARGS(%41?%41&lt;)$>"), "<a [A?%41&lt;]>");
}

TEST(TagDispatch, ADecodedQuestionMarkStopsTheSecondDecodingOnly) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("<a $ARGS(%3F%41&lt;)$>"), "<a [?A&lt;]>");
}

TEST(TagDispatch, DecodedCharactersDivideTheTag) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("<a $ARGS%28a%2C%20b%29$>"), "<a [a][b]>");
}

TEST(TagDispatch, AnUnknownTagIsWrittenBackUndecoded) {
  Page page;
  EXPECT_EQ(page.Make("<a $%41&lt;$>"), "<a $%41&lt;$>");
}

TEST(TagDispatch, AnUnknownTagBetweenGuillemetsIsWrittenBackBetweenDollars) {
  Page page;
  EXPECT_EQ(page.Make("<a \xBBNO\xAB>"), "<a $NO$>");
}

TEST(TagDispatch, WhatStandsBehindTheArgumentsIsNotLookedAt) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS(a)b.c(d)$"), "[a]");
}

TEST(TagDispatch, ABlankBeforeTheParenthesisBelongsToTheName) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS (a)$"), "$ARGS (a)$");
}

TEST(TagDispatch, EmptyParenthesesBelongToTheName) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS()$"), "$ARGS()$");
}

TEST(TagDispatch, ASingleBlankIsOneEmptyArgument) {
  ArgumentPage page;
  EXPECT_EQ(page.Make("$ARGS( )$"), "[]");
}

TEST(TagDispatch, InTextInTagIsOffAndInTagOn) {
  Page page;
  page.Add("X", [](TPageWriter& writer, TFieldArguments) {
    writer.Feed(writer.InTag() ? "in" : "out");
    EXPECT_TRUE(writer.IsLiteral());
    return 1;
  });
  EXPECT_EQ(page.Make("$X$<a $X$>"), "out<a in>");
  EXPECT_FALSE(page.writer.IsLiteral());
}

TEST(TagDispatch, AFailureWritesTheLastError) {
  Page page;
  page.Add("X", [&page](TPageWriter&, TFieldArguments) {
    page.dispatcher.SetLastError("Cannot do it");
    return 0;
  });
  EXPECT_EQ(page.Make("a $X$ b"), "a ***ERROR: Cannot do it*** b");
  EXPECT_EQ(page.dispatcher.LastError(), "");
  EXPECT_THAT(page.errors, ElementsAre("Cannot do it"));
}

TEST(TagDispatch, AFailureInsideAnHtmlTagIsWrittenThere) {
  Page page;
  EXPECT_EQ(page.Make("<a b=\"$A.B.FORUM$\">c d"), "<a b=\"***ERROR: Invalid identifiers***\">c d");
  EXPECT_FALSE(page.writer.IsLiteral());
}

TEST(TagDispatch, AFailureOfTheSelectionWithoutMessage) {
  Page page;
  EXPECT_EQ(page.Make("a $Bad.FORUM$ b"), "a ***ERROR*** b");
}

TEST(TagDispatch, WhatAFailingFieldWroteStaysBeforeTheError) {
  Page page;
  page.Add("X", [](TPageWriter& writer, TFieldArguments) {
    writer.Feed("begun ");
    return 0;
  });
  EXPECT_EQ(page.Make("$X$"), "begun ***ERROR***");
}

TEST(TagDispatch, AFailureWithoutMessageSaysSo) {
  Page page;
  page.Add("X", [](TPageWriter&, TFieldArguments) { return 0; });
  EXPECT_EQ(page.Make("$X$"), "***ERROR***");
  EXPECT_THAT(page.errors, IsEmpty());
}

TEST(TagDispatch, AnOldMessageIsNotBlamedOnALaterFailure) {
  Page page;
  page.Add("GOOD", [&page](TPageWriter&, TFieldArguments) {
    page.dispatcher.SetLastError("left over");
    return 1;
  });
  page.Add("BAD", [](TPageWriter&, TFieldArguments) { return 0; });
  EXPECT_EQ(page.Make("$GOOD$$BAD$"), "***ERROR***");
}

TEST(TagDispatch, SeveralQualifiersAreAnErrorOfTheField) {
  Page page;
  EXPECT_EQ(page.Make("$A.B.C.FORUM$"), "***ERROR: Invalid identifiers***");
}

TEST(TagDispatch, ASelectionOfNothingWritesNothing) {
  Page page;
  EXPECT_EQ(page.Make("a$Nothing.FORUM$b"), "ab");
  EXPECT_TRUE(page.writer.SourceTime().IsZero());
}

TEST(TagDispatch, ThePageKeepsTheNewestSourceTime) {
  Page page;
  for (unsigned ticks : {30U, 50U, 40U}) {
    page.Add(
        "T" + std::to_string(ticks), [](TPageWriter&, TFieldArguments) { return 1; }, 0,
        TFieldLevel::kBoard, TTime::FromTicks(ticks));
  }
  page.Make("$T30$ $T50$ $T40$");
  EXPECT_EQ(page.writer.SourceTime().Ticks(), 50U);
}

TEST(TagParsing, NameQualifiersAndArguments) {
  const TTagParts parts = ParseTag("A.B.NAME(x, y+z,,  w)");
  EXPECT_EQ(parts.name, "NAME");
  EXPECT_THAT(parts.qualifiers, ElementsAre("A", "B"));
  EXPECT_THAT(parts.arguments, ElementsAre("x", "y+z", "", "w"));
}

TEST(TagParsing, OnlyBlanksAtTheStartOfAnArgumentGo) {
  const TTagParts parts = ParseTag("M(indent_reply, ,<ul>, )");
  EXPECT_THAT(parts.arguments, ElementsAre("indent_reply", "", "<ul>", ""));
  EXPECT_THAT(ParseTag("M( a )").arguments, ElementsAre("a "));
}

TEST(TagParsing, TheFirstParenthesesCount) {
  EXPECT_THAT(ParseTag("M(a(b)c)").arguments, ElementsAre("a(b"));
  EXPECT_EQ(ParseTag("M(a(b)c)").name, "M");
}

TEST(TagParsing, AClosingParenthesisBeforeTheOpeningOneMakesNoArguments) {
  const TTagParts parts = ParseTag("M)a(b)");
  EXPECT_EQ(parts.name, "M)a(b)");
  EXPECT_THAT(parts.arguments, IsEmpty());
}

TEST(TagParsing, AnOpenParenthesisMakesNoArguments) { EXPECT_EQ(ParseTag("M(a").name, "M(a"); }

TEST(TagParsing, AtMost16Arguments) {
  std::string tag = "M(0";
  for (int i = 1; i < 20; ++i) tag += "," + std::to_string(i);
  tag += ")";
  const TTagParts parts = ParseTag(tag);
  ASSERT_EQ(parts.arguments.size(), 16U);
  EXPECT_EQ(parts.arguments.back(), "15");
}

TEST(TagParsing, AtMost16Qualifiers) {
  std::string tag;
  for (int i = 0; i < 20; ++i) tag += std::to_string(i) + ".";
  tag += "NAME";
  const TTagParts parts = ParseTag(tag);
  ASSERT_EQ(parts.qualifiers.size(), 16U);
  EXPECT_EQ(parts.qualifiers.back(), "15");
  EXPECT_EQ(parts.name, "NAME");
}

TEST(TagParsing, OneCharacterBetweenTheParenthesesMakesArguments) {
  EXPECT_THAT(ParseTag("M(,)").arguments, ElementsAre("", ""));
  EXPECT_THAT(ParseTag("M(()").arguments, ElementsAre("("));
  EXPECT_THAT(ParseTag("M()a)").arguments, IsEmpty());
  EXPECT_EQ(ParseTag("M()a)").name, "M()a)");
}

TEST(TagParsing, PiecesMayBeEmpty) {
  const TTagParts parts = ParseTag("..");
  EXPECT_THAT(parts.qualifiers, ElementsAre("", ""));
  EXPECT_EQ(parts.name, "");
}

TEST(TagParsing, DotsInArgumentsAreNoQualifiers) {
  const TTagParts parts = ParseTag("NAME(a.b)");
  EXPECT_EQ(parts.name, "NAME");
  EXPECT_THAT(parts.qualifiers, IsEmpty());
}

TEST(TagParsing, TextBeyond1024CharactersIsNotLookedAt) {
  Page page;
  const std::string tag = "FORUM(" + std::string(1100, 'x') + ")";
  page.dispatcher.Dispatch(page.writer, tag);  // the parenthesis that would close it is cut off
  page.writer.Flush();
  EXPECT_EQ(test::OneLine(page.writer), "$" + tag + "$");
}

TEST(TagNormalForm, OfTagsWithAndWithoutQualifiersAndArguments) {
  EXPECT_EQ(NormalForm(ParseTag("NAME")), "*.NAME");
  EXPECT_EQ(NormalForm(ParseTag("All.NAME( a,  b)")), "All.NAME(a,b)");
  EXPECT_EQ(NormalForm(ParseTag("A.B.NAME")), "A.B.NAME");
}

}  // namespace
}  // namespace brevant
