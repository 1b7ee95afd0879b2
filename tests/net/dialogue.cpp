#include "dialogue.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

std::string Trimmed(const std::string& text) {
  const std::size_t start = text.find_first_not_of(' ');
  if (start == std::string::npos) return "";
  return text.substr(start, text.find_last_not_of(' ') + 1 - start);
}

long ToNumber(const std::string& text) {
  long value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size())
    throw std::runtime_error("no number: " + text);
  return value;
}

std::string Unquoted(const std::string& text) {
  std::size_t at = 0;
  return ParseQuoted(text, &at);
}

class Parser {
 public:
  explicit Parser(const std::string& text) : in_(text) {}

  DialogueCase Parse() {
    std::string line;
    while (std::getline(in_, line)) {
      ++number_;
      try {
        ParseLine(line);
      } catch (const std::runtime_error& error) {
        throw std::runtime_error("line " + std::to_string(number_) + ": " + error.what());
      }
    }
    return std::move(case_);
  }

 private:
  void ParseLine(const std::string& line) {
    if (line.starts_with('|')) {
      // The text of a message: "| text" or a lone "|".
      if (case_.messages.empty()) throw std::runtime_error("a line of no message");
      case_.messages.back() += (line.size() > 2 ? line.substr(2) : "") + "\n";
      return;
    }
    if (line.empty() || line[0] == '#') return;
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) throw std::runtime_error("no keyword");
    Keyword(line.substr(0, colon), Trimmed(line.substr(colon + 1)));
  }

  void Keyword(const std::string& keyword, const std::string& value) {
    if (keyword == "protocol") {
      case_.protocol = value;
    } else if (keyword == "status") {
      case_.status = static_cast<DWORD>(ToNumber(value));
    } else if (keyword == "timeout") {
      case_.timeout = static_cast<DWORD>(ToNumber(value));
    } else if (keyword == "option") {
      case_.options.push_back(value);
    } else if (keyword == "message") {
      case_.messages.push_back(value.empty() ? "" : Unquoted(value));
    } else if (keyword == "deviate") {
      case_.deviations.push_back(ParseDeviation(value));
    } else if (keyword == "run") {
      AddStep(value);
    } else if (keyword == "client") {
      case_.checksClient = true;
      case_.client += Unquoted(value);
    } else if (keyword == "history") {
      case_.history.push_back(Unquoted(value));
    } else if (keyword == "within") {
      case_.within = ToNumber(value);
    } else if (keyword == "left") {
      case_.left = static_cast<int>(ToNumber(value));
    } else {
      throw std::runtime_error("unknown keyword " + keyword);
    }
  }

  void AddStep(const std::string& value) {
    const std::size_t arrow = value.rfind(" => ");
    if (arrow == std::string::npos) throw std::runtime_error("a step without =>");
    const std::string call = Trimmed(value.substr(0, arrow));
    const std::size_t blank = std::min(call.find(' '), call.size());
    case_.steps.push_back({call.substr(0, blank), Trimmed(call.substr(blank)),
                           Trimmed(value.substr(arrow + 4)), number_});
  }

  std::istringstream in_;
  DialogueCase case_;
  int number_ = 0;
};

}  // namespace

DialogueCase ParseDialogue(const std::string& text) { return Parser(text).Parse(); }

std::vector<std::string> DialogueWords(const std::string& text) {
  std::vector<std::string> words;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == ' ') {
      ++at;
    } else if (text[at] == '"') {
      words.push_back(ParseQuoted(text, &at));
    } else {
      const std::size_t end = std::min(text.find(' ', at), text.size());
      words.push_back(text.substr(at, end - at));
      at = end;
    }
  }
  return words;
}

}  // namespace test
