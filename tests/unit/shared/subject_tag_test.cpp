#include "shared/subject_tag.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

TEST(SubjectTag, IsFoundAnywhereInTheText) {
  const TSubjectTag tag = ParseSubjectTag("\"[My_Board:General_Talk]\" <board@example.org>");
  ASSERT_EQ(tag.count, 2);
  EXPECT_EQ(tag.parts[0], "My_Board");
  EXPECT_EQ(tag.parts[1], "General_Talk");
}

TEST(SubjectTag, NeedsBothBrackets) {
  EXPECT_EQ(ParseSubjectTag("").count, 0);
  EXPECT_EQ(ParseSubjectTag("plain <a@b>").count, 0);
  EXPECT_EQ(ParseSubjectTag("[My_Board:General").count, 0);
  EXPECT_EQ(ParseSubjectTag("My_Board:General]").count, 0);
}

TEST(SubjectTag, EndsAtTheFirstClosingBracket) {
  const TSubjectTag tag = ParseSubjectTag("[a:b]c:d]");
  ASSERT_EQ(tag.count, 2);
  EXPECT_EQ(tag.parts[1], "b");
}

TEST(SubjectTag, ClosingBracketBeforeTheOpeningOneIsNoTag) {
  EXPECT_EQ(ParseSubjectTag("a] [b:c]").count, 0);
}

TEST(SubjectTag, OnePartAlone) {
  const TSubjectTag tag = ParseSubjectTag("[short]");
  ASSERT_EQ(tag.count, 1);
  EXPECT_EQ(tag.parts[0], "short");
}

TEST(SubjectTag, EmptyBracketsGiveOneEmptyPart) {
  const TSubjectTag tag = ParseSubjectTag("[]");
  ASSERT_EQ(tag.count, 1);
  EXPECT_EQ(tag.parts[0], "");
}

TEST(SubjectTag, KeepsThreePartsAtMost) {
  const TSubjectTag tag = ParseSubjectTag("[a:b:12:d:e]");
  ASSERT_EQ(tag.count, 3);
  EXPECT_EQ(tag.parts[2], "12");
}

TEST(SubjectTag, AnotherOpeningBracketStartsThePartAnew) {
  const TSubjectTag tag = ParseSubjectTag("[x[a:b]");
  ASSERT_EQ(tag.count, 2);
  EXPECT_EQ(tag.parts[0], "a");
  EXPECT_EQ(tag.parts[1], "b");
}

TEST(SubjectTag, UnderscoreStandsForABlankInEveryPart) {
  EXPECT_EQ(TagPartText("General_Talk_"), "General Talk ");
  EXPECT_EQ(TagPartText(""), "");
}

TEST(SubjectTag, BoardNameIsComparedIgnoringCaseAndUnderscores) {
  EXPECT_TRUE(TagNamesBoard("My_Board", "My Board"));
  EXPECT_TRUE(TagNamesBoard("my board", "MY_BOARD"));
  EXPECT_FALSE(TagNamesBoard("My_Bored", "My Board"));
}

TEST(SubjectTag, EitherNameMayBeALeadingPieceOfTheOther) {
  EXPECT_TRUE(TagNamesBoard("My_Board", "My Board and more"));
  EXPECT_TRUE(TagNamesBoard("My_Board", "My"));
  EXPECT_TRUE(TagNamesBoard("My", "My Board"));
  EXPECT_TRUE(TagNamesBoard("", "My Board"));
  EXPECT_FALSE(TagNamesBoard("Your", "My"));
}

TEST(SubjectTag, ThirdPartIsTheAnsweredMessage) {
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:7]")), 7);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:000123]")), 123);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:_5]")), 5);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:12abc]")), 12);
}

TEST(SubjectTag, NoThirdPartAnswersNothing) {
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f]")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b]")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("none")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:]")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:x7]")), 0);
}

TEST(SubjectTag, ThirdPartOf32CharactersCountsAnd33DoNot) {
  const std::string zeros(30, '0');
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:" + zeros + "42]")), 42);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:" + zeros + "042]")), 0);
}

TEST(SubjectTag, NumbersWrapAt32BitsAndMustBeAboveZero) {
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:99999999999]")), 1215752191);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:-3]")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:0]")), 0);
  EXPECT_EQ(TagLinkId(ParseSubjectTag("[b:f:3000000000]")), 0);
}

TEST(SubjectTag, BytesOfAnyValueDoNoHarm) {
  std::string text = "[";
  for (int c = 1; c < 256; ++c) text.push_back(static_cast<char>(c));
  EXPECT_GE(ParseSubjectTag(text).count, 1);
  EXPECT_EQ(ParseSubjectTag("[\xC3\xA4:\xFF]").parts[1], "\xFF");
}

}  // namespace
}  // namespace brevant
