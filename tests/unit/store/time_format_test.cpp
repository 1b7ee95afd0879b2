#include "platform/win32.h"

#include <brevant/store.h>

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

const TTime kMorning(2000, 1, 5, 10, 30, 45);

std::string Format(const TTime& time, unsigned options, int size = 128) {
  char buffer[128];
  std::memset(buffer, '?', sizeof buffer);
  FormatTime(time, buffer, size, options);
  EXPECT_NE(std::memchr(buffer, 0, static_cast<std::size_t>(size)), nullptr);
  EXPECT_TRUE(size == 128 || buffer[size] == '?') << "written past the room";
  return buffer;
}

TEST(FormatTime, NumericDateAndTimeOfTheExample) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear | kFormatTime | kFormatSeconds),
            "1/5/0 10:30:45 AM");
}

TEST(FormatTime, NamedMonthIsDayFirst) {
  EXPECT_EQ(
      Format(kMorning, kFormatDate | kFormatYear | kFormatTime | kFormatSeconds | kFormatMonthName),
      "5 Jan 2000 10:30:45 AM");
}

TEST(FormatTime, ReversedNamedMonthIsMonthFirst) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear | kFormatTime | kFormatSeconds |
                                 kFormatMonthName | kFormatReverse),
            "Jan 5 2000 10:30:45 AM");
}

TEST(FormatTime, ReversedNumericDateIsDayFirst) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatReverse), "5/1");
  EXPECT_EQ(Format(kMorning, kFormatDate), "1/5");
}

TEST(FormatTime, NumericYearIsModuloHundredWithoutLeadingZero) {
  EXPECT_EQ(Format(TTime(2005, 12, 31, 0, 0, 0), kFormatDate | kFormatYear), "12/31/5");
  EXPECT_EQ(Format(TTime(1999, 12, 31, 0, 0, 0), kFormatDate | kFormatYear), "12/31/99");
}

TEST(FormatTime, DashAndDotReplaceTheSeparators) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear | kFormatDash), "1-5-0");
  EXPECT_EQ(Format(kMorning, kFormatTime | kFormatSeconds | kFormatDot | kFormat24Hour),
            "10.30.45");
}

TEST(FormatTime, DashDoesNotTouchNamedDates) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName | kFormatDash), "5 Jan");
}

TEST(FormatTime, ThursdayIsThr) {
  const char* const names[] = {"Sun", "Mon", "Tue", "Wed", "Thr", "Fri", "Sat"};
  for (int day = 0; day < 7; ++day) {
    EXPECT_EQ(Format(TTime(2000, 1, 2 + day, 0, 0, 0), kFormatWeekday), names[day]);
  }
}

TEST(FormatTime, WeekdayStandsInFrontWithAComma) {
  EXPECT_EQ(Format(kMorning, kFormatWeekday | kFormatDate), "Wed, 1/5");
  EXPECT_EQ(Format(kMorning, kFormatWeekday | kFormatTime | kFormat24Hour), "Wed, 10:30");
}

TEST(FormatTime, MonthNames) {
  const char* const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 1; month <= 12; ++month) {
    EXPECT_EQ(Format(TTime(2000, month, 3, 0, 0, 0), kFormatDate | kFormatMonthName),
              std::string("3 ") + names[month - 1]);
  }
}

TEST(FormatTime, TwelveHourClockCountsFromZero) {
  EXPECT_EQ(Format(TTime(2000, 1, 1, 0, 15, 0), kFormatTime), "0:15 AM");
  EXPECT_EQ(Format(TTime(2000, 1, 1, 11, 59, 0), kFormatTime), "11:59 AM");
  EXPECT_EQ(Format(TTime(2000, 1, 1, 12, 0, 0), kFormatTime), "0:00 PM");
  EXPECT_EQ(Format(TTime(2000, 1, 1, 23, 5, 0), kFormatTime), "11:05 PM");
}

TEST(FormatTime, TwentyFourHourClock) {
  EXPECT_EQ(Format(TTime(2000, 1, 1, 23, 5, 9), kFormatTime | kFormat24Hour | kFormatSeconds),
            "23:05:09");
  EXPECT_EQ(Format(TTime(2000, 1, 1, 0, 5, 9), kFormatTime | kFormat24Hour), "0:05");
}

TEST(FormatTime, SecondsAndYearNeedTheirPart) {
  EXPECT_EQ(Format(kMorning, kFormatSeconds), "");
  EXPECT_EQ(Format(kMorning, kFormatYear), "");
  EXPECT_EQ(Format(kMorning, 0), "");
}

TEST(FormatTime, TimeWithoutCalendarPartsHasNoMonthName) {
  EXPECT_EQ(Format(TTime::FromTicks(0x8000000000000000ULL), kFormatDate | kFormatMonthName), "");
}

TEST(FormatTime, FiveDigitYearIsCutAtTheBuffersEnd) {
  const TTime distant(30000, 1, 5, 0, 0, 0);
  EXPECT_EQ(Format(distant, kFormatDate | kFormatMonthName | kFormatYear), "5 Jan 30000");
  EXPECT_EQ(Format(distant, kFormatDate | kFormatMonthName | kFormatYear, 11), "5 Jan 3000");
}

TEST(FormatTimeRoom, NothingIsWrittenWithoutABuffer) {
  char buffer[2] = {'x', 'y'};
  FormatTime(kMorning, buffer, 0, kFormatDate);
  EXPECT_EQ(buffer[0], 'x');
  FormatTime(kMorning, nullptr, 10, kFormatDate);
}

TEST(FormatTimeRoom, SizeOneHoldsTheTerminatorOnly) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatTime | kFormatWeekday | kFormatZone, 1), "");
}

