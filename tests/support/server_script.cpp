// The text form of deviations.
#include "support/server.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace test {
namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  throw std::runtime_error("a hexadecimal digit is missing");
}

class Words {
 public:
  explicit Words(std::string_view text) : text_(text) {}

  std::string Next() {
    at_ = std::min(text_.find_first_not_of(' ', at_), text_.size());
    const std::size_t end = std::min(text_.find(' ', at_), text_.size());
    std::string word(text_.substr(at_, end - at_));
    at_ = end;
    return word;
  }

  long Number() {
    const std::string word = Next();
    long value = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size())
      throw std::runtime_error("no number: " + word);
    return value;
  }

  std::string Quoted() { return ParseQuoted(text_, &at_); }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::string ParseQuoted(std::string_view text, std::size_t* at) {
  *at = std::min(text.find_first_not_of(' ', *at), text.size());
  if (*at == text.size() || text[*at] != '"') throw std::runtime_error("a quote is missing");
  std::string result;
  for (std::size_t i = *at + 1; i < text.size(); ++i) {
    char c = text[i];
    if (c == '"') {
      *at = i + 1;
      return result;
    }
    if (c == '\\' && ++i < text.size()) {
      c = text[i];
      if (c == 'r') c = '\r';
      if (c == 'n') c = '\n';
      if (c == 't') c = '\t';
      if (c == 'x' && i + 2 < text.size()) {
        c = static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
        i += 2;
      }
    }
    result += c;
  }
  throw std::runtime_error("the closing quote is missing");
}

std::string Quote(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result = "\"";
  for (const char c : bytes) {
    const auto value = static_cast<unsigned char>(c);
    if (c == '\r') {
      result += "\\r";
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else if (c == '"' || c == '\\') {
      (result += '\\') += c;
    } else if (value < 32 || value > 126) {
      ((result += "\\x") += kDigits[value / 16]) += kDigits[value % 16];
    } else {
      result += c;
    }
  }
  return result += '"';
}

namespace {

void ParseAction(const std::string& action, Words& words, Deviation* deviation) {
  if (action == "reply") {
    deviation->replaced = true;
    deviation->reply = words.Quoted();
  } else if (action == "delay") {
    deviation->delay = static_cast<int>(words.Number());
  } else if (action == "dribble") {
    deviation->dribble = static_cast<int>(words.Number());
  } else if (action == "burst") {
    deviation->burst = words.Number();
  } else if (action == "drop" || action == "reset") {
    deviation->dropAfter = words.Number();
    deviation->reset = action == "reset";
  } else if (action == "silent") {
    deviation->silent = true;
  } else if (action == "endless") {
    deviation->endless = true;
  } else if (action == "flood") {
    deviation->flood = words.Number();
    deviation->reply = words.Quoted();
  } else {
    throw std::runtime_error("no deviation: " + action);
  }
}

}  // namespace

Deviation ParseDeviation(std::string_view text) {
  Words words(text);
  Deviation deviation;
  deviation.command = words.Next();
  const std::string occurrence = words.Next();
  if (occurrence != "*") deviation.occurrence = static_cast<int>(Words(occurrence).Number());
  std::string action = words.Next();
  do {
    ParseAction(action, words, &deviation);
    action = words.Next();
  } while (!action.empty());
  return deviation;
}

}  // namespace test
