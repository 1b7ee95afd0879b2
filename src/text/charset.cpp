#include "text/charset.h"

#include "store/ascii.h"
#include "text/charset_tables.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace brevant {

namespace {

struct TAlias {
  std::string_view label;  // letters and digits only
  TCharset charset;
};

constexpr TCharset Iso8859(int part) { return static_cast<TCharset>(part); }

constexpr auto kAliases = std::to_array<TAlias>({
    {"utf8", TCharset::kUtf8},
    {"xutf8", TCharset::kUtf8},
    {"csutf8", TCharset::kUtf8},
    {"utf8mb4", TCharset::kUtf8},
    {"unicode11utf8", TCharset::kUtf8},
    {"windows1252", TCharset::kWindows1252},
    {"cswindows1252", TCharset::kWindows1252},
    {"win1252", TCharset::kWindows1252},
    {"cp1252", TCharset::kWindows1252},
    {"xcp1252", TCharset::kWindows1252},
    {"ibm819", Iso8859(1)},
    {"cp819", Iso8859(1)},
    {"isoir100", Iso8859(1)},
    {"latin1", Iso8859(1)},
    {"isoir101", Iso8859(2)},
    {"latin2", Iso8859(2)},
    {"isoir109", Iso8859(3)},
    {"latin3", Iso8859(3)},
    {"isoir110", Iso8859(4)},
    {"latin4", Iso8859(4)},
    {"isoir144", Iso8859(5)},
    {"cyrillic", Iso8859(5)},
    {"isoir127", Iso8859(6)},
    {"arabic", Iso8859(6)},
    {"ecma114", Iso8859(6)},
    {"asmo708", Iso8859(6)},
    {"isoir126", Iso8859(7)},
    {"greek", Iso8859(7)},
    {"greek8", Iso8859(7)},
    {"ecma118", Iso8859(7)},
    {"elot928", Iso8859(7)},
    {"isoir138", Iso8859(8)},
    {"hebrew", Iso8859(8)},
    {"isoir148", Iso8859(9)},
    {"latin5", Iso8859(9)},
    {"isoir157", Iso8859(10)},
    {"latin6", Iso8859(10)},
    {"isoir166", Iso8859(11)},
    {"tis620", Iso8859(11)},
    {"csisolatincyrillic", Iso8859(5)},
    {"csisolatinarabic", Iso8859(6)},
    {"csisolatingreek", Iso8859(7)},
    {"csisolatinhebrew", Iso8859(8)},
    {"isoir179", Iso8859(13)},
    {"latin7", Iso8859(13)},
    {"isoir199", Iso8859(14)},
    {"latin8", Iso8859(14)},
    {"isoceltic", Iso8859(14)},
    {"isoir203", Iso8859(15)},
    {"latin9", Iso8859(15)},
    {"latin0", Iso8859(15)},
    {"isoir226", Iso8859(16)},
    {"latin10", Iso8859(16)},
});

bool IsLetterOrDigit(char c) {
  return IsDigitAscii(c) || (ToLowerAscii(c) >= 'a' && ToLowerAscii(c) <= 'z');
}

// The part number of a label such as "ISO_8859-1:1987", "iso8859-15" or "ISO-8859-8-I"; 0 for any
// other.
int Iso8859PartOf(std::string_view label) {
  constexpr std::string_view kNumber = "8859";
  const std::size_t number = label.find(kNumber);
  if (number == std::string_view::npos) return 0;
  std::string_view before = label.substr(0, number);
  while (!before.empty() && !IsLetterOrDigit(before.back())) before.remove_suffix(1);
  if (!before.empty() && !EqualsIgnoreCase(before, "iso") && !EqualsIgnoreCase(before, "csiso")) {
    return 0;
  }
  std::string_view rest = label.substr(number + kNumber.size());
  while (!rest.empty() && !IsLetterOrDigit(rest.front())) rest.remove_prefix(1);
  int part = 0;
  std::size_t digits = 0;
  while (digits < rest.size() && digits < 2 && IsDigitAscii(rest[digits])) {
    part = part * 10 + (rest[digits++] - '0');
  }
  rest.remove_prefix(digits);
  // Behind it the year, or who orders the characters of a line that runs from right to left.
  const bool ends = rest.empty() || rest.front() == ':' || EqualsIgnoreCase(rest, "-i") ||
                    EqualsIgnoreCase(rest, "-e");
  const bool known = part == 1 || std::any_of(kIso8859.begin(), kIso8859.end(),
                                              [part](const auto& row) { return row.part == part; });
  return ends && known ? part : 0;
}

// The first sequence of a text that is not empty.
struct TSequence {
  enum class TState { kWhole, kBroken, kUnfinished };
  TState state;
  std::size_t length;
  char32_t character;
};

TSequence ReadSequence(std::string_view text) {
  const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {TSequence::TState::kWhole, 1, lead};
  if (lead < 0xC2 || lead > 0xF4) return {TSequence::TState::kBroken, 1, kReplacementCharacter};
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (i == text.size()) return {TSequence::TState::kUnfinished, i, kReplacementCharacter};
    // The second byte also excludes overlong forms, surrogates and what lies beyond Unicode.
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (i == 1) {
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    }
    if (byte(i) < low || byte(i) > high) {
      return {TSequence::TState::kBroken, i, kReplacementCharacter};
    }
    character = (character << 6) | (byte(i) & 0x3Fu);
  }
  return {TSequence::TState::kWhole, length, character};
}