TEST(FormatTimeRoom, WeekdayNeedsMoreThanFive) {
  EXPECT_EQ(Format(kMorning, kFormatWeekday, 5), "");
  EXPECT_EQ(Format(kMorning, kFormatWeekday, 6), "Wed");
}

TEST(FormatTimeRoom, CommaNeedsMoreThanTwo) {
  EXPECT_EQ(Format(kMorning, kFormatWeekday | kFormatDate, 6), "Wed, ");
  EXPECT_EQ(Format(kMorning, kFormatWeekday | kFormatDate, 3), ", ");
  EXPECT_EQ(Format(kMorning, kFormatWeekday | kFormatDate, 2), "");
}

TEST(FormatTimeRoom, NumericDateNeedsMoreThanFive) {
  EXPECT_EQ(Format(kMorning, kFormatDate, 5), "");
  EXPECT_EQ(Format(kMorning, kFormatDate, 6), "1/5");
}

TEST(FormatTimeRoom, NumericYearNeedsMoreThanThree) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear, 6), "1/5");
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear, 7), "1/5/0");
  // Each piece looks at the room alone: a year stands where its date did not fit.
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatYear, 4), "/0");
}

TEST(FormatTimeRoom, NamedDateNeedsMoreThanSix) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName, 6), "");
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName | kFormatYear, 6), "");
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName, 7), "5 Jan");
}

TEST(FormatTimeRoom, FullYearNeedsMoreThanFive) {
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName | kFormatYear, 10), "5 Jan");
  EXPECT_EQ(Format(kMorning, kFormatDate | kFormatMonthName | kFormatYear, 11), "5 Jan 2000");
}

TEST(FormatTimeRoom, BlankAfterTheDateNeedsMoreThanOne) {
  EXPECT_EQ(Format(TTime(2000, 12, 31, 0, 0, 0), kFormatDate | kFormatTime, 6), "12/31");
  EXPECT_EQ(Format(TTime(2000, 12, 31, 0, 0, 0), kFormatDate | kFormatTime, 7), "12/31 ");
}

TEST(FormatTimeRoom, TimeOfDayPieces) {
  const unsigned options = kFormatTime | kFormatSeconds;
  EXPECT_EQ(Format(kMorning, options | kFormat24Hour, 5), ":45");
  EXPECT_EQ(Format(kMorning, options | kFormat24Hour, 6), "10:30");
  EXPECT_EQ(Format(kMorning, options | kFormat24Hour, 9), "10:30:45");
  EXPECT_EQ(Format(kMorning, options, 9), "10:30:45");
  EXPECT_EQ(Format(kMorning, options, 11), "10:30:45");
  EXPECT_EQ(Format(kMorning, options, 12), "10:30:45 AM");
}

TEST(FormatTimeRoom, GreenwichTextNeedsMoreThanFour) {
  EXPECT_EQ(Format(kMorning, kFormatGreenwich | kFormatZone, 4), "");
  EXPECT_EQ(Format(kMorning, kFormatGreenwich | kFormatZone, 5), " GMT");
}

LONG StandardBias() {
  TIME_ZONE_INFORMATION zone{};
  GetTimeZoneInformation(&zone);
  return zone.Bias + zone.StandardBias;
}

std::string StandardName() {
  TIME_ZONE_INFORMATION zone{};
  GetTimeZoneInformation(&zone);
  std::string name;
  for (int i = 0; i < 32 && zone.StandardName[i] != 0; ++i) {
    name += static_cast<char>(zone.StandardName[i]);
  }
  return name;
}

// True when the program was started with the named zone.
bool ZoneIs(const char* name) {
  const char* zone = std::getenv("TZ");
  return zone != nullptr && std::strcmp(zone, name) == 0;
}

TEST(FormatTimeZone, GreenwichShiftsByTheStandardBiasInSummerToo) {
  if (ZoneIs("Europe/Berlin")) {
    EXPECT_EQ(StandardBias(), -60);
  }
  if (ZoneIs("America/New_York")) {
    EXPECT_EQ(StandardBias(), 300);
  }
  for (const int month : {1, 7}) {
    const TTime local(2001, month, 15, 12, 0, 0);
    const TTime shifted = TTime::FromUnixSeconds(local.UnixSeconds() + StandardBias() * 60);
    const unsigned options = kFormatDate | kFormatTime | kFormat24Hour;
    EXPECT_EQ(Format(local, options | kFormatGreenwich | kFormatZone),
              Format(shifted, options) + " GMT");
  }
}

TEST(FormatTimeZone, GreenwichWithoutZoneTextOnlyShifts) {
  const TTime local(2001, 7, 15, 12, 0, 0);
  const TTime shifted = TTime::FromUnixSeconds(local.UnixSeconds() + StandardBias() * 60);
  EXPECT_EQ(Format(local, kFormatTime | kFormatGreenwich), Format(shifted, kFormatTime));
}

TEST(FormatTimeZone, StandardNameOfTheZone) {
  const std::string name = StandardName();
  const std::string expected = name.empty() ? "10:30" : "10:30 " + name;
  EXPECT_EQ(Format(kMorning, kFormatTime | kFormat24Hour | kFormatZone), expected);
}

TEST(FormatTimeZone, NameThatDoesNotFitIsLeftOut) {
  const std::string name = StandardName();
  if (name.empty()) GTEST_SKIP() << "the zone of this machine has no standard name";
  const int whole = static_cast<int>(name.size()) + 2;
  EXPECT_EQ(Format(kMorning, kFormatZone, whole), " " + name);
  EXPECT_EQ(Format(kMorning, kFormatZone, whole - 1), "");
}

}  // namespace
