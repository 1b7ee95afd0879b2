// Text helpers that no locale can change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace brevant {

inline constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline constexpr bool IsSpaceAscii(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline constexpr bool IsDigitAscii(char c) { return c >= '0' && c <= '9'; }

// Equality ignoring the case of the letters A to Z.
inline constexpr bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
  }
  return true;
}

inline std::string LowerCased(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = ToLowerAscii(c);
  return lower;
}

// A cursor over text that reads numbers and words as the C library's formatted input does.
class TextScanner {
 public:
  explicit constexpr TextScanner(std::string_view text) : text_(text) {}

  // White space, then an optional sign and digits; false, with value untouched, when there is no
  // digit. Values wrap modulo 2^32, signed and unsigned alike.
  constexpr bool Number(std::uint32_t& value) {
    SkipSpace();
    std::size_t at = at_;
    bool negative = false;
    if (at < text_.size() && (text_[at] == '-' || text_[at] == '+')) negative = text_[at++] == '-';
    if (at >= text_.size() || !IsDigitAscii(text_[at])) return false;
    std::uint32_t sum = 0;
    for (; at < text_.size() && IsDigitAscii(text_[at]); ++at) {
      sum = sum * 10U + static_cast<std::uint32_t>(text_[at] - '0');
    }
    value = negative ? 0U - sum : sum;
    at_ = at;
    return true;
  }
  constexpr bool Number(int& value) {
    std::uint32_t bits = 0;
    if (!Number(bits)) return false;
    value = static_cast<int>(bits);
    return true;
  }

  // White space, then at most limit other characters; false when there is none.
  constexpr bool Word(std::string_view& word, std::size_t limit) {
    SkipSpace();
    std::size_t end = at_;
    while (end < text_.size() && end - at_ < limit && !IsSpaceAscii(text_[end])) ++end;
    if (end == at_) return false;
    word = text_.substr(at_, end - at_);
    at_ = end;
    return true;
  }

  // Exactly this character.
  constexpr bool Literal(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

 private:
  constexpr void SkipSpace() {
    while (at_ < text_.size() && IsSpaceAscii(text_[at_])) ++at_;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

// The leading decimal number of text as a 32-bit value, anything else 0.
inline constexpr std::int32_t LeadingNumber(std::string_view text) {
  std::uint32_t value = 0;
  TextScanner(text).Number(value);
  return static_cast<std::int32_t>(value);
}

}  // namespace brevant
