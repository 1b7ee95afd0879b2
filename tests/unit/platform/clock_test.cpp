#include "platform/win32.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

std::uint64_t Ticks(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

FILETIME FromTicks(std::uint64_t ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

constexpr std::uint64_t kSecond = 10'000'000;
constexpr std::uint64_t kStartOf1970 = 11'644'473'600ULL * kSecond;

SYSTEMTIME Parts(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  SYSTEMTIME parts{};
  parts.wYear = static_cast<WORD>(year);
  parts.wMonth = static_cast<WORD>(month);
  parts.wDay = static_cast<WORD>(day);
  parts.wHour = static_cast<WORD>(hour);
  parts.wMinute = static_cast<WORD>(minute);
  parts.wSecond = static_cast<WORD>(second);
  return parts;
}

std::uint64_t TicksOf(const SYSTEMTIME& parts) {
  FILETIME time{};
  EXPECT_TRUE(SystemTimeToFileTime(&parts, &time));
  return Ticks(time);
}

TEST(Clock, KnownMoments) {
  EXPECT_EQ(TicksOf(Parts(1601, 1, 1)), 0U);
  EXPECT_EQ(TicksOf(Parts(1970, 1, 1)), kStartOf1970);
  EXPECT_EQ(TicksOf(Parts(2000, 2, 29, 12, 34, 56)), kStartOf1970 + 951'827'696ULL * kSecond);
  EXPECT_EQ(TicksOf(Parts(2100, 3, 1)), kStartOf1970 + 4'107'542'400ULL * kSecond);
}

TEST(Clock, MillisecondsCount) {
  SYSTEMTIME parts = Parts(1970, 1, 1);
  parts.wMilliseconds = 999;
  EXPECT_EQ(TicksOf(parts), kStartOf1970 + 9'990'000);
}

TEST(Clock, PartsThatAreNoDateAreRefused) {
  FILETIME time{};
  for (const SYSTEMTIME& parts :
       {Parts(1600, 12, 31), Parts(2001, 4, 31), Parts(2001, 0, 1), Parts(2001, 13, 1),
        Parts(2001, 1, 0), Parts(2001, 1, 32), Parts(2001, 1, 1, 24), Parts(2001, 1, 1, 0, 60),
        Parts(2001, 1, 1, 0, 0, 60)}) {
    EXPECT_FALSE(SystemTimeToFileTime(&parts, &time))
        << parts.wYear << "-" << parts.wMonth << "-" << parts.wDay;
  }
  SYSTEMTIME parts = Parts(2001, 1, 1);
  parts.wMilliseconds = 1000;
  EXPECT_FALSE(SystemTimeToFileTime(&parts, &time));
}

TEST(Clock, RoundTripOverFourCenturies) {
  for (std::uint64_t day = 0; day < 146'097U * 2; day += 13) {
    const FILETIME time = FromTicks((day * 86400 + day % 86400) * kSecond);
    SYSTEMTIME parts{};
    ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
    ASSERT_EQ(TicksOf(parts), Ticks(time));
    ASSERT_EQ(parts.wDayOfWeek, (day + 1) % 7);  // 1601-01-01 was a Monday
  }
}

TEST(Clock, TimesBeyondTheCalendarAreRefused) {
  const FILETIME time = FromTicks(0x8000000000000000);
  SYSTEMTIME parts{};
  EXPECT_FALSE(FileTimeToSystemTime(&time, &parts));
}

TEST(Clock, LastMomentOfTheCalendar) {
  const FILETIME time = FromTicks(0x7FFFFFFFFFFFFFFF);
  SYSTEMTIME parts{};
  ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
  EXPECT_EQ(parts.wYear, 30828);
  EXPECT_EQ(parts.wMonth, 9);
  EXPECT_EQ(parts.wDay, 14);
}

TEST(Clock, LocalTimeIsGreenwichTimeLessTheBiasOfToday) {
  TIME_ZONE_INFORMATION zone{};
  const DWORD kind = GetTimeZoneInformation(&zone);
  ASSERT_NE(kind, TIME_ZONE_ID_INVALID);
  const LONG bias =
      zone.Bias + (kind == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : zone.StandardBias);
  // A winter's and a summer's day are shifted alike.
  for (const SYSTEMTIME& day : {Parts(1999, 1, 15), Parts(1999, 7, 15)}) {
    const FILETIME time = FromTicks(TicksOf(day));
    FILETIME local{};
    FILETIME back{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&time, &local));
    EXPECT_EQ(static_cast<std::int64_t>(Ticks(time) - Ticks(local)),
              bias * 60 * static_cast<std::int64_t>(kSecond));
    ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
    EXPECT_EQ(Ticks(back), Ticks(time));
  }
}

TEST(Clock, NowsAgree) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  SYSTEMTIME greenwich{};
  SYSTEMTIME local{};
  GetSystemTime(&greenwich);
  GetLocalTime(&local);
  FILETIME asLocal{};
  ASSERT_TRUE(FileTimeToLocalFileTime(&now, &asLocal));
  EXPECT_LT(TicksOf(greenwich) - Ticks(now) + kSecond, 11 * kSecond);
  EXPECT_LT(TicksOf(local) - Ticks(asLocal) + kSecond, 11 * kSecond);
}

TEST(Clock, Compare) {
  const FILETIME a = FromTicks(0x1FFFFFFFF);
  const FILETIME b = FromTicks(0x200000000);
  EXPECT_EQ(CompareFileTime(&a, &b), -1);
  EXPECT_EQ(CompareFileTime(&b, &a), 1);
  EXPECT_EQ(CompareFileTime(&a, &a), 0);
}

TEST(Clock, ZoneNamesAreThere) {
  TIME_ZONE_INFORMATION zone{};
  GetTimeZoneInformation(&zone);
  EXPECT_NE(zone.StandardName[0], 0);
  EXPECT_NE(zone.DaylightName[0], 0);
}

TEST(Clock, SleepSleeps) {
  const DWORD before = GetTickCount();
  Sleep(30);
  const DWORD passed = GetTickCount() - before;
  EXPECT_GE(passed, 15U);  // ticks may be coarse
  EXPECT_LT(passed, 5000U);
}

}  // namespace
