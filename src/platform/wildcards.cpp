#include "platform/wildcards.h"

#include <vector>

namespace brevant::platform {
namespace {

// What a pattern is made of. The kinds with "dos" behave differently near dots, so that patterns
// written for 8.3 names do what their authors meant.
enum class Kind { kLetter, kAny, kAnyBeforeLastDot, kDosOne, kDosDot };

struct Token {
  Kind kind;
  char letter = '\0';
};

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::vector<Token> Compile(std::string_view pattern) {
  if (pattern == "*.*") pattern = "*";
  // A final dot is no part of a name; it leaves its mark on a star before it only.
  const bool finalDot = pattern.size() > 1 && pattern.back() == '.';
  while (pattern.size() > 1 && pattern.back() == '.') pattern.remove_suffix(1);
  std::vector<Token> tokens;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool last = i + 1 == pattern.size();
    const char next = last ? (finalDot ? '.' : '\0') : pattern[i + 1];
    if (pattern[i] == '*') {
      tokens.push_back({next == '.' ? Kind::kAnyBeforeLastDot : Kind::kAny});
    } else if (pattern[i] == '?') {
      tokens.push_back({Kind::kDosOne});
    } else if (pattern[i] == '.' && (next == '*' || next == '?')) {
      tokens.push_back({Kind::kDosDot});
    } else {
      tokens.push_back({Kind::kLetter, UpperAscii(pattern[i])});
    }
  }
  return tokens;
}

// How far the byte at i of UTF-8 text reaches; a byte that is no UTF-8 stands for itself.
std::size_t CharacterLength(std::string_view text, std::size_t i) {
  std::size_t length = 1;
  while (i + length < text.size() && length < 4 &&
         (static_cast<unsigned char>(text[i]) & 0xC0U) == 0xC0U &&
         (static_cast<unsigned char>(text[i + length]) & 0xC0U) == 0x80U) {
    ++length;
  }
  return length;
}

}  // namespace

bool HasWildcards(std::string_view pattern) {
  return pattern.find_first_of("*?") != std::string_view::npos;
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
  const std::vector<Token> tokens = Compile(pattern);
  const std::size_t lastDot = name.rfind('.');
  // reachable[t][i]: the first t tokens can match the first i bytes. Token by token, so the cost is
  // bounded by the product of the lengths whatever the pattern.
  std::vector<char> reachable(name.size() + 1, 0);
  reachable[0] = 1;
  for (const Token& token : tokens) {
    std::vector<char> next(name.size() + 1, 0);
    for (std::size_t i = 0; i <= name.size(); ++i) {
      const bool atEnd = i == name.size();
      const bool star = token.kind == Kind::kAny || token.kind == Kind::kAnyBeforeLastDot;
      if (star && (reachable[i] != 0 || next[i] != 0)) {
        next[i] = 1;
        const bool stops = token.kind == Kind::kAnyBeforeLastDot && i == lastDot;
        if (!atEnd && !stops) next[i + 1] = 1;
      }
      if (star || reachable[i] == 0) continue;
      if (token.kind == Kind::kLetter) {
        if (!atEnd && UpperAscii(name[i]) == token.letter) next[i + 1] = 1;
      } else if (token.kind == Kind::kDosDot) {
        if (atEnd) next[i] = 1;
        if (!atEnd && name[i] == '.') next[i + 1] = 1;
      } else if (atEnd || name[i] == '.') {
        next[i] = 1;
      } else {
        next[i + CharacterLength(name, i)] = 1;
      }
    }
    reachable.swap(next);
  }
  return reachable[name.size()] != 0;
}

}  // namespace brevant::platform
