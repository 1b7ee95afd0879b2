// The option words of arguments, the posting addresses and the references of page fields.
#include "text/field_words.h"
#include "text/page_fields.h"
#include "text/posting_address.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

TEST(FieldWords, AWordStandsAloneOrBetweenBlanksAndPlusSigns) {
  EXPECT_TRUE(HasOptionWord("American", "American"));
  EXPECT_TRUE(HasOptionWord("24HR American", "American"));
  EXPECT_TRUE(HasOptionWord("American+24HR", "American"));
  EXPECT_TRUE(HasOptionWord("24HR+American+Dash", "American"));
  EXPECT_FALSE(HasOptionWord("", "American"));
  EXPECT_FALSE(HasOptionWord("Americana", "American"));
  EXPECT_FALSE(HasOptionWord("XAmerican", "American"));
  EXPECT_FALSE(HasOptionWord("american", "American"));
}

TEST(FieldWords, OnlyTheFirstOccurrenceIsLookedAt) {
  EXPECT_FALSE(HasOptionWord("Seconds Second", "Second"));
  EXPECT_TRUE(HasOptionWord("Second Seconds", "Second"));
}

TEST(FieldWords, EveryTimeWordSetsItsBits) {
  EXPECT_EQ(TimeFormatOf("American", 1045), 1045U | 0x800U);
  EXPECT_EQ(TimeFormatOf("24HR", 2), 2U | 0x200U);
  EXPECT_EQ(TimeFormatOf("24 Hour", 2), 2U | 0x200U);
  EXPECT_EQ(TimeFormatOf("Zone", 2), 2U | 0x2000U);
  EXPECT_EQ(TimeFormatOf("Dash", 1045), 1045U | 0x1000U);
  EXPECT_EQ(TimeFormatOf("Second", 2), 2U | 0x20U);
  EXPECT_EQ(TimeFormatOf("American+24HR Dash", 1045), 1045U | 0x800U | 0x200U | 0x1000U);
  EXPECT_EQ(TimeFormatOf("", 1045), 1045U);
  EXPECT_EQ(TimeFormatOf("Unknown", 2), 2U);
}

TEST(FieldWords, TimeZoneSetsTheBitsOfZoneToo) {
  EXPECT_EQ(TimeFormatOf("Time Zone", 2), 2U | 0x8U | 0x2000U);
}

TEST(FieldWords, ShortAndNoYearOnlyTakeAwaySeconds) {
  EXPECT_EQ(TimeFormatOf("Second+Short", 2), 2U);
  EXPECT_EQ(TimeFormatOf("No Year+Second", 2), 2U);
  EXPECT_EQ(TimeFormatOf("Short", 1045), 1045U);
  EXPECT_EQ(TimeFormatOf("No Year+American", 1045), 1045U | 0x800U);
}

TEST(PostingAddresses, TagsAreBracketedPartsWithoutBlanks) {
  EXPECT_EQ(SubjectTag("My Board", "General Talk"), "[My_Board:General_Talk]");
  EXPECT_EQ(SubjectTag("My Board"), "[My_Board]");
  EXPECT_EQ(SubjectTag("B", "A b c", "12"), "[B:A_b_c:12]");
}

TEST(PostingAddresses, TheTagIsTheDisplayNameOfTheBoardsAddress) {
  EXPECT_EQ(PostingAddress("[B:F]", "board@example.org"), "mailto:\"[B:F]\"<board@example.org>");
}

void ExpectReference(std::string_view reference, int current, int count, TReference what,
                     int position = -1) {
  const TReferenceResult result = ResolveReference(reference, current, count);
  EXPECT_EQ(result.what, what) << reference;
  EXPECT_EQ(result.position, position) << reference;
}

TEST(References, KeywordsNameEntriesOfTheList) {
  for (const char* word : {"", "*", "All", "~", "Current"}) {
    ExpectReference(word, 1, 3, TReference::kEntry, 1);
    ExpectReference(word, -1, 3, TReference::kNone);
  }
  for (const char* word : {"Prev", "Previous"}) {
    ExpectReference(word, 1, 3, TReference::kEntry, 0);
    ExpectReference(word, 0, 3, TReference::kNone);
    ExpectReference(word, -1, 3, TReference::kNone);
  }
  ExpectReference("Next", 1, 3, TReference::kEntry, 2);
  ExpectReference("Next", 2, 3, TReference::kNone);
  ExpectReference("Next", -1, 3, TReference::kNone);
  ExpectReference("First", -1, 3, TReference::kEntry, 0);
  ExpectReference("First", -1, 0, TReference::kNone);
  ExpectReference("Last", 0, 3, TReference::kEntry, 2);
  ExpectReference("Last", -1, 0, TReference::kNone);
}

TEST(References, KeywordsAreComparedExactly) {
  for (const char* word : {"next", "PREV", "first", "Next ", "all", "General Talk"}) {
    ExpectReference(word, 1, 3, TReference::kIdentifier);
  }
}

TEST(ObjectKinds, HaveWordsForMessages) {
  EXPECT_STREQ(ObjectKindWord(1), "message forum");
  EXPECT_STREQ(ObjectKindWord(2), "contributor");
  EXPECT_STREQ(ObjectKindWord(3), "resource list");
  EXPECT_STREQ(ObjectKindWord(4), "survey question");
  EXPECT_STREQ(ObjectKindWord(0), "message forum");
  EXPECT_STREQ(ObjectKindWord(99), "message forum");
}

}  // namespace
}  // namespace brevant
