#include <brevant/store.h>

#include <gtest/gtest.h>
#include <string>

namespace {

struct Read {
  int result = 0;
  int a = -77;
  int b = -77;
  int c = -77;
  bool operator==(const Read&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Read& read) {
  return out << read.result << ": " << read.a << "," << read.b << "," << read.c;
}

const Read kFailed;

Read Date(const char* text) {
  Read read;
  read.result = ParseDate(text, &read.a, &read.b, &read.c);
  return read;
}

Read TimeOfDay(const char* text) {
  Read read;
  read.result = ParseTime(text, &read.a, &read.b, &read.c);
  return read;
}

Read Is(int a, int b, int c) { return {1, a, b, c}; }

TEST(ParseDate, NamedMonthWithoutYearIsOfTheCurrentYear) {
  EXPECT_EQ(Date("Jan-5"), Is(1, 5, TTime::Now().Year()));
  EXPECT_EQ(Date("5-Jan"), Is(1, 5, TTime::Now().Year()));
  EXPECT_EQ(Date("Jan/5"), Is(1, 5, TTime::Now().Year()));
  EXPECT_EQ(Date("5/Jan"), Is(1, 5, TTime::Now().Year()));
}

TEST(ParseDate, NumbersWithoutYear) {
  EXPECT_EQ(Date("3-4"), Is(3, 4, TTime::Now().Year()));
  EXPECT_EQ(Date("3/4"), Is(3, 4, TTime::Now().Year()));
}

TEST(ParseDate, DayFirstDatesAreSwapped) { EXPECT_EQ(Date("25/3/99"), Is(3, 25, 1999)); }

TEST(ParseDate, DayTwelveIsNotSwapped) { EXPECT_EQ(Date("13/12/99"), Is(13, 12, 1999)); }

TEST(ParseDate, TwoNumbersAboveTwelveStay) { EXPECT_EQ(Date("25/13/99"), Is(25, 13, 1999)); }

TEST(ParseDate, DashedForms) {
  EXPECT_EQ(Date("3-4-2001"), Is(3, 4, 2001));
  EXPECT_EQ(Date("4-Mar-2001"), Is(3, 4, 2001));
  EXPECT_EQ(Date("Mar-4-2001"), Is(3, 4, 2001));
}

TEST(ParseDate, MonthNamesIgnoreCase) {
  EXPECT_EQ(Date("4-mAR-2001"), Is(3, 4, 2001));
  EXPECT_EQ(Date("DEC-31-1999"), Is(12, 31, 1999));
}

TEST(ParseDate, AllMonthNames) {
  const char* const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 1; month <= 12; ++month) {
    EXPECT_EQ(Date((std::string("7-") + names[month - 1] + "-1999").c_str()), Is(month, 7, 1999));
  }
}

TEST(ParseDate, UnknownMonthNamesFail) {
  EXPECT_EQ(Date("4-Mrz-2001"), kFailed);
  EXPECT_EQ(Date("Foo-4"), kFailed);
  EXPECT_EQ(Date("Foo/4"), kFailed);
}

TEST(ParseDate, LongMonthNamesFailSinceThreeLettersAreRead) {
  EXPECT_EQ(Date("4-March-2001"), kFailed);
  EXPECT_EQ(Date("March-4-2001"), kFailed);
}

TEST(ParseDate, LongMonthNameAtTheEndReads) {
  EXPECT_EQ(Date("4-March"), Is(3, 4, TTime::Now().Year()));
}

TEST(ParseDate, ShortMonthNamesFail) { EXPECT_EQ(Date("4-Ma-2001"), kFailed); }

TEST(ParseDate, YearsBelowHundredCountFrom1900) {
  EXPECT_EQ(Date("1/2/05"), Is(1, 2, 1905));
  EXPECT_EQ(Date("1/2/99"), Is(1, 2, 1999));
  EXPECT_EQ(Date("1/2/100"), Is(1, 2, 100));
  EXPECT_EQ(Date("1/2/-5"), kFailed) << "a dash anywhere makes it a dashed date";
}

TEST(ParseDate, SlashDatesWithANameAndAYearFail) {
  EXPECT_EQ(Date("4/Mar/2001"), kFailed);
  EXPECT_EQ(Date("Mar/4/2001"), kFailed);
}

TEST(ParseDate, ADashGoesBeforeASlash) {
  EXPECT_EQ(Date("1/2-3"), kFailed);
  EXPECT_EQ(Date("3-4/5"), Is(3, 4, TTime::Now().Year()));
}

TEST(ParseDate, NumbersTakeBlanksAndSigns) {
  EXPECT_EQ(Date("  3- 4-  2001"), Is(3, 4, 2001));
  EXPECT_EQ(Date("+3/+4/+2001"), Is(3, 4, 2001));
  EXPECT_EQ(Date("3--4-2001"), Is(3, -4, 2001));
  EXPECT_EQ(Date("3 -4-2001"), kFailed) << "a separator follows its number directly";
}

TEST(ParseDate, TextAfterTheDateIsIgnored) {
  EXPECT_EQ(Date("3/4/2001 and more"), Is(3, 4, 2001));
  EXPECT_EQ(Date("3-4-2001-5"), Is(3, 4, 2001));
}

TEST(ParseDate, NumbersWrap) { EXPECT_EQ(Date("1/2/99999999999"), Is(1, 2, 1215752191)); }

TEST(ParseDate, TextsWithoutSeparatorFail) {
  EXPECT_EQ(Date(""), kFailed);
  EXPECT_EQ(Date("today"), kFailed);
  EXPECT_EQ(Date("20010304"), kFailed);
  EXPECT_EQ(Date(nullptr), kFailed);
}

TEST(ParseDate, IncompleteDatesFail) {
  EXPECT_EQ(Date("3-"), kFailed);
  EXPECT_EQ(Date("-3"), kFailed);
  EXPECT_EQ(Date("3-4-"), kFailed);
  EXPECT_EQ(Date("3/4/"), kFailed);
  EXPECT_EQ(Date("/"), kFailed);
  EXPECT_EQ(Date("--"), kFailed);
}

TEST(ParseTime, HourAndMinute) { EXPECT_EQ(TimeOfDay("12:30"), Is(12, 30, 0)); }

TEST(ParseTime, WithSeconds) { EXPECT_EQ(TimeOfDay("12:30:15"), Is(12, 30, 15)); }

TEST(ParseTime, WithoutColonFails) {
  EXPECT_EQ(TimeOfDay("1230"), kFailed);
  EXPECT_EQ(TimeOfDay(""), kFailed);
  EXPECT_EQ(TimeOfDay(nullptr), kFailed);
}

TEST(ParseTime, EveryFieldIsNeeded) {
  EXPECT_EQ(TimeOfDay("12:"), kFailed);
  EXPECT_EQ(TimeOfDay(":30"), kFailed);
  EXPECT_EQ(TimeOfDay("12:30:"), kFailed);
  EXPECT_EQ(TimeOfDay("12:x:15"), kFailed);
}

TEST(ParseTime, RangesAreNotChecked) { EXPECT_EQ(TimeOfDay("99:-1:1000"), Is(99, -1, 1000)); }

TEST(ParseTime, TextAfterTheTimeIsIgnored) {
  EXPECT_EQ(TimeOfDay("9:05 PM"), Is(9, 5, 0));
  EXPECT_EQ(TimeOfDay("9:05:07:11"), Is(9, 5, 7));
}

}  // namespace
