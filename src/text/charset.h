// Character sets of mail, and the way of their texts into UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brevant {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

enum class TCharset {
  // A label that nobody knows, none at all, or us-ascii (whose bytes of 128 and more prove the
  // label
  // wrong). What is a UTF-8 sequence counts as one, every other byte as windows-1252.
  kUnknown = 0,
  // The ISO-8859 family by its part numbers (12 was never published). Mail that says iso-8859-1 and
  // holds bytes 0x80 to 0x9F means windows-1252; in the other parts these bytes are no text.
  kIso8859Part1 = 1,
  kIso8859Part16 = 16,
  kWindows1252 = 101,
  kUtf8 = 102,
};

// What a label means: in any letter case, with blanks or quotes around it, under its common
// aliases.
TCharset FindCharset(std::string_view label);

// Turns text that arrives in pieces into UTF-8. A broken sequence becomes one replacement character
// (its longest beginning that is sound counts as one), a byte without a character too; nothing is
// dropped, zero bytes and other control characters stay.
class TTextDecoder {
 public:
  explicit TTextDecoder(TCharset charset) : charset_(charset) {}
  // Appends to utf8 what is complete.
  void Decode(std::string_view bytes, std::string& utf8);
  // The text ends here: what is incomplete is broken. The decoder is as new.
  void Finish(std::string& utf8);

 private:
  void DecodeSequences(std::string_view bytes, std::string& utf8);
  void PutBroken(std::string_view bytes, std::string& utf8) const;

  TCharset charset_;
  std::string pending_;  // the beginning of a UTF-8 sequence
};

// Watches a text that arrives in pieces.
class TUtf8Check {
 public:
  void Add(std::string_view bytes);
  // Whether all of it is ASCII so far; whether it is UTF-8 without a broken sequence.
  bool Ascii() const { return ascii_; }
  bool Valid() const { return valid_ && pending_.empty(); }

 private:
  bool ascii_ = true;
  bool valid_ = true;
  std::string pending_;  // the beginning of a sequence
};

// A whole text at once.
std::string DecodeText(std::string_view bytes, TCharset charset);
std::string DecodeText(std::string_view bytes, std::string_view label);

// The characters of text, one after the other: takes the first one off text, which must not be
// empty. Broken sequences give kReplacementCharacter.
char32_t TakeCharacter(std::string_view& text);
void AppendUtf8(std::string& text, char32_t character);

// The longest beginning of a UTF-8 text that has at most room bytes and ends with a whole
// character.
std::string_view CutAtCharacter(std::string_view text, std::size_t room);

}  // namespace brevant
