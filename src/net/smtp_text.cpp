#include "net/smtp_text.h"

#include <algorithm>

namespace brevant {
namespace {

constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kBlanks = " \t";

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

// Whether a line end at this place folds a field.
bool IsFold(std::string_view text, std::size_t at) {
  if (text.substr(at, 2) != "\r\n") return false;
  const std::size_t start = at + 2;
  const std::size_t content = text.find_first_not_of(kBlanks, start);
  return content != start && content != std::string_view::npos &&
         kLineEnds.find(text[content]) == std::string_view::npos;
}

// The place of the "<" whose path ends the text, or npos. One inside a quoted name is none.
std::size_t FindBracket(std::string_view text) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (quoted && text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (text[i] == '<' && !quoted) {
      return i;
    }
  }
  return std::string_view::npos;
}

bool IsPath(std::string_view text) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsControl(text[i])) return false;
    if (quoted && text[i] == '\\') {
      ++i;
      if (i == text.size() || IsControl(text[i])) return false;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && (text[i] == ' ' || text[i] == '<' || text[i] == '>')) {
      return false;
    }
  }
  return !quoted;
}

}  // namespace

void BlankLineEnds(std::string& text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
}

void BlankLineEndsExceptFolds(std::string& text) {
  for (std::size_t at = text.find_first_of(kLineEnds); at != std::string::npos;
       at = text.find_first_of(kLineEnds, at)) {
    if (IsFold(text, at)) {
      at += 2;
    } else {
      text[at++] = ' ';
    }
  }
}

bool IsFieldName(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '_';
  });
}

std::optional<std::string> PathOf(std::string_view text) {
  // Not even in a name before the path: who writes such an entry wants something else of it.
  if (std::any_of(text.begin(), text.end(), IsControl)) return std::nullopt;
  const std::size_t bracket = text.ends_with('>') ? FindBracket(text) : std::string_view::npos;
  if (bracket != std::string_view::npos) text = text.substr(bracket + 1, text.size() - bracket - 2);
  if (!IsPath(text)) return std::nullopt;
  return std::string(text);
}

void AppendBody(std::string_view piece, bool* atLineStart, bool* afterReturn, std::string* out) {
  if (*afterReturn && piece.starts_with('\n')) piece.remove_prefix(1);
  *afterReturn = piece.ends_with('\r');
  while (!piece.empty()) {
    if (*atLineStart && piece.starts_with('.')) *out += '.';
    const std::size_t end = std::min(piece.find_first_of(kLineEnds), piece.size());
    *out += piece.substr(0, end);
    piece.remove_prefix(end);
    *atLineStart = !piece.empty();
    if (piece.empty()) break;
    *out += kLineEnds;
    piece.remove_prefix(piece.starts_with(kLineEnds) ? 2 : 1);
  }
}

}  // namespace brevant
