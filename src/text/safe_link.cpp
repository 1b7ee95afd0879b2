#include "text/safe_link.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/filters.h"

#include <algorithm>
#include <array>
#include <optional>

namespace brevant {
namespace {

constexpr std::size_t kLongestEntity = 6;

bool IsControl(char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }

// Browsers drop tabs and line ends anywhere in an address and everything up to the blank at its
// ends. Other control characters have no business in one.
std::string Stripped(std::string_view address) {
  std::string text(address);
  std::erase_if(text, IsControl);
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

void AppendEscaped(std::string& to, char c) {
  switch (c) {
    case '&':
      to += "&amp;";
      break;
    case '"':
      to += "&quot;";
      break;
    case '<':
      to += "&lt;";
      break;
    case '>':
      to += "&gt;";
      break;
    default:
      to += c;
  }
}

// A character that a reference stands for: appended as itself, or as a reference by number.
void AppendCharacter(std::string& to, std::uint32_t character) {
  if (character < 128) {
    AppendEscaped(to, static_cast<char>(character));
  } else {
    to.append("&#").append(std::to_string(character)).append(1, ';');
  }
}

int DigitValue(char c, unsigned base) {
  const char lower = ToLowerAscii(c);
  if (IsDigitAscii(c)) return c - '0';
  return base == 16 && lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Takes a reference by number, which needs no ";", from behind its "#".
std::optional<std::uint32_t> TakeNumber(std::string_view& rest) {
  std::string_view digits = rest;
  unsigned base = 10;
  if (!digits.empty() && ToLowerAscii(digits[0]) == 'x') {
    base = 16;
    digits.remove_prefix(1);
  }
  constexpr std::uint32_t kNoCharacter = 0xFFFD;
  constexpr std::uint32_t kLast = 0x10FFFF;
  std::uint32_t number = 0;
  std::size_t count = 0;
  for (int digit; count < digits.size() && (digit = DigitValue(digits[count], base)) >= 0;
       ++count) {
    number = std::min(number * base + static_cast<std::uint32_t>(digit), kLast + 1);
  }
  if (count == 0) return std::nullopt;
  rest = digits.substr(count);
  if (rest.starts_with(';')) rest.remove_prefix(1);
  return number > kLast ? kNoCharacter : number;
}

// Takes a reference by name from behind its "&"; only those with a ";" that the table knows.
std::optional<std::uint32_t> TakeName(std::string_view& rest) {
  const std::size_t end = rest.substr(0, kLongestEntity + 1).find(';');
  if (end == std::string_view::npos) return std::nullopt;
  const auto character = EntityCharacter(rest.substr(0, end));
  if (!character) return std::nullopt;
  rest.remove_prefix(end + 1);
  return *character;
}

std::optional<std::uint32_t> TakeReference(std::string_view& rest) {
  if (!rest.starts_with('#')) return TakeName(rest);
  std::string_view number = rest.substr(1);
  const auto character = TakeNumber(number);
  if (character) rest = number;
  return character;
}

}  // namespace

std::string CanonicalAddress(std::string_view value) {
  std::string address;
  address.reserve(value.size() + 16);
  while (!value.empty()) {
    const char c = value.front();
    value.remove_prefix(1);
    if (c == '&') {
      if (const auto character = TakeReference(value)) {
        AppendCharacter(address, *character);
        continue;
      }
    }
    AppendEscaped(address, c);
  }
  return Stripped(address);
}

bool IsSafeAddress(std::string_view address) {
  const std::string text = Stripped(address);
  constexpr std::array<std::string_view, 4> kSafe = {"http://", "https://", "ftp://", "mailto:"};
  return std::any_of(kSafe.begin(), kSafe.end(), [&](std::string_view scheme) {
    return EqualsIgnoreCase(std::string_view(text).substr(0, scheme.size()), scheme);
  });
}

bool IsRelativeAddress(std::string_view address) {
  const std::string text = Stripped(address);
  const auto isSlash = [](char c) { return c == '/' || c == '\\'; };
  if (text.size() >= 2 && isSlash(text[0]) && isSlash(text[1])) return false;
  // Behind one of these a colon ends no scheme.
  return text.find(':') == std::string::npos || text.find_first_of("/\\?#") < text.find(':');
}

}  // namespace brevant
