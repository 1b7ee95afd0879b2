// Dates among the words of a text, as mail headers and directory listings have them.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace brevant {

// The blank-separated words; those of 80 characters or more are left out and not counted.
std::vector<std::string_view> SplitWords(std::string_view text);

// Whether the word is digits and nothing else.
bool IsNumber(std::string_view word);

// 1 to 12 for the three letters of a month's name or the whole name, else 0.
int MonthOf(std::string_view word);

struct TimeOfDay {
  int hour = 0;
  int minute = 0;
  int second = 0;
};

bool ReadTimeOfDay(std::string_view word, TimeOfDay& time);

// The parts of a date by the places of the words; word numbers count from 1, 0 is none.
struct WordDate {
  std::optional<TimeOfDay> time;
  int timeWord = 0;
  int month = 0;
  int monthWord = 0;
  int day = 0;
  int dayWord = 0;
  int year = 0;
  int yearWord = 0;
};

// The first time of day.
void FindTimeOfDay(const std::vector<std::string_view>& words, WordDate& date);

// Day and year beside the month, when there is one. A number from 2 to 30 in the word before or
// after it is the day; days 1 and 31 are not taken, on purpose. Behind the month or the day yearOf
// makes a year, or 0, of a number.
void FindDayAndYear(const std::vector<std::string_view>& words, int (*yearOf)(int), WordDate& date);

}  // namespace brevant
