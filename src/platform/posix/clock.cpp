#include "platform/posix/clock.h"

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"
#include "platform/posix/times.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>

namespace {

using brevant::posix::Fail;
using brevant::posix::FromTicks;
using brevant::posix::kTicksPerSecond;
using brevant::posix::Ticks;

constexpr std::uint64_t kLastTick = 0x7FFFFFFFFFFFFFFF;  // later values are no calendar dates
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr int kDaysPer400Years = 146097;

bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days since 1601-01-01, the first day of a cycle of 400 years, for years from 1601.
std::int64_t DaysSince1601(int year, int month, int day) {
  const std::int64_t years = year - 1601;
  std::int64_t days = years * 365 + years / 4 - years / 100 + years / 400;
  for (int m = 1; m < month; ++m) days += DaysInMonth(year, m);
  return days + day - 1;
}

void DateFromDays(std::int64_t days, int* year, int* month, int* day) {
  *year = 1601 + static_cast<int>(days / kDaysPer400Years) * 400;
  auto rest = static_cast<int>(days % kDaysPer400Years);
  const int centuries = std::min(rest / 36524, 3);
  rest -= centuries * 36524;
  const int fours = rest / 1461;
  rest -= fours * 1461;
  const int years = std::min(rest / 365, 3);
  rest -= years * 365;
  *year += centuries * 100 + fours * 4 + years;
  *month = 1;
  while (rest >= DaysInMonth(*year, *month)) rest -= DaysInMonth(*year, (*month)++);
  *day = rest + 1;
}

void Split(std::uint64_t ticks, SYSTEMTIME* parts) {
  const auto seconds = static_cast<std::int64_t>(ticks / kTicksPerSecond);
  const std::int64_t days = seconds / kSecondsPerDay;
  const auto inDay = static_cast<int>(seconds % kSecondsPerDay);
  int year = 0;
  int month = 0;
  int day = 0;
  DateFromDays(days, &year, &month, &day);
  parts->wYear = static_cast<WORD>(year);
  parts->wMonth = static_cast<WORD>(month);
  parts->wDayOfWeek = static_cast<WORD>((days + 1) % 7);  // 1601-01-01 was a Monday
  parts->wDay = static_cast<WORD>(day);
  parts->wHour = static_cast<WORD>(inDay / 3600);
  parts->wMinute = static_cast<WORD>(inDay / 60 % 60);
  parts->wSecond = static_cast<WORD>(inDay % 60);
  parts->wMilliseconds = static_cast<WORD>(ticks / 10'000 % 1000);
}

FILETIME Now() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return brevant::posix::ToFileTime(now);
}

// Reads the zone again, so that a change of TZ is seen at once and one of the system's zone within
// a second: without TZ each look is a call into the file system, and every mail asks for several
// times.
void UpdateZone() {
  constexpr std::size_t kLongest = 64;
  static std::mutex mutex;
  static char known[kLongest];
  static bool isSet = false;
  static time_t looked = -1;
  const char* zone = std::getenv("TZ");
  const std::string_view wanted = zone == nullptr ? std::string_view() : zone;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const std::lock_guard<std::mutex> guard(mutex);
  if (looked == now.tv_sec && isSet == (zone != nullptr) && wanted == known) return;
  ::tzset();
  // A longer name is read again each time.
  isSet = zone != nullptr;
  looked = wanted.size() < kLongest ? now.tv_sec : -1;
  known[wanted.copy(known, kLongest - 1)] = '\0';
}

// Broken-down local time.
tm LocalParts(time_t seconds) {
  tm parts{};
  UpdateZone();
  if (::localtime_r(&seconds, &parts) == nullptr) parts = {};
  return parts;
}

// Seconds that local time is ahead of Greenwich today.
std::int64_t OffsetToday() { return LocalParts(::time(nullptr)).tm_gmtoff; }

BOOL Shift(const FILETIME* from, FILETIME* to, std::int64_t seconds) {
  if (from == nullptr || to == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const std::uint64_t ticks = Ticks(*from);
  const auto distance = static_cast<std::uint64_t>(seconds < 0 ? -seconds : seconds) *
                        static_cast<std::uint64_t>(kTicksPerSecond);
  if (ticks > kLastTick || (seconds < 0 && ticks < distance)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *to = FromTicks(seconds < 0 ? ticks - distance : ticks + distance);
  return TRUE;
}

template <std::size_t N>
void CopyZoneName(OLECHAR (&target)[N], const char* name) {
  std::size_t i = 0;
  for (; name != nullptr && name[i] != '\0' && i + 1 < N; ++i) {
    target[i] = static_cast<unsigned char>(name[i]);
  }
  target[i] = u'\0';
}

}  // namespace

void GetSystemTimeAsFileTime(FILETIME* time) { *time = Now(); }

void GetSystemTime(SYSTEMTIME* time) { Split(Ticks(Now()), time); }

void GetLocalTime(SYSTEMTIME* time) {
  const FILETIME now = Now();
  FILETIME local = now;
  Shift(&now, &local, OffsetToday());
  Split(Ticks(local), time);
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* parts, FILETIME* time) {
  if (parts == nullptr || time == nullptr || parts->wYear < 1601 || parts->wYear > 30827 ||
      parts->wMonth < 1 || parts->wMonth > 12 || parts->wDay < 1 ||
      parts->wDay > DaysInMonth(parts->wYear, parts->wMonth) || parts->wHour > 23 ||
      parts->wMinute > 59 || parts->wSecond > 59 || parts->wMilliseconds > 999) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const std::int64_t seconds =
      DaysSince1601(parts->wYear, parts->wMonth, parts->wDay) * kSecondsPerDay +
      std::int64_t{parts->wHour} * 3600 + std::int64_t{parts->wMinute} * 60 + parts->wSecond;
  const auto ticks = static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
                     parts->wMilliseconds * std::uint64_t{10'000};
  if (ticks > kLastTick) return Fail(ERROR_INVALID_PARAMETER);
  *time = FromTicks(ticks);
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts) {
  if (time == nullptr || parts == nullptr || Ticks(*time) > kLastTick) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  Split(Ticks(*time), parts);
  return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local) {
  return Shift(time, local, OffsetToday());
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* time) {
  return Shift(local, time, -OffsetToday());
}

LONG CompareFileTime(const FILETIME* a, const FILETIME* b) {
  const std::uint64_t x = Ticks(*a);
  const std::uint64_t y = Ticks(*b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) {
  if (zone == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return TIME_ZONE_ID_INVALID;
  }
  const time_t now = ::time(nullptr);
  const tm today = LocalParts(now);
  // Of today and the day half a year from now, the one without daylight saving shows the standard
  // time.
  constexpr time_t kHalfYear = 182 * kSecondsPerDay;
  const tm other = LocalParts(now + kHalfYear);
  const bool todayIsDaylight = today.tm_isdst > 0;
  const bool hasDaylight = todayIsDaylight || other.tm_isdst > 0;
  const tm& standard = todayIsDaylight && other.tm_isdst == 0 ? other : today;
  const tm& summer = todayIsDaylight ? today : other;
  *zone = {};
  zone->Bias = static_cast<LONG>(-standard.tm_gmtoff / 60);
  zone->StandardBias = 0;
  CopyZoneName(zone->StandardName, standard.tm_zone);
  CopyZoneName(zone->DaylightName, hasDaylight ? summer.tm_zone : standard.tm_zone);
  if (!hasDaylight) return TIME_ZONE_ID_UNKNOWN;
  zone->DaylightBias = static_cast<LONG>((standard.tm_gmtoff - summer.tm_gmtoff) / 60);
  return todayIsDaylight ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

DWORD GetTickCount() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<DWORD>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                            static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000);
}

void Sleep(DWORD milliseconds) {
  timespec rest{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000) * 1'000'000};
  while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
}
