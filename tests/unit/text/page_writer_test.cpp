// Feeding characters: what becomes of the bytes of a template.
#include "template_board.h"

#include <gtest/gtest.h>
#include <random>

namespace brevant {
namespace {

using test::Dump;
using test::ItemsOf;
using test::Page;

TEST(PageWriterText, WordsEndAtBlanks) { EXPECT_EQ(ItemsOf("one two"), "Wone\nWtwo\n"); }

TEST(PageWriterText, ABlankWithoutAWordIsASpace) {
  EXPECT_EQ(ItemsOf("a  b"), "Wa\nS\nWb\n");
  EXPECT_EQ(ItemsOf(" a"), "S\nWa\n");
}

TEST(PageWriterText, ALineFeedEndsTheWordAndIsALineBreak) {
  EXPECT_EQ(ItemsOf("a\nb"), "Wa\nL\nWb\n");
  EXPECT_EQ(ItemsOf("a\r\n\r\nb"), "Wa\nL\nL\nWb\n");
}

TEST(PageWriterText, LineBreaksAreRemembered) {
  TPageWriter writer;
  writer.Feed("a b <c\n>");
  EXPECT_FALSE(writer.LineBreakSeen());
  writer.Feed("\n");
  EXPECT_TRUE(writer.LineBreakSeen());
}

TEST(PageWriterText, CarriageReturnsAreIgnored) { EXPECT_EQ(ItemsOf("a\rb"), "Wab\n"); }

TEST(PageWriterText, ATagEndsTheWord) { EXPECT_EQ(ItemsOf("a<b>c</b>d"), "Wa\n<b\nWc\n/b\nWd\n"); }

TEST(PageWriterText, ATagBehindABlankHasASpaceBefore) {
  EXPECT_EQ(ItemsOf("a <b>"), "Wa\nS\n<b\n");
  EXPECT_EQ(ItemsOf("a  <b>"), "Wa\nS\nS\n<b\n");
  EXPECT_EQ(ItemsOf("a\n<b>"), "Wa\nL\n<b\n");
  EXPECT_EQ(ItemsOf("<a> <b>"), "<a\nS\nS\n<b\n");
}

TEST(PageWriterText, OnlyTheLastCharacterFedDecidesAboutASpaceBeforeATag) {
  EXPECT_EQ(ItemsOf("a \r<b>"), "Wa\n<b\n");
  EXPECT_EQ(ItemsOf("a\r <b>"), "Wa\nS\n<b\n");
  Page page;
  page.Add("EMPTY", "");
  page.Add("BLANK", " ");
  page.Make("<i> $EMPTY$<b>$BLANK$<u>");
  EXPECT_EQ(Dump(page.writer), "<i\nS\n<b\nW \n<u\n");
}

TEST(PageWriterText, ACharacterOfATagMarkIsAnOrdinaryOne) {
  EXPECT_EQ(ItemsOf("\xBB \xAB$"), "W\xBB\nW\xAB$\n");
}

TEST(PageWriterText, OtherControlCharactersBelongToWords) {
  EXPECT_EQ(ItemsOf(std::string("a\tb\0c", 5)), std::string("Wa\tb\0c\n", 7));
}

TEST(PageWriterTag, KeepsBlanksAndAttributes) {
  EXPECT_EQ(ItemsOf("<a  href=\"x y\">"), "<a  href=\"x y\"\n");
}

TEST(PageWriterTag, AnOpeningBracketInsideIsKept) { EXPECT_EQ(ItemsOf("<a<b>"), "<a<b\n"); }

TEST(PageWriterTag, LineEndsBecomeBlanks) { EXPECT_EQ(ItemsOf("<a\r\nb>"), "<a  b\n"); }

TEST(PageWriterTag, CommentsKeepTheirLineEnds) {
  EXPECT_EQ(ItemsOf("<!-- a\r\nb -->"), "<!-- a\r\nb --\n");
}

TEST(PageWriterTag, EachKindOfLineEndAlone) {
  EXPECT_EQ(ItemsOf("<a\rb\nc>"), "<a b c\n");
  EXPECT_EQ(ItemsOf("<!a\rb\nc>"), "<!a\rb\nc\n");
}

TEST(PageWriterTag, ACommentIsWhatBeginsWithAnExclamationMark) {
  EXPECT_EQ(ItemsOf("<!DOCTYPE\nhtml>"), "<!DOCTYPE\nhtml\n");
  EXPECT_EQ(ItemsOf("< !a\nb>"), "< !a b\n");
  EXPECT_EQ(ItemsOf("<\n!a>"), "< !a\n");
  EXPECT_EQ(ItemsOf("</!a\nb>"), "/!a b\n");
}

TEST(PageWriterTag, MayBeEmpty) { EXPECT_EQ(ItemsOf("<></>"), "<\n/\n"); }

TEST(PageWriterTag, InTagIsKnown) {
  TPageWriter writer;
  EXPECT_FALSE(writer.InTag());
  writer.Feed("a<b");
  EXPECT_TRUE(writer.InTag());
  writer.Feed(">");
  EXPECT_FALSE(writer.InTag());
}

TEST(PageWriterTag, WithoutDispatcherNoTemplateTagIsRecognised) {
  EXPECT_EQ(ItemsOf("$A$ <b $C$ \xBB"
                    "D\xAB>"),
            "W$A$\nS\n<b $C$ \xBB"
            "D\xAB\n");
}

TEST(PageWriterFlush, ProducesTheLastWord) {
  TPageWriter writer;
  writer.Feed("last");
  EXPECT_EQ(Dump(writer), "");
  writer.Flush();
  EXPECT_EQ(Dump(writer), "Wlast\n");
  writer.Flush();
  EXPECT_EQ(Dump(writer), "Wlast\n");
}

TEST(PageWriterFlush, AnOpenTagBecomesText) {
  EXPECT_EQ(ItemsOf("a < b"), "Wa\nS\nW< b\n");
  EXPECT_EQ(ItemsOf("<!-- x"), "W<!-- x\n");
  EXPECT_EQ(ItemsOf("<"), "W<\n");
}

TEST(PageWriterLimit, AWordOf4096CharactersIsKept) {
  const std::string word(4096, 'x');
  EXPECT_EQ(ItemsOf(word), "W" + word + "\n");
}

TEST(PageWriterLimit, ExcessCharactersOfAWordAreDropped) {
  TPageWriter writer;
  writer.Feed(std::string(4099, 'x') + " end");
  writer.Flush();
  EXPECT_EQ(Dump(writer), "W" + std::string(4096, 'x') + "\nWend\n");
  EXPECT_EQ(writer.Dropped(), 3U);
}

TEST(PageWriterLimit, WhereLongWordsAreKeptAWordGoesOnInTheNextItem) {
  TPageWriter writer;
  writer.KeepLongWords(true);
  writer.Feed("a " + std::string(5000, 'x') + " b <" + std::string(5000, 't') + ">");
  writer.Flush();
  ASSERT_EQ(writer.ItemCount(), 6U);
  EXPECT_FALSE(writer.Item(0).goesOn);
  EXPECT_TRUE(writer.Item(1).goesOn);
  EXPECT_EQ(writer.Item(1).text.size(), 4096U);
  EXPECT_FALSE(writer.Item(2).goesOn);
  EXPECT_EQ(writer.Item(2).text.size(), 904U);
  EXPECT_EQ(writer.Item(5).text.size(), 4096U);
  EXPECT_EQ(writer.Dropped(), 904U);
  EXPECT_EQ(writer.Render().substr(0, 5004), "a " + std::string(5000, 'x') + "\r\n");
}

TEST(PageWriterLimit, ExcessCharactersOfATagAreDropped) {
  TPageWriter writer;
  writer.Feed("<" + std::string(4097, 'x') + "\n>y");
  writer.Flush();
  EXPECT_EQ(Dump(writer), "<" + std::string(4096, 'x') + "\nWy\n");
  EXPECT_EQ(writer.Dropped(), 2U);
}

TEST(PageWriterLiteral, ValuesKeepTheirBlanksInOneWord) {
  Page page;
  page.Add("X", "a b  c");
  page.Make("p$X$q r");
  EXPECT_EQ(Dump(page.writer), "Wpa b  cq\nWr\n");
}

TEST(PageWriterLiteral, ValuesAreTokenized) {
  Page page;
  page.Add("X", "a<b>c\nd</b>");
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer), "Wa\n<b\nWc\nL\nWd\n/b\n");
}

