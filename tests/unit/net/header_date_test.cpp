#include "net/header_date.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using brevant::ParseHeaderDate;
using brevant::ParseHeaderDateStandard;

TTime Plain(const std::string& value) { return ParseHeaderDate(value); }

// The same instant as stored times have it: local, by today's bias.
TTime FromGreenwich(const TTime& time) {
  FILETIME local{};
  FileTimeToLocalFileTime(&time.FileTime(), &local);
  return TTime(local);
}

TEST(HeaderDate, OrdinaryDateWithoutItsZone) {
  EXPECT_EQ(Plain("Tue, 2 Jun 1998 10:20:30 +0200"), TTime(1998, 6, 2, 10, 20, 30));
}

TEST(HeaderDate, DayOneIsNotTakenNorTheYearBehindIt) {
  const TTime now = TTime::Now();
  const TTime time = Plain("Mon, 1 Jun 1998 10:20:30 +0200");
  if (now.Day() == 31) {
    EXPECT_TRUE(time.IsZero());  // June has no such day
  } else {
    EXPECT_EQ(time, TTime(now.Year(), 6, now.Day(), 10, 20, 30));
  }
}

TEST(HeaderDate, Day31IsNotTaken) {
  const TTime now = TTime::Now();
  EXPECT_EQ(Plain("31 Jul 1998 10:20:30"), TTime(now.Year(), 7, now.Day(), 10, 20, 30));
}

TEST(HeaderDate, Days2And30AreTaken) {
  EXPECT_EQ(Plain("2 Jul 1998 1:02"), TTime(1998, 7, 2, 1, 2, 0));
  EXPECT_EQ(Plain("30 Jul 1998 1:02"), TTime(1998, 7, 30, 1, 2, 0));
}

TEST(HeaderDate, ATwoDigitYearIsNoDate) {
  EXPECT_TRUE(Plain("Tue, 2 Jun 98 10:20:30 GMT").IsZero());
}

TEST(HeaderDate, YearBounds) {
  const int year = TTime::Now().Year();
  EXPECT_EQ(Plain("2 Jun 1901 10:20:30"), TTime(1901, 6, 2, 10, 20, 30));
  EXPECT_EQ(Plain("2 Jun 2099 10:20:30"), TTime(2099, 6, 2, 10, 20, 30));
  EXPECT_EQ(Plain("2 Jun 1900 10:20:30"), TTime(year, 6, 2, 10, 20, 30));
  EXPECT_EQ(Plain("2 Jun 2100 10:20:30"), TTime(year, 6, 2, 10, 20, 30));
  EXPECT_EQ(Plain("2 Jun 99 10:20:30"), TTime(year, 6, 2, 10, 20, 30));
}

TEST(HeaderDate, TheDayMayFollowTheMonth) {
  EXPECT_EQ(Plain("June 5 1998 10:20:30"), TTime(1998, 6, 5, 10, 20, 30));
  EXPECT_EQ(Plain("jUN 5 1998 10:20"), TTime(1998, 6, 5, 10, 20, 0));
}

TEST(HeaderDate, AYearBehindTheTimeIsNotFound) {
  EXPECT_EQ(Plain("Tue Jun 2 10:20:30 1998"), TTime(TTime::Now().Year(), 6, 2, 10, 20, 30));
}

TEST(HeaderDate, WithoutAMonthTheNumbersAreNotLookedAt) {
  const TTime now = TTime::Now();
  EXPECT_EQ(Plain("2 1998 10:20:30"), TTime(now.Year(), now.Month(), now.Day(), 10, 20, 30));
}

TEST(HeaderDate, WithoutATimeTheCurrentHourAndMinuteAndNoSeconds) {
  const TTime before = TTime::Now();
  const TTime time = Plain("2 Jun 1998");
  const TTime after = TTime::Now();
  const auto at = [](const TTime& now) { return TTime(1998, 6, 2, now.Hour(), now.Minute(), 0); };
  EXPECT_TRUE(time == at(before) || time == at(after));
}

