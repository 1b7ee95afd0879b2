#include "text.h"

#include <algorithm>
#include <utility>

namespace host {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsControl(char c) {
  auto code = static_cast<unsigned char>(c);
  return code < 32 || code == 127;
}

// The character at the start of text and its length in bytes; a byte that begins none counts as one
// of ISO-8859-1.
std::pair<unsigned, std::size_t> FirstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC2 ? 2 : 1;
  if (length == 1 || length > text.size()) return {byte(0), 1};
  unsigned code = byte(0) & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {byte(0), 1};
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  return {code, length};
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

std::string HtmlText(std::string_view text) {
  std::string html;
  while (!text.empty()) {
    const auto [code, length] = FirstCharacter(text);
    // The dollar sign begins a tag of a template.
    const bool isPlain = code < 128 && std::string_view("&<>\"'$").find(static_cast<char>(code)) ==
                                           std::string_view::npos;
    html += isPlain ? std::string(1, static_cast<char>(code)) : "&#" + std::to_string(code) + ";";
    text.remove_prefix(length);
  }
  return html;
}

bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), IsControl);
}

}  // namespace host