TEST(PageWriterLiteral, ABlankBeforeATagStaysInTheWord) {
  Page page;
  page.Add("X", "a <b> <c>");
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer), "Wa \n<b\nW \n<c\n");
}

TEST(PageWriterLiteral, LineEndsOfValuesFollowTheTagTheyStandIn) {
  Page page;
  page.Add("X", "v\r\nw");
  page.Make("<a $X$><!-- $X$ -->");
  EXPECT_EQ(Dump(page.writer), "<a v  w\n<!-- v\r\nw --\n");
}

TEST(PageWriterLiteral, MarksInValuesAreCharacters) {
  Page page;
  page.Add("X", "$\xBBX\xAB$");
  page.Make("$X$<a $X$>");
  EXPECT_EQ(Dump(page.writer), "W$\xBBX\xAB$\n<a $\xBBX\xAB$\n");
}

TEST(PageWriterLiteral, ALongValueIsCutAtItsLastBlankAndGoesOn) {
  Page page;
  page.Add("X", std::string(4000, 'a') + " " + std::string(90, 'b') + " " + std::string(10, 'c'));
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer), "W" + std::string(4000, 'a') + " " + std::string(90, 'b') + "\nW" +
                                   std::string(10, 'c') + "\n");
  EXPECT_EQ(page.writer.Dropped(), 0U);
}

