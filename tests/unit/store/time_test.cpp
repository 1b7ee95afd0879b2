#include <brevant/store.h>

#include <gtest/gtest.h>
#include <string>

namespace {

std::string Iso(const TTime& time) {
  const SYSTEMTIME p = time.Parts();
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", p.wYear, p.wMonth, p.wDay,
                p.wHour, p.wMinute, p.wSecond, p.wMilliseconds);
  return text;
}

TEST(Time, DefaultIsZero) {
  const TTime time;
  EXPECT_TRUE(time.IsZero());
  EXPECT_EQ(time.Ticks(), 0U);
  EXPECT_EQ(Iso(time), "1601-01-01 00:00:00.000");
}

TEST(Time, CountsHundredNanosecondsLowHalfFirst) {
  const TTime time = TTime::FromTicks(0x0123456789ABCDEFULL);
  EXPECT_EQ(time.FileTime().dwLowDateTime, 0x89ABCDEFU);
  EXPECT_EQ(time.FileTime().dwHighDateTime, 0x01234567U);
  EXPECT_EQ(time.Ticks(), 0x0123456789ABCDEFULL);
  EXPECT_EQ(sizeof(TTime), 8U);
}

TEST(Time, MadeFromCalendarParts) {
  const TTime time(2000, 1, 5, 10, 30, 45);
  EXPECT_EQ(time.Ticks(), 125915418450000000ULL);
  EXPECT_EQ(Iso(time), "2000-01-05 10:30:45.000");
  EXPECT_EQ(time.Year(), 2000);
  EXPECT_EQ(time.Month(), 1);
  EXPECT_EQ(time.Day(), 5);
  EXPECT_EQ(time.DayOfWeek(), 3);
  EXPECT_EQ(time.Hour(), 10);
  EXPECT_EQ(time.Minute(), 30);
  EXPECT_EQ(time.Second(), 45);
  EXPECT_EQ(time.Milliseconds(), 0);
}

TEST(Time, ImpossibleDatesAreZero) {
  EXPECT_TRUE(TTime(1999, 2, 30, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(1999, 2, 29, 0, 0, 0).IsZero());
  EXPECT_FALSE(TTime(2000, 2, 29, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(1900, 2, 29, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(98, 1, 1, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 0, 1, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 13, 1, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, 0, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, 1, 24, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, 1, 0, 60, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, 1, 0, 0, 60).IsZero());
}

TEST(Time, PartsThatWouldWrapToADateAreZero) {
  EXPECT_TRUE(TTime(2000, 65536 + 1, 1, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, -65535, 0, 0, 0).IsZero());
  EXPECT_TRUE(TTime(2000, 1, 1, -1, 0, 0).IsZero());
}

TEST(Time, UnixSecondsAreRoundedDown) {
  EXPECT_EQ(TTime(1970, 1, 1, 0, 0, 0).UnixSeconds(), 0);
  EXPECT_EQ(TTime(2000, 1, 1, 0, 0, 0).UnixSeconds(), 946684800);
  const TTime almost = TTime::FromTicks(TTime(2000, 1, 1, 0, 0, 1).Ticks() - 1);
  EXPECT_EQ(almost.UnixSeconds(), 946684800);
  const TTime before = TTime::FromTicks(TTime(1970, 1, 1, 0, 0, 0).Ticks() - 1);
  EXPECT_EQ(before.UnixSeconds(), -1);
  EXPECT_EQ(TTime().UnixSeconds(), -11644473600);
}

TEST(Time, UnixSecondsRoundTrip) {
  for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{-11644473600},
                                     std::int64_t{1785000000}, std::int64_t{4294967296}}) {
    EXPECT_EQ(TTime::FromUnixSeconds(seconds).UnixSeconds(), seconds);
  }
  EXPECT_EQ(Iso(TTime::FromUnixSeconds(951782400)), "2000-02-29 00:00:00.000");
}

TEST(Time, SettersReplaceOnePart) {
  TTime time(2000, 1, 31, 10, 30, 45);
  time.SetMilliseconds(7);
  EXPECT_EQ(Iso(time), "2000-01-31 10:30:45.007");
  time.SetSecond(1);
  time.SetMinute(2);
  time.SetHour(3);
  EXPECT_EQ(Iso(time), "2000-01-31 03:02:01.007");
  time.SetDay(4);
  time.SetMonth(5);
  time.SetYear(2006);
  EXPECT_EQ(Iso(time), "2006-05-04 03:02:01.007");
}

TEST(Time, SetterThatMakesNoDateGivesZero) {
  TTime time(2000, 1, 31, 10, 30, 45);
  time.SetMonth(2);
  EXPECT_TRUE(time.IsZero());
  TTime other(2000, 1, 31, 10, 30, 45);
  other.SetDay(70000);
  EXPECT_TRUE(other.IsZero());
}

TEST(Time, TimeWithoutCalendarPartsHasNone) {
  const TTime distant = TTime::FromTicks(0x8000000000000000ULL);
  EXPECT_EQ(distant.Year(), 0);
  EXPECT_EQ(distant.Month(), 0);
  EXPECT_EQ(distant.DayOfWeek(), 0);
}

TEST(Time, SpansAddAndSubtract) {
  const TTime span(1601, 1, 2, 1, 0, 0);
  const TTime time(1999, 12, 31, 23, 30, 0);
  EXPECT_EQ(Iso(time + span), "2000-01-02 00:30:00.000");
  EXPECT_EQ(Iso(time - span), "1999-12-30 22:30:00.000");
  EXPECT_EQ(time + span - span, time);
}

TEST(Time, ComparesAsUnsigned64BitNumbers) {
  EXPECT_LT(TTime(1999, 12, 31, 23, 59, 59), TTime(2000, 1, 1, 0, 0, 0));
  EXPECT_LT(TTime::FromTicks(0xFFFFFFFF), TTime::FromTicks(0x100000000));
  EXPECT_GT(TTime::FromTicks(0x8000000000000000ULL), TTime::FromTicks(1));
  EXPECT_EQ(TTime::FromTicks(5), TTime::FromTicks(5));
  EXPECT_NE(TTime::FromTicks(5), TTime::FromTicks(6));
}

TEST(Time, NowIsLocalAndGreenwichNowDiffersByWholeMinutes) {
  const TTime local = TTime::Now();
  const TTime greenwich = TTime::NowGreenwich();
  const std::int64_t difference = local.UnixSeconds() - greenwich.UnixSeconds();
  EXPECT_LE(std::abs(difference), 15 * 3600);
  const std::int64_t rest = ((difference % 900) + 900) % 900;
  EXPECT_TRUE(rest <= 2 || rest >= 898) << difference;
  EXPECT_GT(greenwich, TTime(2020, 1, 1, 0, 0, 0));
}

}  // namespace
