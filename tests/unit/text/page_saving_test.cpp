// What a page looks like on disk.
#include "support/temporary_directory.h"
#include "template_board.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace brevant {
namespace {

std::string Rendered(std::string_view text, bool diagnostic = false) {
  TPageWriter writer;
  writer.Feed(text);
  writer.Flush();
  writer.SetDiagnosticMode(diagnostic);
  return writer.Render();
}

std::string Word(std::size_t length, char c = 'x') { return std::string(length, c); }

TEST(PageSaving, TheLineStructureOfTheTemplateIsNotKept) {
  EXPECT_EQ(Rendered("<p>\r\n<b>x</b>\r\n\r\ny"), "<p><b>x</b>y");
}

TEST(PageSaving, WordsAreSeparatedByOneBlank) { EXPECT_EQ(Rendered("a b\nc"), "a b c"); }

TEST(PageSaving, SpaceItemsAreWrittenAsTheyAre) {
  EXPECT_EQ(Rendered("a <b> c"), "a <b> c");
  EXPECT_EQ(Rendered("a  b"), "a b");
}

TEST(PageSaving, ALineGrowsTo79Characters) {
  EXPECT_EQ(Rendered(Word(40) + "<" + Word(37) + ">"), Word(40) + "<" + Word(37) + ">");
}

TEST(PageSaving, At80TheItemStartsALine) {
  EXPECT_EQ(Rendered(Word(40) + "<" + Word(38) + ">"), Word(40) + "\r\n<" + Word(38) + ">");
}

TEST(PageSaving, TheBlankBetweenWordsIsNotCountedWhenTheyAreJoined) {
  const std::string page = Rendered(Word(40) + " " + Word(39, 'y'));
  EXPECT_EQ(page, Word(40) + " " + Word(39, 'y'));
  EXPECT_EQ(page.size(), 80U);
}

TEST(PageSaving, ButItIsCountedForWhatFollows) {
  // 40 + 1 + 30 = 71 characters: 8 more fit, 9 do not.
  const std::string line = Word(40) + " " + Word(30, 'y');
  EXPECT_EQ(Rendered(line + "<" + Word(6) + ">"), line + "<" + Word(6) + ">");
  EXPECT_EQ(Rendered(line + "<" + Word(7) + ">"), line + "\r\n<" + Word(7) + ">");
}

TEST(PageSaving, AnItemOf79GoesBehindAShortBeginning) {
  const std::string tag = "<" + Word(77) + ">";
  EXPECT_EQ(Rendered(Word(10) + tag), Word(10) + tag);
  EXPECT_EQ(Rendered(Word(11) + tag), Word(11) + "\r\n" + tag);
}

TEST(PageSaving, AWordOf79BehindAShortWordIsSeparated) {
  EXPECT_EQ(Rendered(Word(10) + " " + Word(79, 'y')), Word(10) + " " + Word(79, 'y'));
  EXPECT_EQ(Rendered(Word(11) + " " + Word(79, 'y')), Word(11) + "\r\n" + Word(79, 'y'));
}

TEST(PageSaving, WordsOf80TogetherStandOnTwoLines) {
  EXPECT_EQ(Rendered(Word(40) + " " + Word(40, 'y')), Word(40) + "\r\n" + Word(40, 'y'));
}

TEST(PageSaving, ASpaceItemThatDoesNotFitBeginsALine) {
  EXPECT_EQ(Rendered(Word(78) + "  y"), Word(78) + " \r\ny");
  EXPECT_EQ(Rendered(Word(79) + "  y"), Word(79) + "\r\n y");
}

TEST(PageSaving, NothingStandsBetweenAWordAndATag) {
  EXPECT_EQ(Rendered("a<b>c</b>d\n<i>\ne"), "a<b>c</b>d<i>e");
}

TEST(PageSaving, ABlankInsideAWordStaysWhereItIs) {
  test::Page page;
  page.Add("X", "a  b ");
  page.Make("$X$ c");
  EXPECT_EQ(page.writer.Render(), "a  b  c");
}

TEST(PageSaving, AnItemOf78DoesNot) {
  const std::string tag = "<" + Word(76) + ">";
  EXPECT_EQ(Rendered("xx" + tag), "xx\r\n" + tag);
  EXPECT_EQ(Rendered("x" + tag), "x" + tag);
}

TEST(PageSaving, AnOverlongFirstItemHasNoEmptyLineBefore) {
  EXPECT_EQ(Rendered(Word(200)), Word(200));
  EXPECT_EQ(Rendered(Word(200) + " " + Word(200)), Word(200) + "\r\n" + Word(200));
}

TEST(PageSaving, TheBracketsOfTagsCount) {
  EXPECT_EQ(Rendered(Word(72) + "</" + Word(4) + ">"), Word(72) + "</" + Word(4) + ">");
  EXPECT_EQ(Rendered(Word(72) + "</" + Word(5) + ">"), Word(72) + "\r\n</" + Word(5) + ">");
}

TEST(PageSaving, ANewLineBeginsWithoutBlankBetweenWords) {
  EXPECT_EQ(Rendered(Word(60) + " " + Word(60)), Word(60) + "\r\n" + Word(60));
}

TEST(PageSaving, DiagnosticModeNumbersTheItems) {
  EXPECT_EQ(Rendered("a \n<b c>d</b>", true),
            "[  0] a\r\n[  1] ***LINEFEED***\r\n[  2] <b c>\r\n[  3] d\r\n[  4] </b>\r\n");
}

TEST(PageSaving, NumbersOfMoreThanThreeDigitsAreWhole) {
  std::string text;
  for (int i = 0; i < 1001; ++i) text += "w ";
  const std::string page = Rendered(text, true);
  EXPECT_NE(page.find("[ 42] w\r\n"), std::string::npos);
  EXPECT_NE(page.find("[1000] w\r\n"), std::string::npos);
}

TEST(PageSaving, SavesAnewAndReportsWhatCannotBeWritten) {
  test::TemporaryDirectory directory;
  TPageWriter writer;
  writer.Feed("<p>text");
  writer.Flush();
  test::WriteFileBytes(directory / "a.htm", std::string(500, 'o'));
  EXPECT_EQ(writer.Save((directory / "a.htm").c_str()), 1);
  EXPECT_EQ(test::ReadFileBytes(directory / "a.htm"), "<p>text");
  EXPECT_EQ(writer.Save((directory / "none/a.htm").c_str()), 0);
}

TEST(PageSaving, FeedsAFileOfAnySize) {
  test::TemporaryDirectory directory;
  std::string text;
  for (int i = 0; i < 20'000; ++i) text += "word" + std::to_string(i) + " ";
  test::WriteFileBytes(directory / "t.htm", text);
  TPageWriter fromFile;
  EXPECT_EQ(fromFile.FeedFile((directory / "t.htm").c_str()), 1);
  fromFile.Flush();
  EXPECT_EQ(test::Dump(fromFile), test::ItemsOf(text));
  EXPECT_EQ(fromFile.FeedFile((directory / "none.htm").c_str()), 0);
}

TEST(PageSaving, TheTextOfASectionGoesToItsOwnFile) {
  test::TemporaryDirectory directory;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(directory.Path());
  test::Page page;
  page.writer.Feed("<ul><li>a $FORUM$</li></ul> $LIST$");
  page.writer.Flush();
  const int saved = page.writer.SaveSection(0);
  const std::string text = test::ReadFileBytes("section.htm");
  const int none = page.writer.SaveSection(2);
  std::filesystem::current_path(before);
  EXPECT_EQ(saved, 1);
  EXPECT_EQ(text, "<li>a $*.FORUM$</li>");
  EXPECT_EQ(none, 0);
}

TEST(PageSaving, ALongPageIsHandedOnInPiecesThatMakeUpTheWhole) {
  TPageWriter writer;
  std::string expected;
  for (int i = 10000; i < 40000; ++i) {
    const std::string word = "word" + std::to_string(i);  // eight and their blanks fill a line
    writer.Feed(word + "\n");
    if (i > 10000) expected += i % 8 == 0 ? "\r\n" : " ";
    expected += word;
  }
  writer.Flush();
  std::string page;
  int pieces = 0;
  EXPECT_TRUE(writer.RenderTo([&](std::string_view piece) {
    EXPECT_LE(piece.size(), 2U * 65536);
    ++pieces;
    page += piece;
    return true;
  }));
  EXPECT_EQ(page, expected);
  EXPECT_GE(pieces, 3);
  EXPECT_EQ(writer.Render(), expected);
}

TEST(PageSaving, NoPieceIsHandedOnBehindOneThatWasNotWanted) {
  TPageWriter writer;
  for (int i = 0; i < 40000; ++i) writer.Feed("word ");
  writer.Flush();
  int pieces = 0;
  EXPECT_FALSE(writer.RenderTo([&](std::string_view) { return ++pieces < 2; }));
  EXPECT_EQ(pieces, 2);
}

TEST(PageSaving, ALongPageIsSavedWhole) {
  const test::TemporaryDirectory directory;
  TPageWriter writer;
  for (int i = 0; i < 40000; ++i) writer.Feed("<b>word</b>\n");
  writer.Flush();
  ASSERT_EQ(writer.Save((directory / "page.htm").c_str()), 1);
  EXPECT_EQ(test::ReadFileBytes(directory / "page.htm"), writer.Render());
}

}  // namespace
}  // namespace brevant