TEST(HeaderDate, NothingAtAllIsNow) {
  EXPECT_NEAR(static_cast<double>(Plain("").UnixSeconds()),
              static_cast<double>(TTime::Now().UnixSeconds()), 60);
}

TEST(HeaderDate, WordsOf80CharactersAreIgnored) {
  EXPECT_EQ(Plain(std::string(80, 'x') + " 2 " + std::string(100, '9') + " Jun 1998 10:20:30"),
            TTime(1998, 6, 2, 10, 20, 30));
}

TEST(HeaderDate, HugeNumbersAndPartsThatAreNoTimeAreHarmless) {
  EXPECT_TRUE(Plain("2 Jun 1998 99:99:99").IsZero());
  EXPECT_EQ(Plain("2 Jun 99999999999999999999 10:20:30").Month(), 6);
}

TEST(HeaderDateStandard, TheInstantInLocalTime) {
  EXPECT_EQ(ParseHeaderDateStandard("Mon, 1 Jun 1998 10:20:30 +0200"),
            FromGreenwich(TTime(1998, 6, 1, 8, 20, 30)));
  EXPECT_EQ(ParseHeaderDateStandard("Fri, 31 Jul 1998 23:30:00 -0130"),
            FromGreenwich(TTime(1998, 8, 1, 1, 0, 0)));
}

TEST(HeaderDateStandard, NamedZones) {
  const TTime greenwich = FromGreenwich(TTime(1998, 6, 1, 10, 20, 30));
  for (const char* zone : {"GMT", "UT", "UTC", "Z", "-0000", "+0000", "gmt"}) {
    EXPECT_EQ(ParseHeaderDateStandard(std::string("1 Jun 1998 10:20:30 ") + zone), greenwich)
        << zone;
  }
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 1998 05:20:30 EST"), greenwich);
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 1998 03:20:30 PDT"), greenwich);
}

TEST(HeaderDateStandard, WithoutAZoneTheTimeIsLocal) {
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 1998 10:20:30"), TTime(1998, 6, 1, 10, 20, 30));
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 1998 10:20:30 nowhere"), TTime(1998, 6, 1, 10, 20, 30));
}

TEST(HeaderDateStandard, YearsOfTwoAndThreeDigits) {
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 98 10:20").Year(), 1998);
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 05 10:20").Year(), 2005);
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 50 10:20").Year(), 1950);
  EXPECT_EQ(ParseHeaderDateStandard("1 Jun 104 10:20").Year(), 2004);
}

TEST(HeaderDateStandard, CommentsAndOtherOrders) {
  EXPECT_EQ(ParseHeaderDateStandard("Mon (day), 1 Jun 1998 (a (b) c) 10:20:30"),
            TTime(1998, 6, 1, 10, 20, 30));
  EXPECT_EQ(ParseHeaderDateStandard("Mon Jun  1 10:20:30 1998"), TTime(1998, 6, 1, 10, 20, 30));
}

TEST(HeaderDateStandard, ALeapSecondIsTheSecondBefore) {
  EXPECT_EQ(ParseHeaderDateStandard("31 Dec 1998 23:59:60"), TTime(1998, 12, 31, 23, 59, 59));
}

TEST(HeaderDateStandard, WhatIsNoDateIsNow) {
  for (const char* value : {"", "yesterday", "32 Jun 1998 10:20", "1 Jun 1998 25:00:00",
                            "30 Feb 1998 10:00:00", "(((((", "1 Jun 98765 10:20"}) {
    EXPECT_NEAR(static_cast<double>(ParseHeaderDateStandard(value).UnixSeconds()),
                static_cast<double>(TTime::Now().UnixSeconds()), 5)
        << value;
  }
}

TEST(HeaderDateStandard, AZoneThatLeadsBeforeAllTimesIsLeftOut) {
  EXPECT_EQ(ParseHeaderDateStandard("1 Jan 1601 01:00:00 +0200"), TTime(1601, 1, 1, 1, 0, 0));
  EXPECT_EQ(ParseHeaderDateStandard("2 Jan 1601 01:00:00 +9959"), TTime(1601, 1, 2, 1, 0, 0));
}

}  // namespace
