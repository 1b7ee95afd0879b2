#include "text/encoded_words.h"

#include "store/ascii.h"
#include "text/charset.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

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

struct TEncodedWord {
  std::string_view charset;
  std::string bytes;
  std::size_t length;  // of what stands for it in the header
};

// An encoded word at the start of text.
std::optional<TEncodedWord> DecodeWord(std::string_view text) {
  if (!text.starts_with("=?")) return std::nullopt;
  const std::size_t charsetEnd = text.find('?', 2);
  if (charsetEnd == std::string_view::npos || charsetEnd == 2 || charsetEnd + 2 >= text.size() ||
      text[charsetEnd + 2] != '?') {
    return std::nullopt;
  }
  const std::size_t start = charsetEnd + 3;
  // No search goes beyond the next "=?": a header full of them takes linear time.
  const std::size_t end = std::min(text.find_first_of("? \t", start), text.size());
  if (!text.substr(end).starts_with("?=")) return std::nullopt;
  const std::string_view payload = text.substr(start, end - start);
  const char form = ToLowerAscii(text[charsetEnd + 1]);
  if (form != 'q' && form != 'b') return std::nullopt;
  std::optional<std::string> bytes = form == 'q' ? DecodeQ(payload) : DecodeB(payload);
  if (!bytes) return std::nullopt;
  // A language may follow the charset behind a "*".
  const std::string_view label = text.substr(2, charsetEnd - 2);
  return TEncodedWord{label.substr(0, label.find('*')), std::move(*bytes), end + 2};
}

// Hands a header to sink: Word for every encoded word, Text for every other character.
template <typename TSink>
void WalkHeader(std::string_view text, TSink& sink) {
  bool afterWord = false;
  std::size_t at = 0;
  while (at < text.size()) {
    // Blanks between two words are no text; how many there are shows only behind them.
    std::size_t next = at;
    while (afterWord && next < text.size() && IsSpaceAscii(text[next])) ++next;
    if (const auto word = DecodeWord(text.substr(next))) {
      sink.Word(*word);
      at = next + word->length;
      afterWord = true;
      continue;
    }
    const std::size_t end = std::min(text.find("=?", next + 1), text.size());
    sink.Text(text.substr(at, end - at));
    at = end;
    afterWord = false;
  }
}

struct TByteSink {
  std::string bytes;
  void Word(const TEncodedWord& word) { bytes += word.bytes; }
  void Text(std::string_view text) { bytes += text; }
};

class TUtf8Sink {
 public:
  explicit TUtf8Sink(bool keepsAddresses) : keepsAddresses_(keepsAddresses) {}

  void Word(const TEncodedWord& word) {
    if (!EqualsIgnoreCase(word.charset, charset_)) EndWords();
    charset_ = word.charset;
    bytes_ += word.bytes;
  }
  void Text(std::string_view text) {
    EndWords();
    Put(DecodeText(text, TCharset::kUnknown));
  }
  std::string Take() {
    EndWords();
    return std::move(utf8_);
  }

 private:
  void EndWords() {
    std::string text = DecodeText(bytes_, charset_);
    bytes_.clear();
    if (keepsAddresses_) {
      for (char& c : text) {
        if (c == '"') c = '\'';
        if (c == '<') c = '(';
        if (c == '>') c = ')';
      }
    }
    Put(text);
  }

  void Put(std::string_view text) {
    while (!text.empty()) {
      const char32_t character = TakeCharacter(text);
      const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
      AppendUtf8(utf8_, control ? U' ' : character);
    }
  }

  bool keepsAddresses_;
  std::string utf8_;
  // Of the words since the last text.
  std::string_view charset_;
  std::string bytes_;
};

std::string DecodeToUtf8(std::string_view value, bool keepsAddresses) {
  TUtf8Sink sink(keepsAddresses);
  WalkHeader(value, sink);
  return sink.Take();
}

}  // namespace

std::string DecodeEncodedWords(std::string_view text) {
  TByteSink sink;
  WalkHeader(text, sink);
  return std::move(sink.bytes);
}

std::string DecodeHeader(std::string_view value) { return DecodeToUtf8(value, false); }

std::string DecodeAddressHeader(std::string_view value) { return DecodeToUtf8(value, true); }

}  // namespace brevant
