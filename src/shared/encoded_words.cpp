#include "shared/encoded_words.h"

#include "store/ascii.h"

#include <cstdint>
#include <optional>

namespace brevant {

namespace {

std::optional<std::string> DecodeQ(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '=') {
      decoded.push_back(text[i] == '_' ? ' ' : text[i]);
      continue;
    }
    int byte = 0;
    if (i + 2 >= text.size()) return std::nullopt;
    for (const char digit : text.substr(i + 1, 2)) {
      const char lower = ToLowerAscii(digit);
      if (IsDigitAscii(lower)) {
        byte = byte * 16 + (lower - '0');
      } else if (lower >= 'a' && lower <= 'f') {
        byte = byte * 16 + (lower - 'a' + 10);
      } else {
        return std::nullopt;
      }
    }
    decoded.push_back(static_cast<char>(byte));
    i += 2;
  }
  return decoded;
}

std::optional<std::string> DecodeB(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  while (!text.empty() && text.back() == '=') text.remove_suffix(1);
  std::string decoded;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const std::size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = ((bits << 6) | static_cast<std::uint32_t>(digit)) & 0xFFFFFF;
    count += 6;
    if (count >= 8) {
      count -= 8;
      decoded.push_back(static_cast<char>((bits >> count) & 0xFF));
    }
  }
  return decoded;
}

// An encoded word at the start of text: its bytes, and how much of text it took.
std::optional<std::string> DecodeWord(std::string_view text, std::size_t& length) {
  if (!text.starts_with("=?")) return std::nullopt;
  const std::size_t charsetEnd = text.find('?', 2);
  if (charsetEnd == std::string_view::npos || charsetEnd == 2 || charsetEnd + 2 >= text.size() ||
      text[charsetEnd + 2] != '?') {
    return std::nullopt;
  }
  const std::size_t start = charsetEnd + 3;
  const std::size_t end = text.find("?=", start);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view payload = text.substr(start, end - start);
  if (payload.find_first_of(" \t?") != std::string_view::npos) return std::nullopt;
  length = end + 2;
  switch (ToLowerAscii(text[charsetEnd + 1])) {
    case 'q':
      return DecodeQ(payload);
    case 'b':
      return DecodeB(payload);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::string DecodeEncodedWords(std::string_view text) {
  std::string decoded;
  std::size_t blanksAfterWord = std::string::npos;  // where decoded ended with an encoded word
  for (std::size_t i = 0; i < text.size();) {
    std::size_t length = 0;
    const std::optional<std::string> word = DecodeWord(text.substr(i), length);
    if (word) {
      if (blanksAfterWord != std::string::npos) decoded.erase(blanksAfterWord);
      decoded += *word;
      blanksAfterWord = decoded.size();
      i += length;
      continue;
    }
    if (!IsSpaceAscii(text[i])) blanksAfterWord = std::string::npos;
    decoded.push_back(text[i++]);
  }
  return decoded;
}

}  // namespace brevant
