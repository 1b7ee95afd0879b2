#include "shared/mail_encoding.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/charset.h"

#include <algorithm>
#include <cstdint>

namespace brevant {

namespace {

constexpr std::size_t kLongestLine = 998;        // of any mail, the line end not counted
constexpr std::size_t kLongestEncodedLine = 76;  // of quoted-printable and base64
// With the longest name of a field before it a word still fits a line of 76.
constexpr std::size_t kLongestWord = 64;

void AppendHex(std::string& text, char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  text += {'=', kDigits[value >> 4], kDigits[value & 15]};
}

// What stands for itself in an encoded word anywhere in a header.
bool IsPlainInWord(char c) {
  return IsAlphanumeric(c) || std::string_view("!*+-/").find(c) != std::string_view::npos;
}

std::string EncodeQ(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    if (c == ' ') {
      text += '_';
    } else if (IsPlainInWord(c)) {
      text += c;
    } else {
      AppendHex(text, c);
    }
  }
  return text;
}

// The length of the first character.
std::size_t CharacterLength(std::string_view text, bool utf8) {
  if (!utf8) return 1;
  std::string_view rest = text;
  TakeCharacter(rest);
  return text.size() - rest.size();
}

// What a body is made of, as far as its encoding depends on it.
struct TBodyFacts {
  bool fits7Bit = true;
  std::size_t escaped = 0;  // bytes that quoted-printable has to write as three
};

TBodyFacts Examine(std::string_view text) {
  TBodyFacts facts;
  std::size_t length = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    length = c == '\r' || c == '\n' ? 0 : length + 1;
    if (byte == 0 || byte >= 128 || length > kLongestLine) facts.fits7Bit = false;
    if (byte >= 127 || c == '=' || (byte < 32 && byte != '\t' && byte != '\r' && byte != '\n')) {
      ++facts.escaped;
    }
  }
  return facts;
}

// Lines end in CR LF.
std::string EncodeQuotedPrintable(std::string_view text) {
  std::string encoded;
  std::string unit;
  std::size_t length = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (text.substr(at).starts_with("\r\n")) {
      encoded += "\r\n";
      length = 0;
      ++at;
      continue;
    }
    const bool lineEnds = text.substr(at + 1).starts_with("\r\n");
    const bool lastBlank = lineEnds || at + 1 == text.size();
    const bool blank = c == ' ' || c == '\t';
    unit.clear();
    if (blank ? lastBlank : (c < '!' || c > '~' || c == '=')) {
      AppendHex(unit, c);
    } else {
      unit += c;
    }
    // Behind the last unit of a line no room is needed for the sign that the line goes on.
    if (length + unit.size() > kLongestEncodedLine - (lineEnds ? 0 : 1)) {
      encoded += "=\r\n";
      length = 0;
    }
    encoded += unit;
    length += unit.size();
  }
  // A text without a line end at its end stays one.
  if (length > 0) encoded += "=\r\n";
  return encoded;
}

}  // namespace

bool IsAlphanumeric(char c) {
  const char lower = ToLowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || IsDigitAscii(c);
}

std::string EncodeBase64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size()))) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size());
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = (bits << 8) | (i < count ? static_cast<unsigned char>(bytes[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= count ? kDigits[(bits >> (18 - 6 * i)) & 63] : '=';
    }
  }
  return text;
}

std::vector<std::string> EncodedWords(std::string_view bytes, std::string_view charset) {
  const bool utf8 = EqualsIgnoreCase(charset, "utf-8");
  const bool q = EncodeQ(bytes).size() <= EncodeBase64(bytes).size();
  const std::string start = "=?" + std::string(charset) + (q ? "?Q?" : "?B?");
  const std::size_t room = kLongestWord - start.size() - 2;
  std::vector<std::string> words;
  while (!bytes.empty()) {
    std::size_t taken = 0;
    while (taken < bytes.size()) {
      const std::size_t next = taken + CharacterLength(bytes.substr(taken), utf8);
      const std::string_view piece = bytes.substr(0, next);
      const std::size_t size = q ? EncodeQ(piece).size() : (next + 2) / 3 * 4;
      if (taken > 0 && size > room) break;
      taken = next;
    }
    const std::string_view piece = bytes.substr(0, taken);
    words.push_back(start + (q ? EncodeQ(piece) : EncodeBase64(piece)) + "?=");
    bytes.remove_prefix(taken);
  }
  return words;
}

std::string WithCrLf(std::string_view text) {
  std::string lines;
  lines.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\r' && text[at] != '\n') {
      lines += text[at];
      continue;
    }
    lines += "\r\n";
    if (text.substr(at).starts_with("\r\n")) ++at;
  }
  return lines;
}

TEncodedBody EncodeText(std::string_view text) {
  const TBodyFacts facts = Examine(text);
  if (facts.fits7Bit) return {"7bit", std::string(text)};
  // Three bytes become four in base64; in the other, one in every so many becomes three.
  if (facts.escaped > text.size() / 6) return EncodeBytes(text);
  return {"quoted-printable", EncodeQuotedPrintable(text)};
}

TEncodedBody EncodeBytes(std::string_view bytes) {
  constexpr std::size_t kBytesPerLine = kLongestEncodedLine / 4 * 3;
  TEncodedBody encoded{"base64", {}};
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, kBytesPerLine);
    encoded.body += EncodeBase64(line) + "\r\n";
    bytes.remove_prefix(line.size());
  }
  return encoded;
}

}  // namespace brevant