std::size_t AsciiLength(std::string_view text) {
  return static_cast<std::size_t>(
      std::find_if(text.begin(), text.end(),
                   [](char c) { return static_cast<unsigned char>(c) >= 0x80; }) -
      text.begin());
}

// The characters of the bytes from 0xA0 on; null where they are those of ISO-8859-1.
const std::array<char16_t, 96>* UpperHalf(TCharset charset) {
  const auto row = std::find_if(kIso8859.begin(), kIso8859.end(), [charset](const auto& entry) {
    return Iso8859(entry.part) == charset;
  });
  return row == kIso8859.end() ? nullptr : &row->characters;
}

// byte is 0x80 or more.
char32_t UpperCharacter(char c, const std::array<char16_t, 96>* upperHalf) {
  const auto byte = static_cast<unsigned char>(c);
  if (upperHalf == nullptr) return byte < 0xA0 ? kWindows1252Low[byte - 0x80u] : byte;
  return byte < 0xA0 ? kReplacementCharacter : (*upperHalf)[byte - 0xA0u];
}

}  // namespace

TCharset FindCharset(std::string_view label) {
  while (!label.empty() && !IsLetterOrDigit(label.front())) label.remove_prefix(1);
  while (!label.empty() && !IsLetterOrDigit(label.back())) label.remove_suffix(1);
  if (const int part = Iso8859PartOf(label)) return Iso8859(part);
  std::string name;
  std::copy_if(label.begin(), label.end(), std::back_inserter(name), IsLetterOrDigit);
  std::transform(name.begin(), name.end(), name.begin(), ToLowerAscii);
  // "csISOLatin1" and "l1" are "latin1".
  constexpr std::string_view kRegistered = "csiso";
  if (name.size() > 1 && name.front() == 'l' && IsDigitAscii(name[1])) name.insert(1, "atin");
  const auto row = std::find_if(kAliases.begin(), kAliases.end(), [&](const TAlias& alias) {
    return alias.label == name ||
           (name.starts_with(kRegistered) && alias.label == name.substr(kRegistered.size()));
  });
  return row == kAliases.end() ? TCharset::kUnknown : row->charset;
}

