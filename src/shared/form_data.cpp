#include "shared/form_data.h"

#include "store/ascii.h"

#include <algorithm>

namespace brevant {

namespace {

// The value of a hexadecimal digit, or -1.
int HexDigit(char c) {
  if (IsDigitAscii(c)) return c - '0';
  const char lower = ToLowerAscii(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string DecodeUrl(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i] == '+' ? ' ' : text[i];
    if (c == '%' && i + 2 < text.size()) {
      const int high = HexDigit(text[i + 1]);
      const int low = HexDigit(text[i + 2]);
      if (high >= 0 && low >= 0) {
        c = static_cast<char>(high * 16 + low);
        i += 2;
      }
    }
    decoded.push_back(c == '\0' ? ' ' : c);
  }
  return decoded;
}

}  // namespace

std::vector<TFormField> ParseUrlEncoded(std::string_view text) {
  std::string joined(text);
  std::erase_if(joined, [](char c) { return c == '\r' || c == '\n'; });
  std::vector<TFormField> fields;
  std::string_view rest = joined;
  while (!rest.empty() && fields.size() < kMostFormFields) {
    const std::size_t end = std::min(rest.find('&'), rest.size());
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (field.empty()) continue;
    const std::size_t equals = std::min(field.find('='), field.size());
    fields.push_back({DecodeUrl(field.substr(0, equals)),
                      DecodeUrl(field.substr(std::min(equals + 1, field.size())))});
  }
  return fields;
}

bool FormMaySet(std::string_view name) {
  // A record of 128 bytes holds the name, a zero byte and at least one byte of the value.
  constexpr std::size_t kLongestName = 125;
  constexpr std::string_view kNever[] = {"Name",
                                         "LINK ID",
                                         "Sent to mailing list",
                                         "Vote Count",
                                         "Document Type",
                                         "CHARSET",
                                         "Header Charset",
                                         "FROM",
                                         "TO",
                                         "E-Mail Address",
                                         "Creation time",
                                         "Last Modify Time",
                                         "From Name",
                                         "From Email Address"};
  if (name.empty() || name.size() > kLongestName) return false;
  const auto control = [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; };
  return std::none_of(name.begin(), name.end(), control) &&
         std::none_of(std::begin(kNever), std::end(kNever),
                      [name](std::string_view never) { return EqualsIgnoreCase(name, never); });
}

}  // namespace brevant
