// Dates and times of day from text.
#include "platform/win32.h"
#include "store/ascii.h"
#include "store/name_tables.h"

#include <brevant/store.h>

#include <algorithm>
#include <string_view>

namespace {

using brevant::TextScanner;

struct Date {
  int month = 0;
  int day = 0;
  int year = 0;
};

// Number, separator, number, and for a third part separator and number again.
bool ReadNumbers(std::string_view text, char separator, bool withYear, Date& date) {
  TextScanner scan(text);
  return scan.Number(date.month) && scan.Literal(separator) && scan.Number(date.day) &&
         (!withYear || (scan.Literal(separator) && scan.Number(date.year)));
}

bool ReadDayAndName(std::string_view text, char separator, bool withYear, Date& date,
                    std::string_view& name) {
  TextScanner scan(text);
  return scan.Number(date.day) && scan.Literal(separator) && scan.Word(name, 3) &&
         (!withYear || (scan.Literal(separator) && scan.Number(date.year)));
}

bool ReadNameAndDay(std::string_view text, char separator, bool withYear, Date& date,
                    std::string_view& name) {
  TextScanner scan(text);
  return scan.Word(name, 3) && scan.Literal(separator) && scan.Number(date.day) &&
         (!withYear || (scan.Literal(separator) && scan.Number(date.year)));
}

bool MonthFromName(std::string_view name, int& month) {
  const auto& names = brevant::kMonthNames;
  const auto found = std::find_if(names.begin(), names.end(), [&](std::string_view candidate) {
    return brevant::EqualsIgnoreCase(candidate, name);
  });
  if (found == names.end()) return false;
  month = static_cast<int>(found - names.begin()) + 1;
  return true;
}

bool ReadDate(std::string_view text, Date& date) {
  const char separator = text.find('-') != text.npos ? '-' : '/';
  const auto first = text.find(separator);
  if (first == text.npos) return false;
  const bool withYear = text.find(separator, first + 1) != text.npos;
  if (ReadNumbers(text, separator, withYear, date)) return true;
  // A month's name between two slashes is not a form the board ever read.
  if (separator == '/' && withYear) return false;
  std::string_view name;
  if (!ReadDayAndName(text, separator, withYear, date, name) &&
      !ReadNameAndDay(text, separator, withYear, date, name)) {
    return false;
  }
  return MonthFromName(name, date.month);
}

}  // namespace

int ParseDate(const char* text, int* month, int* day, int* year) {
  if (text == nullptr) return 0;
  Date date;
  date.year = TTime::Now().Year();
  if (!ReadDate(text, date)) return 0;
  // Day-first dates are told by a first number no month can have; the 12th is left alone.
  if (date.month > 12 && date.day < 12) std::swap(date.month, date.day);
  if (date.year < 100) date.year += 1900;
  *month = date.month;
  *day = date.day;
  *year = date.year;
  return 1;
}

int ParseTime(const char* text, int* hour, int* minute, int* second) {
  if (text == nullptr) return 0;
  const std::string_view whole(text);
  const auto first = whole.find(':');
  if (first == whole.npos) return 0;
  const bool withSeconds = whole.find(':', first + 1) != whole.npos;
  TextScanner scan(whole);
  int parts[3] = {0, 0, 0};
  if (!scan.Number(parts[0]) || !scan.Literal(':') || !scan.Number(parts[1])) return 0;
  if (withSeconds && (!scan.Literal(':') || !scan.Number(parts[2]))) return 0;
  *hour = parts[0];
  *minute = parts[1];
  *second = parts[2];
  return 1;
}
