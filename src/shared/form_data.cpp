#include "shared/form_data.h"

#include "store/ascii.h"
#include "text/charset.h"

#include <algorithm>

namespace brevant {

namespace {

// A text beyond this is no form's.
constexpr std::size_t kMostLines = 10000;
// More lines than the longest name and value of a record fill.
constexpr std::size_t kMostWraps = 4;

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

std::string_view WithoutBlanksAround(std::string_view text) {
  while (!text.empty() && IsSpaceAscii(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpaceAscii(text.back())) text.remove_suffix(1);
  return text;
}

std::string WithoutZeros(std::string_view text) {
  std::string plain(text);
  std::replace(plain.begin(), plain.end(), '\0', ' ');
  return plain;
}

// Without the blanks around each.
std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty() && lines.size() < kMostLines) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(WithoutBlanksAround(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

void AddPlainField(std::string_view line, std::vector<TFormField>& fields) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return;
  fields.push_back({WithoutZeros(WithoutBlanksAround(line.substr(0, equals))),
                    WithoutZeros(WithoutBlanksAround(line.substr(equals + 1)))});
}

// Whether a mail program may have broken one line into these two: the first word of the second one
// had no room in the first.
bool MayBeWrapped(std::string_view first, std::string_view second) {
  constexpr std::size_t kNarrowest = 60;
  const std::size_t word = std::min(second.find(' '), second.size());
  return !first.empty() && !second.empty() && first.size() + 1 + word > kNarrowest;
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

std::vector<TFormField> ParsePlainForm(std::string_view text) {
  const std::vector<std::string_view> lines = Lines(text);
  std::vector<TFormField> fields;
  for (std::size_t i = 0; i < lines.size() && fields.size() < kMostFormFields; ++i) {
    std::string line(lines[i]);
    AddPlainField(line, fields);
    // Nothing but a blank tells text from an encoded line.
    if (std::none_of(line.begin(), line.end(), IsSpaceAscii)) {
      for (TFormField& field : ParseUrlEncoded(line)) fields.push_back(std::move(field));
    }
    for (std::size_t next = i + 1; next <= i + kMostWraps && next < lines.size() &&
                                   MayBeWrapped(lines[next - 1], lines[next]);
         ++next) {
      line.append(" ").append(lines[next]);
      AddPlainField(line, fields);
    }
  }
  if (fields.size() > kMostFormFields) fields.resize(kMostFormFields);
  return fields;
}

void DecodeForm(std::vector<TFormField>& fields, const std::string& label) {
  std::string charset = label;
  for (const TFormField& field : fields) {
    if (charset.empty() && field.name == "_charset_") charset = field.value;
  }
  for (TFormField& field : fields) {
    field.name = DecodeText(field.name, charset);
    field.value = DecodeText(field.value, charset);
  }
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
