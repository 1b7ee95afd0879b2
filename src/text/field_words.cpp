// The option words of a page field's arguments.
#include "text/field_words.h"

#include <brevant/store.h>

#include <array>

namespace brevant {
namespace {

bool IsBoundary(char c) { return c == ' ' || c == '+'; }

struct TFormatWord {
  std::string_view word;
  unsigned bits;
};

// "Zone" is a word of "Time Zone" too, which therefore sets both of their bits.
constexpr std::array<TFormatWord, 7> kFormatWords = {{
    {"American", kFormatReverse},
    {"24HR", kFormat24Hour},
    {"24 Hour", kFormat24Hour},
    {"Time Zone", kFormatZone},
    {"Zone", kFormatDot},
    {"Dash", kFormatDash},
    {"Second", kFormatSeconds},
}};

}  // namespace

bool HasOptionWord(std::string_view argument, std::string_view word) {
  const std::size_t at = argument.find(word);
  if (at == std::string_view::npos) return false;
  const std::size_t end = at + word.size();
  return (at == 0 || IsBoundary(argument[at - 1])) &&
         (end == argument.size() || IsBoundary(argument[end]));
}

unsigned TimeFormatOf(std::string_view argument, unsigned defaults) {
  unsigned found = 0;
  for (const TFormatWord& format : kFormatWords) {
    if (HasOptionWord(argument, format.word)) found |= format.bits;
  }
  // These two add nothing; all they do is take away the seconds that "Second" adds.
  if (HasOptionWord(argument, "Short") || HasOptionWord(argument, "No Year")) {
    found &= ~static_cast<unsigned>(kFormatSeconds);
  }
  return defaults | found;
}

}  // namespace brevant
