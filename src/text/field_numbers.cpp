// The numbers of page fields. None of them depends on a locale.
#include "text/field_numbers.h"

#include "store/ascii.h"
#include "text/field_words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace brevant {
namespace {

constexpr float kModemRate = 14.4F;

// The number that text begins with, 0 when there is none or it is out of range.
double LeadingReal(std::string_view text) {
  while (!text.empty() && IsSpaceAscii(text.front())) text.remove_prefix(1);
  if (text.starts_with('+')) text.remove_prefix(1);
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  return read.ec == std::errc() ? value : 0;
}

float RateOf(std::string_view argument) {
  const double rate = LeadingReal(argument);
  const bool usable = rate > 0 && rate <= std::numeric_limits<float>::max();
  const float single = usable ? static_cast<float>(rate) : 0;
  return single > 0 ? single : kModemRate;
}

}  // namespace

std::string NumberText(LONG value, std::string_view argument) {
  return HasOptionWord(argument, "Meg") ? std::to_string(value / 1024) + ".00"
                                        : std::to_string(value);
}

double Percentage(LONG count, LONG total) {
  return total == 0 ? 0 : static_cast<double>(count) * 100 / total;
}

std::string PercentageText(double value, std::string_view argument) {
  const LONG wanted = LeadingNumber(argument);
  const int decimals = wanted >= 1 && wanted <= 6 ? static_cast<int>(wanted) : 0;
  // A quotient of two 32-bit numbers, a hundredfold: twelve digits and the decimals.
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::fixed, decimals)
                       .ptr;
  return std::string(digits.data(), end) + '%';
}

std::string ColorText(LONG value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto bits = static_cast<DWORD>(value);
  std::string text = "#";
  for (const unsigned shift : {0U, 8U, 16U}) {
    text += {kDigits[bits >> shift >> 4 & 15], kDigits[bits >> shift & 15]};
  }
  return text;
}

LONG DownloadSeconds(LONG size, std::string_view argument) {
  constexpr double kMost = std::numeric_limits<LONG>::max();
  const double seconds = size / static_cast<double>(RateOf(argument));
  return static_cast<LONG>(std::clamp(seconds, -kMost, kMost));
}

}  // namespace brevant