TEST(PageWriterLiteral, ABlankRightBehindTheLimitEndsTheWord) {
  Page page;
  page.Add("X", std::string(4096, 'a') + " b");
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer), "W" + std::string(4096, 'a') + "\nWb\n");
}

TEST(PageWriterLiteral, OnlyARunWithoutBlankLosesWhatFollows) {
  Page page;
  page.Add("X", std::string(4100, 'a') + " b");
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer), "W" + std::string(4096, 'a') + "\nWb\n");
  EXPECT_EQ(page.writer.Dropped(), 4U);
}

TEST(PageWriterLiteral, NoTextOfAVeryLongValueIsLost) {
  std::string value;
  for (int i = 0; i < 100'000; ++i) value += "word" + std::to_string(i) + (i % 7 == 0 ? "  " : " ");
  Page page;
  page.Add("X", value);
  page.Make("$X$");
  std::string joined;
  for (std::size_t i = 0; i < page.writer.ItemCount(); ++i) {
    EXPECT_LE(page.writer.Item(i).text.size(), 4096U);
    joined.append(page.writer.Item(i).text).append(" ");
  }
  joined.pop_back();
  EXPECT_EQ(joined, value);
}

// The blank inside the marker is none of the word's.
TEST(PageWriterLiteral, AFullWordEndsAtABlankBeforeAMarkerAndNotInsideIt) {
  const std::size_t marker = std::string("$FORUM(\"a b\")$").size();
  const struct {
    std::string before;
    std::size_t behindBlank;  // what stays in the word with the marker
  } cases[] = {{"q ", 0}, {"q r", 1}, {"", 0}, {"qr", 2}};
  for (const auto& [before, behindBlank] : cases) {
    Page page;
    page.board.containers[1] = {{"F1", {}}};
    page.Add("BEFORE", before);
    page.Add("X", std::string(4090, 'a'));
    const std::size_t kept = 4096 - marker - behindBlank;
    EXPECT_EQ(page.Make("$BEFORE$$FORUM(a b)$$X$ end"),
              before + "F1" + std::string(kept, 'a') + " end")
        << before;
    EXPECT_EQ(page.writer.Dropped(), 4090 - kept) << before;
  }
}

TEST(PageWriterLiteral, TagsOutOfValuesAreStillCut) {
  Page page;
  page.Add("X", "<" + std::string(3000, 'a') + " " + std::string(2000, 'b') + ">c");
  page.Make("$X$");
  EXPECT_EQ(Dump(page.writer),
            "<" + std::string(3000, 'a') + " " + std::string(1095, 'b') + "\nWc\n");
}

TEST(PageWriterSource, KeepsTheNewestTime) {
  TPageWriter writer;
  EXPECT_TRUE(writer.SourceTime().IsZero());
  writer.AddSourceTime(TTime::FromTicks(20));
  writer.AddSourceTime(TTime::FromTicks(10));
  EXPECT_EQ(writer.SourceTime().Ticks(), 20U);
}

TEST(PageWriterFilters, AreBothOnAtFirst) {
  TPageWriter writer;
  EXPECT_EQ(writer.Filters(), TPageWriter::kFilterEscape | TPageWriter::kFilterUrl);
  writer.SetFilters(TPageWriter::kFilterUrl);
  EXPECT_EQ(writer.Filters(), TPageWriter::kFilterUrl + 0U);
}

// A text of the characters that mean something, and a few that do not.
std::string RandomTemplate(std::mt19937& random) {
  static const char* const kPieces[] = {"<",    ">",     " ",    "\r",      "\n",   "$",    "\xBB",
                                        "\xAB", "/",     "!--",  "a",       "bcd",  "\"",   "$V$",
                                        "<p>",  "</tr>", "<tr>", "$FORUM$", "$NO$", "<li ", "--"};
  std::string text;
  const auto count = std::uniform_int_distribution<int>(0, 120)(random);
  for (int i = 0; i < count; ++i) {
    text += kPieces[std::uniform_int_distribution<std::size_t>(0, std::size(kPieces) - 1)(random)];
    if (i % 40 == 39) text += std::string(300, 'x');
  }
  return text;
}

TEST(PageWriterProperty, HowTheBytesAreCutMakesNoDifference) {
  std::mt19937 random(12345);
  for (int round = 0; round < 2000; ++round) {
    const std::string text = RandomTemplate(random);
    Page whole;
    Page pieces;
    for (Page* page : {&whole, &pieces}) {
      page->Add("V", "v <i>w\nx");
      page->board.containers[1] = {{"F1", {}}, {"F2", {}}};
    }
    const std::string expected = whole.Make(text);
    for (std::size_t at = 0; at < text.size();) {
      const auto size = std::uniform_int_distribution<std::size_t>(1, 9)(random);
      pieces.writer.Feed(std::string_view(text).substr(at, size));
      at += size;
    }
    ASSERT_EQ(pieces.Make(""), expected) << text;
    ASSERT_EQ(Dump(pieces.writer), Dump(whole.writer)) << text;
    ASSERT_EQ(pieces.writer.Dropped(), whole.writer.Dropped());
  }
}

TEST(PageWriterProperty, LongTokensCutAnywhereGiveTheSameItems) {
  std::mt19937 random(99);
  for (int round = 0; round < 50; ++round) {
    std::string value;
    while (value.size() < 20'000) {
      const bool longRun = round % 5 == 0 && value.size() > 9000;
      value.append(std::uniform_int_distribution<std::size_t>(1, longRun ? 6000 : 900)(random),
                   'y');
      value += std::string(std::uniform_int_distribution<std::size_t>(0, 2)(random), ' ');
    }
    Page whole;
    whole.Add("X", value);
    Page pieces;
    pieces.Add("X", [&](TPageWriter& page, TFieldArguments) {
      for (std::size_t at = 0; at < value.size();) {
        const auto size = std::uniform_int_distribution<std::size_t>(1, 3000)(random);
        page.Feed(std::string_view(value).substr(at, size));
        at += size;
      }
      return 1;
    });
    whole.Make("$X$");
    pieces.Make("$X$");
    ASSERT_EQ(Dump(pieces.writer), Dump(whole.writer));
    ASSERT_EQ(pieces.writer.Dropped(), whole.writer.Dropped());
  }
}

TEST(PageWriterHostile, ALineOfTenMegabytesOfTags) {
  std::string text;
  while (text.size() < 10'000'000) text += "<b x=1>w ";
  TPageWriter writer;
  writer.Feed(text);
  writer.Flush();
  EXPECT_EQ(writer.ItemCount(), text.size() / 9 * 2 + text.size() / 9 - 1);
}

TEST(PageWriterHostile, AnUnclosedTagDoesNotGrow) {
  TPageWriter writer;
  writer.Feed("<" + std::string(1'000'000, 'x'));
  writer.Flush();
  ASSERT_EQ(writer.ItemCount(), 1U);
  EXPECT_EQ(writer.Item(0).text.size(), 4097U);
}

}  // namespace
}  // namespace brevant
