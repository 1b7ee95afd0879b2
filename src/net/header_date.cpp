#include "net/header_date.h"

#include "net/date_words.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brevant {
namespace {

// The year that a number beside the day means; two digits stand as they are, and make a zero time.
int HeaderYear(int number) {
  return (number > 1900 && number < 2100) || (number > 0 && number < 99) ? number : 0;
}

WordDate ReadWords(const std::vector<std::string_view>& words) {
  WordDate date;
  FindTimeOfDay(words, date);
  for (std::size_t i = 0; i < words.size() && date.month == 0; ++i) {
    date.month = MonthOf(words[i]);
    date.monthWord = static_cast<int>(i) + 1;
  }
  FindDayAndYear(words, HeaderYear, date);
  return date;
}

// Drops comments in parentheses and turns commas into blanks.
std::string WithoutComments(std::string_view value) {
  std::string result;
  int depth = 0;
  for (const char c : value) {
    if (c == '(') ++depth;
    if (depth == 0) result += c == ',' ? ' ' : c;
    if (c == ')' && depth > 0) --depth;
  }
  return result;
}

// Minutes ahead of Greenwich, or nothing when the word names no zone.
std::optional<int> ZoneOf(std::string_view word) {
  struct Zone {
    std::string_view name;
    int hours;
  };
  constexpr Zone kZones[] = {{"GMT", 0},  {"UT", 0},   {"UTC", 0},  {"Z", 0},
                             {"EST", -5}, {"EDT", -4}, {"CST", -6}, {"CDT", -5},
                             {"MST", -7}, {"MDT", -6}, {"PST", -8}, {"PDT", -7}};
  for (const Zone& zone : kZones) {
    if (EqualsIgnoreCase(word, zone.name)) return zone.hours * 60;
  }
  if (word.size() != 5 || (word[0] != '+' && word[0] != '-') || !IsNumber(word.substr(1)))
    return std::nullopt;
  const int value = LeadingNumber(word.substr(1));
  const int minutes = value / 100 * 60 + value % 100;
  return word[0] == '-' ? -minutes : minutes;
}

int FullYear(std::string_view word) {
  const int year = LeadingNumber(word);
  if (word.size() == 2) return year < 50 ? year + 2000 : year + 1900;
  if (word.size() == 3) return year + 1900;
  return year;
}

struct StandardDate {
  int year = 0;
  int month = 0;
  int day = 0;
  TimeOfDay time;
  std::optional<int> zone;
};

// A time of day followed by its zone without a blank, "10:20:30+0200".
void ReadTimeAndZone(std::string_view word, StandardDate& date) {
  const std::size_t sign = word.find_first_of("+-");
  ReadTimeOfDay(word.substr(0, sign), date.time);
  if (sign != std::string_view::npos) date.zone = ZoneOf(word.substr(sign));
}

StandardDate ReadStandard(const std::string& text) {
  StandardDate date;
  for (std::string_view word : SplitWords(text)) {
    if (word.find(':') != std::string_view::npos) {
      ReadTimeAndZone(word, date);
    } else if (const int month = MonthOf(word); month != 0) {
      date.month = month;
    } else if (const auto zone = ZoneOf(word)) {
      date.zone = zone;
    } else if (IsNumber(word)) {
      if (date.day == 0 && word.size() <= 2) {
        date.day = LeadingNumber(word);
      } else if (date.year == 0 && word.size() <= 4) {
        date.year = FullYear(word);
      }
    }
  }
  return date;
}

}  // namespace

TTime ParseHeaderDate(std::string_view value) {
  const WordDate date = ReadWords(SplitWords(value));
  const TTime now = TTime::Now();
  const TimeOfDay time = date.time ? *date.time : TimeOfDay{now.Hour(), now.Minute(), 0};
  return TTime(date.year != 0 ? date.year : now.Year(), date.month != 0 ? date.month : now.Month(),
               date.day != 0 ? date.day : now.Day(), time.hour, time.minute, time.second);
}

TTime ParseHeaderDateStandard(std::string_view value) {
  const StandardDate date = ReadStandard(WithoutComments(value));
  const int second = std::min(date.time.second, 59);  // a leap second is no time of the platform's
  TTime time(date.year, date.month, date.day, date.time.hour, date.time.minute, second);
  if (time.IsZero()) return TTime::Now();
  if (!date.zone) return time;
  constexpr std::int64_t kTicksPerMinute = 600'000'000;
  const auto shifted = static_cast<std::int64_t>(time.Ticks()) - *date.zone * kTicksPerMinute;
  if (shifted <= 0) return time;  // before the first day that a time can have
  const TTime greenwich = TTime::FromTicks(static_cast<std::uint64_t>(shifted));
  FILETIME local;
  if (!FileTimeToLocalFileTime(&greenwich.FileTime(), &local)) return greenwich;
  return TTime(local);
}

}  // namespace brevant
