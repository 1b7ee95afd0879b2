#include "text.h"

#include <algorithm>

namespace host {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsControl(char c) {
  auto code = static_cast<unsigned char>(c);
  return code < 32 || code == 127;
}

}  // namespace

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return lower;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string Printable(std::string_view text) {
  std::string safe(text);
  std::replace_if(safe.begin(), safe.end(), IsControl, '?');
  // The control characters beyond ASCII, U+0080 to U+009F, as UTF-8 spells them.
  for (std::size_t i = 0; i + 1 < safe.size(); ++i) {
    if (safe[i] == '\xC2' && static_cast<unsigned char>(safe[i + 1]) < 0xA0) {
      safe.replace(i, 2, "?");
    }
  }
  return safe;
}

std::string CutUtf8(const std::string& text, std::size_t size) {
  if (text.size() <= size) return text;
  while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  return text.substr(0, size);
}

bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), IsControl);
}

}  // namespace host