void TTextDecoder::Decode(std::string_view bytes, std::string& utf8) {
  if (charset_ == TCharset::kUtf8 || charset_ == TCharset::kUnknown) {
    if (pending_.empty()) {
      DecodeSequences(bytes, utf8);
    } else if (!bytes.empty()) {
      const std::string joined = std::exchange(pending_, {}).append(bytes);
      DecodeSequences(joined, utf8);
    }
    return;
  }
  const std::array<char16_t, 96>* const upperHalf = UpperHalf(charset_);
  while (!bytes.empty()) {
    const std::size_t ascii = AsciiLength(bytes);
    utf8 += bytes.substr(0, ascii);
    bytes.remove_prefix(ascii);
    if (bytes.empty()) break;
    AppendUtf8(utf8, UpperCharacter(bytes.front(), upperHalf));
    bytes.remove_prefix(1);
  }
}

void TTextDecoder::DecodeSequences(std::string_view bytes, std::string& utf8) {
  while (!bytes.empty()) {
    const std::size_t ascii = AsciiLength(bytes);
    utf8 += bytes.substr(0, ascii);
    bytes.remove_prefix(ascii);
    if (bytes.empty()) break;
    const TSequence sequence = ReadSequence(bytes);
    if (sequence.state == TSequence::TState::kUnfinished) {
      pending_ = bytes;
      break;
    }
    if (sequence.state == TSequence::TState::kWhole) {
      utf8 += bytes.substr(0, sequence.length);
    } else {
      PutBroken(bytes.substr(0, sequence.length), utf8);
    }
    bytes.remove_prefix(sequence.length);
  }
}

void TTextDecoder::PutBroken(std::string_view bytes, std::string& utf8) const {
  if (charset_ == TCharset::kUtf8) {
    AppendUtf8(utf8, kReplacementCharacter);
    return;
  }
  for (const char c : bytes) AppendUtf8(utf8, UpperCharacter(c, nullptr));
}

void TTextDecoder::Finish(std::string& utf8) {
  if (!pending_.empty()) PutBroken(pending_, utf8);
  pending_.clear();
}

void TUtf8Check::Add(std::string_view bytes) {
  const std::string joined = pending_.empty() ? std::string() : pending_ + std::string(bytes);
  std::string_view rest = pending_.empty() ? bytes : joined;
  pending_.clear();
  while (valid_) {
    rest.remove_prefix(AsciiLength(rest));
    if (rest.empty()) return;
    ascii_ = false;
    const TSequence sequence = ReadSequence(rest);
    if (sequence.state == TSequence::TState::kUnfinished) {
      pending_ = rest;
      return;
    }
    valid_ = sequence.state == TSequence::TState::kWhole;
    rest.remove_prefix(sequence.length);
  }
}

std::string DecodeText(std::string_view bytes, TCharset charset) {
  std::string utf8;
  utf8.reserve(bytes.size());
  TTextDecoder decoder(charset);
  decoder.Decode(bytes, utf8);
  decoder.Finish(utf8);
  return utf8;
}

std::string DecodeText(std::string_view bytes, std::string_view label) {
  return DecodeText(bytes, FindCharset(label));
}

char32_t TakeCharacter(std::string_view& text) {
  const TSequence sequence = ReadSequence(text);
  text.remove_prefix(sequence.length);
  return sequence.character;
}

void AppendUtf8(std::string& text, char32_t character) {
  if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF)) {
    character = kReplacementCharacter;
  }
  if (character < 0x80) {
    text.push_back(static_cast<char>(character));
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  const char32_t marks = more == 1 ? 0xC0 : more == 2 ? 0xE0 : 0xF0;
  text.push_back(static_cast<char>(marks | (character >> (6 * more))));
  for (int i = more - 1; i >= 0; --i) {
    text.push_back(static_cast<char>(0x80 | ((character >> (6 * i)) & 0x3F)));
  }
}

std::string_view CutAtCharacter(std::string_view text, std::size_t room) {
  if (text.size() <= room) return text;
  std::size_t end = room;
  // At most three bytes of one character stand before a cut.
  while (end > 0 && room - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80 ? room : end);
}

}  // namespace brevant
