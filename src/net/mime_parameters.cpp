#include "net/mime_parameters.h"

#include "store/ascii.h"

#include <algorithm>
#include <map>

namespace brevant {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
// More continuations than a value can hold are no parameter's.
constexpr int kMostSections = 256;

std::string_view Trimmed(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t last = text.find_last_not_of(kBlanks);
  return last == std::string_view::npos ? std::string_view() : text.substr(start, last + 1 - start);
}

// Without comments in parentheses outside quoted text.
std::string WithoutComments(std::string_view value) {
  std::string result;
  int depth = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (quoted || depth > 0) {
      const bool escaped = c == '\\' && i + 1 < value.size();
      if (quoted) result += c;
      if (escaped && quoted) result += value[i + 1];
      if (escaped) ++i;
      if (escaped) continue;
      if (quoted && c == '"') quoted = false;
      if (!quoted && depth > 0 && c == '(') ++depth;
      if (!quoted && depth > 0 && c == ')') --depth;
      continue;
    }
    if (c == '(') {
      ++depth;
      continue;
    }
    quoted = c == '"';
    result += c;
  }
  return result;
}

struct Parameter {
  std::string_view name;
  std::string value;
};

// Walks the parameters behind the main value.
class ParameterReader {
 public:
  explicit ParameterReader(std::string_view text) : text_(text) {
    at_ = std::min(text_.find(';'), text_.size());
  }

  bool Next(Parameter& parameter) {
    while (at_ < text_.size()) {
      ++at_;  // the semicolon
      const std::size_t equals = std::min(text_.find_first_of("=;", at_), text_.size());
      if (equals == text_.size()) return false;
      parameter.name = Trimmed(text_.substr(at_, equals - at_));
      at_ = equals;
      if (text_[equals] == ';') continue;
      at_ = equals + 1;
      ReadValue(parameter.value);
      return true;
    }
    return false;
  }

 private:
  void ReadValue(std::string& value) {
    value.clear();
    at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
    if (at_ < text_.size() && text_[at_] == '"') {
      for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
        if (text_[at_] == '\\' && at_ + 1 < text_.size()) ++at_;
        value += text_[at_];
      }
      at_ = std::min(text_.find(';', at_), text_.size());
      return;
    }
    const std::size_t end = std::min(text_.find(';', at_), text_.size());
    value = Trimmed(text_.substr(at_, end - at_));
    at_ = end;
  }

  std::string_view text_;
  std::size_t at_;
};

int HexDigit(char c) {
  if (IsDigitAscii(c)) return c - '0';
  const char lower = ToLowerAscii(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string PercentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
    if (low >= 0) {
      result += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

// The value behind charset'language'.
std::string_view WithoutCharset(std::string_view value) {
  const std::size_t first = value.find('\'');
  const std::size_t second = first == std::string_view::npos ? first : value.find('\'', first + 1);
  return second == std::string_view::npos ? value : value.substr(second + 1);
}

struct Section {
  bool encoded = false;
  std::string value;
};

// The section number behind "name*", 0 for none; false when it is neither.
bool ReadSection(std::string_view rest, int& number, bool& encoded) {
  encoded = rest.ends_with('*');
  if (encoded) rest.remove_suffix(1);
  number = 0;
  if (rest.empty()) return true;
  if (rest[0] != '*' || rest.size() < 2 || rest.size() > 4 ||
      !std::all_of(rest.begin() + 1, rest.end(), IsDigitAscii))
    return false;
  number = LeadingNumber(rest.substr(1));
  return number < kMostSections;
}

}  // namespace

std::optional<std::string> FindQuotedParameter(std::string_view value, std::string_view name) {
  const std::size_t at = value.find(name);
  if (at == std::string_view::npos) return std::nullopt;
  std::string_view rest = value.substr(at + name.size());
  if (!rest.starts_with("=\"")) return std::nullopt;
  rest.remove_prefix(2);
  return std::string(rest.substr(0, rest.find('"')));
}

std::optional<std::string> FindParameter(std::string_view value, std::string_view name) {
  const std::string text = WithoutComments(value);
  ParameterReader reader(text);
  Parameter parameter;
  std::optional<std::string> plain;
  std::map<int, Section> sections;
  while (reader.Next(parameter)) {
    if (parameter.name.size() < name.size() ||
        !EqualsIgnoreCase(parameter.name.substr(0, name.size()), name))
      continue;
    const std::string_view rest = parameter.name.substr(name.size());
    int number = 0;
    bool encoded = false;
    if (rest.empty()) {
      if (!plain) plain = parameter.value;
    } else if (rest[0] == '*' && ReadSection(rest, number, encoded)) {
      sections.try_emplace(number, Section{encoded, parameter.value});
    }
  }
  if (sections.empty() || sections.begin()->first != 0) return plain;
  std::string joined;
  int expected = 0;
  for (const auto& [number, section] : sections) {
    if (number != expected++) break;  // what follows a gap belongs to nothing
    const std::string_view part = section.value;
    joined += section.encoded ? PercentDecoded(number == 0 ? WithoutCharset(part) : part) : part;
  }
  return joined;
}

std::string MainValue(std::string_view value) {
  const std::string text = WithoutComments(value);
  return std::string(Trimmed(std::string_view(text).substr(0, text.find(';'))));
}

}  // namespace brevant
