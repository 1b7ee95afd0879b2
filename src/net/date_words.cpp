#include "net/date_words.h"

#include "store/ascii.h"
#include "store/name_tables.h"

#include <brevant/store.h>

#include <algorithm>
#include <array>
#include <string>

namespace brevant {
namespace {

constexpr std::size_t kLongestWord = 79;

}  // namespace

std::vector<std::string_view> SplitWords(std::string_view text) {
  std::vector<std::string_view> words;
  TextScanner scan(text);
  std::string_view word;
  while (scan.Word(word, std::string_view::npos)) {
    if (word.size() <= kLongestWord) words.push_back(word);
  }
  return words;
}

bool IsNumber(std::string_view word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), IsDigitAscii);
}

int MonthOf(std::string_view word) {
  constexpr std::array<std::string_view, 12> kLongNames = {
      "January", "February", "March",     "April",   "May",      "June",
      "July",    "August",   "September", "October", "November", "December"};
  for (std::size_t i = 0; i < kMonthNames.size(); ++i) {
    if (EqualsIgnoreCase(word, kMonthNames[i]) || EqualsIgnoreCase(word, kLongNames[i]))
      return static_cast<int>(i) + 1;
  }
  return 0;
}

bool ReadTimeOfDay(std::string_view word, TimeOfDay& time) {
  if (word.find(':') == std::string_view::npos) return false;
  const std::string text(word);
  return ParseTime(text.c_str(), &time.hour, &time.minute, &time.second) != 0;
}

void FindTimeOfDay(const std::vector<std::string_view>& words, WordDate& date) {
  for (std::size_t i = 0; i < words.size() && !date.time; ++i) {
    TimeOfDay time;
    if (!ReadTimeOfDay(words[i], time)) continue;
    date.time = time;
    date.timeWord = static_cast<int>(i) + 1;
  }
}

void FindDayAndYear(const std::vector<std::string_view>& words, int (*yearOf)(int),
                    WordDate& date) {
  if (date.month == 0) return;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!IsNumber(words[i])) continue;
    const int word = static_cast<int>(i) + 1;
    const int number = LeadingNumber(words[i]);
    const bool besideMonth = word == date.monthWord - 1 || word == date.monthWord + 1;
    if (besideMonth && number > 1 && number < 31) {
      date.day = number;
      date.dayWord = word;
    } else if (date.dayWord != 0 && (word == date.monthWord + 1 || word == date.dayWord + 1) &&
               yearOf(number) != 0) {
      date.year = yearOf(number);
      date.yearWord = word;
    }
  }
}

}  // namespace brevant
