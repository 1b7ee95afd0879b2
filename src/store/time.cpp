#include "platform/win32.h"

#include <brevant/store.h>

#include <initializer_list>

namespace {

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

bool FitsWord(int value) { return value >= 0 && value <= 0xFFFF; }

// Zero unless the parts are a date and a time of day that exist.
TTime FromParts(const SYSTEMTIME& parts) {
  FILETIME time{};
  if (!SystemTimeToFileTime(&parts, &time)) return TTime();
  // Wine carries 29 February of a common year over to March.
  const TTime result(time);
  return result.Day() == parts.wDay ? result : TTime();
}

}  // namespace

TTime::TTime(int year, int month, int day, int hour, int minute, int second) {
  for (const int part : {year, month, day, hour, minute, second}) {
    if (!FitsWord(part)) return;
  }
  SYSTEMTIME parts{};
  parts.wYear = static_cast<WORD>(year);
  parts.wMonth = static_cast<WORD>(month);
  parts.wDay = static_cast<WORD>(day);
  parts.wHour = static_cast<WORD>(hour);
  parts.wMinute = static_cast<WORD>(minute);
  parts.wSecond = static_cast<WORD>(second);
  *this = FromParts(parts);
}

TTime TTime::FromUnixSeconds(std::int64_t seconds) {
  return FromTicks(
      (static_cast<std::uint64_t>(seconds) + static_cast<std::uint64_t>(kSecondsFrom1601To1970)) *
      kTicksPerSecond);
}

TTime TTime::Now() {
  SYSTEMTIME parts{};
  GetLocalTime(&parts);
  return FromParts(parts);
}

TTime TTime::NowGreenwich() {
  FILETIME time{};
  GetSystemTimeAsFileTime(&time);
  return TTime(time);
}

std::int64_t TTime::UnixSeconds() const {
  return static_cast<std::int64_t>(Ticks() / kTicksPerSecond) - kSecondsFrom1601To1970;
}

SYSTEMTIME TTime::Parts() const {
  SYSTEMTIME parts{};
  if (!FileTimeToSystemTime(&time_, &parts)) return SYSTEMTIME{};
  return parts;
}

int TTime::Year() const { return Parts().wYear; }
int TTime::Month() const { return Parts().wMonth; }
int TTime::DayOfWeek() const { return Parts().wDayOfWeek; }
int TTime::Day() const { return Parts().wDay; }
int TTime::Hour() const { return Parts().wHour; }
int TTime::Minute() const { return Parts().wMinute; }
int TTime::Second() const { return Parts().wSecond; }
int TTime::Milliseconds() const { return Parts().wMilliseconds; }

void TTime::ReplacePart(WORD SYSTEMTIME::*part, int value) {
  if (!FitsWord(value)) {
    *this = TTime();
    return;
  }
  SYSTEMTIME parts = Parts();
  parts.*part = static_cast<WORD>(value);
  *this = FromParts(parts);
}

void TTime::SetYear(int year) { ReplacePart(&SYSTEMTIME::wYear, year); }
void TTime::SetMonth(int month) { ReplacePart(&SYSTEMTIME::wMonth, month); }
void TTime::SetDay(int day) { ReplacePart(&SYSTEMTIME::wDay, day); }
void TTime::SetHour(int hour) { ReplacePart(&SYSTEMTIME::wHour, hour); }
void TTime::SetMinute(int minute) { ReplacePart(&SYSTEMTIME::wMinute, minute); }
void TTime::SetSecond(int second) { ReplacePart(&SYSTEMTIME::wSecond, second); }
void TTime::SetMilliseconds(int milliseconds) {
  ReplacePart(&SYSTEMTIME::wMilliseconds, milliseconds);
}

TTime& TTime::operator+=(const TTime& span) { return *this = FromTicks(Ticks() + span.Ticks()); }
TTime& TTime::operator-=(const TTime& span) { return *this = FromTicks(Ticks() - span.Ticks()); }
