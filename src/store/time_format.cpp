// Time values as text.
#include "platform/win32.h"
#include "store/name_tables.h"

#include <brevant/store.h>

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

namespace {

constexpr std::uint64_t kTicksPerMinute = 600'000'000;

// The caller's buffer, filled from the left. Room counts the place of the terminating zero.
class Pieces {
 public:
  Pieces(char* buffer, int size) : next_(buffer), room_(size) { *next_ = '\0'; }

  int Room() const { return room_; }

  void Text(std::string_view text) {
    for (const char c : text) Character(c);
  }

  void Character(char c) {
    if (room_ <= 1) return;
    *next_++ = c;
    *next_ = '\0';
    --room_;
  }

  void Number(int value) {
    std::array<char, 12> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    Text(std::string_view(digits.data(), static_cast<size_t>(end - digits.data())));
  }

  void TwoDigits(int value) {
    if (value >= 0 && value < 10) Character('0');
    Number(value);
  }

 private:
  char* next_;
  int room_;
};

void WriteDate(Pieces& out, const SYSTEMTIME& parts, unsigned options) {
  const char separator = (options & kFormatDash) ? '-' : '/';
  if (out.Room() > 5) {
    const bool dayFirst = (options & kFormatReverse) != 0;
    out.Number(dayFirst ? parts.wDay : parts.wMonth);
    out.Character(separator);
    out.Number(dayFirst ? parts.wMonth : parts.wDay);
  }
  // Two digits at most and no leading zero: 2005 is 5.
  if ((options & kFormatYear) && out.Room() > 3) {
    out.Character(separator);
    out.Number(parts.wYear % 100);
  }
}

// The named date is day first by default, the numeric one month first: the option reverses each.
void WriteNamedDate(Pieces& out, const SYSTEMTIME& parts, unsigned options) {
  if (out.Room() <= 6) return;
  if (parts.wMonth >= 1 && parts.wMonth <= 12) {
    const std::string_view month = brevant::kMonthNames[parts.wMonth - 1U];
    if (options & kFormatReverse) {
      out.Text(month);
      out.Character(' ');
      out.Number(parts.wDay);
    } else {
      out.Number(parts.wDay);
      out.Character(' ');
      out.Text(month);
    }
  }
  if ((options & kFormatYear) && out.Room() > 5) {
    out.Character(' ');
    out.Number(parts.wYear);
  }
}

void WriteTimeOfDay(Pieces& out, const SYSTEMTIME& parts, unsigned options) {
  const char separator = (options & kFormatDot) ? '.' : ':';
  int hour = parts.wHour;
  bool afternoon = false;
  // Noon prints as 0:00 PM and midnight as 0:00 AM; readers of old pages know it so.
  if (!(options & kFormat24Hour) && hour > 11) {
    hour -= 12;
    afternoon = true;
  }
  if (out.Room() > 5) {
    out.Number(hour);
    out.Character(separator);
    out.TwoDigits(parts.wMinute);
  }
  if ((options & kFormatSeconds) && out.Room() > 3) {
    out.Character(separator);
    out.TwoDigits(parts.wSecond);
  }
  if (!(options & kFormat24Hour) && out.Room() > 3) out.Text(afternoon ? " PM" : " AM");
}

void WriteZone(Pieces& out, const TIME_ZONE_INFORMATION& zone, unsigned options) {
  if (options & kFormatGreenwich) {
    if (out.Room() > 4) out.Text(" GMT");
    return;
  }
  int length = 0;
  while (length < 32 && zone.StandardName[length] != 0) ++length;
  if (length == 0 || length + 1 >= out.Room()) return;
  out.Character(' ');
  for (int i = 0; i < length; ++i) {
    const unsigned unit = zone.StandardName[i];
    out.Character(unit <= 0xFF ? static_cast<char>(unit) : '?');
  }
}

}  // namespace

void FormatTime(const TTime& time, char* buffer, int bufferSize, unsigned options) {
  if (buffer == nullptr || bufferSize <= 0) return;
  Pieces out(buffer, bufferSize);
  TIME_ZONE_INFORMATION zone{};
  if ((options & (kFormatGreenwich | kFormatZone)) &&
      GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) {
    zone = TIME_ZONE_INFORMATION{};
  }
  TTime shown = time;
  if (options & kFormatGreenwich) {
    // The standard bias in summer too: a page made in July says what it said in January.
    const std::int64_t minutes = std::int64_t{zone.Bias} + zone.StandardBias;
    shown += TTime::FromTicks(static_cast<std::uint64_t>(minutes) * kTicksPerMinute);
  }
  const SYSTEMTIME parts = shown.Parts();
  if (options & kFormatWeekday) {
    if (out.Room() > 5) out.Text(brevant::kDayNames[parts.wDayOfWeek % 7U]);
    if ((options & (kFormatDate | kFormatTime)) && out.Room() > 2) out.Text(", ");
  }
  if (options & kFormatDate) {
    if (options & kFormatMonthName) {
      WriteNamedDate(out, parts, options);
    } else {
      WriteDate(out, parts, options);
    }
    if ((options & kFormatTime) && out.Room() > 1) out.Character(' ');
  }
  if (options & kFormatTime) WriteTimeOfDay(out, parts, options);
  if (options & kFormatZone) WriteZone(out, zone, options);
}
