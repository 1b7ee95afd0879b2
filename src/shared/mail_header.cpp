#include "shared/mail_header.h"

#include "platform/win32.h"
#include "shared/mail_encoding.h"
#include "shared/page_store.h"
#include "store/ascii.h"
#include "text/charset.h"

#include <algorithm>
#include <array>
#include <vector>

namespace brevant {

namespace {

constexpr std::size_t kLongestLine = 76;
// Room for the name of the field before a folded value.
constexpr std::size_t kFieldName = 10;
constexpr std::size_t kLongestAddress = 254;

// What an atom is made of.
bool IsAtomText(char c) {
  return IsAlphanumeric(c) ||
         std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != std::string_view::npos;
}

bool IsPrintable(char c) { return c >= ' ' && c <= '~'; }

bool AllOf(std::string_view text, bool (*test)(char)) {
  return std::all_of(text.begin(), text.end(), test);
}

// Whether a header line can hold the text as it is, and readers leave it alone.
bool IsPlain(std::string_view text) {
  return AllOf(text, IsPrintable) && text.find("=?") == std::string_view::npos &&
         !text.starts_with(' ') && !text.ends_with(' ');
}

std::string WithoutControls(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const char32_t character = TakeCharacter(text);
    const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
    AppendUtf8(clean, control ? U' ' : character);
  }
  return clean;
}

std::string_view Trimmed(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += ' ';
    text += word;
  }
  return text;
}

std::string Folded(const std::vector<std::string>& words) {
  std::string text;
  std::size_t length = kFieldName;
  for (const std::string& word : words) {
    if (!text.empty()) {
      const bool fits = length + 1 + word.size() <= kLongestLine;
      text += fits ? " " : "\r\n ";
      length = fits ? length + 1 : 1;
    }
    text += word;
    length += word.size();
  }
  return text;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted += '"';
}

// A name before an address.
std::vector<std::string> Phrase(std::string_view name) {
  const std::string clean = WithoutControls(name);
  const std::string_view text = Trimmed(clean);
  if (text.empty()) return {};
  if (!IsPlain(text)) return EncodedWords(text, "utf-8");
  const auto isAtoms = [](char c) { return c == ' ' || IsAtomText(c); };
  const bool atoms = AllOf(text, isAtoms) && text.find("  ") == std::string_view::npos;
  return {atoms ? std::string(text) : Quoted(text)};
}

// Pieces between points, none of them empty.
bool IsDotted(std::string_view text, bool (*test)(char)) {
  if (text.empty() || text.front() == '.' || text.back() == '.') return false;
  if (text.find("..") != std::string_view::npos) return false;
  return std::all_of(text.begin(), text.end(), [test](char c) { return c == '.' || test(c); });
}

bool IsQuotedString(std::string_view text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return false;
  text = text.substr(1, text.size() - 2);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsPrintable(text[i]) || text[i] == '"') return false;
    if (text[i] == '\\' && ++i == text.size()) return false;
  }
  return true;
}

std::string LocalPart(std::string_view text) {
  if (IsDotted(text, IsAtomText) || IsQuotedString(text)) return std::string(text);
  return !text.empty() && AllOf(text, IsPrintable) ? Quoted(text) : std::string();
}

bool IsDottedNumbers(std::string_view domain) {
  return AllOf(domain, [](char c) { return c == '.' || IsDigitAscii(c); });
}

std::string Domain(std::string_view text) {
  const auto isLabel = [](char c) { return IsAlphanumeric(c) || c == '-' || c == '_'; };
  if (IsDotted(text, isLabel)) {
    return IsDottedNumbers(text) ? "[" + std::string(text) + "]" : std::string(text);
  }
  const auto isLiteral = [](char c) { return IsAlphanumeric(c) || c == '.' || c == ':'; };
  const bool literal = text.size() > 2 && text.front() == '[' && text.back() == ']' &&
                       AllOf(text.substr(1, text.size() - 2), isLiteral);
  return literal ? std::string(text) : std::string();
}

// At least so many digits.
std::string Digits(int number, std::size_t count) {
  std::string text = std::to_string(number);
  if (text.size() < count) text.insert(0, count - text.size(), '0');
  return text;
}

}  // namespace

std::string HeaderText(std::string_view text) {
  const std::string clean = WithoutControls(text);
  return IsPlain(clean) ? clean : Joined(EncodedWords(clean, "utf-8"));
}

std::string HeaderBytes(std::string_view bytes) {
  if (IsPlain(bytes)) return std::string(bytes);
  TUtf8Check check;
  check.Add(bytes);
  return Joined(EncodedWords(bytes, check.Valid() ? "utf-8" : "windows-1252"));
}

std::string AddressSpec(std::string_view address) {
  const std::size_t at = address.rfind('@');
  if (at == std::string_view::npos) return {};
  const std::string local = LocalPart(address.substr(0, at));
  const std::string domain = Domain(address.substr(at + 1));
  if (local.empty() || domain.empty()) return {};
  std::string spec = local + "@" + domain;
  return spec.size() <= kLongestAddress ? spec : std::string();
}

std::string AddressDomain(std::string_view spec) {
  return std::string(spec.substr(spec.rfind('@') + 1));
}

std::string Mailbox(std::string_view name, const std::string& spec) {
  std::vector<std::string> words = Phrase(name);
  if (words.empty()) return spec;
  words.push_back("<" + spec + ">");
  return Folded(words);
}

std::string HeaderDate(const TTime& local) {
  constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  constexpr std::int64_t kTicksPerMinute = 600'000'000;
  const SYSTEMTIME parts = local.Parts();
  const TTime now = TTime::NowGreenwich();
  const auto ahead = static_cast<std::int64_t>((LocalFileTime(now) - now).Ticks());
  const int minutes = static_cast<int>(ahead / kTicksPerMinute);
  const int bias = minutes < 0 ? -minutes : minutes;
  return std::string(kDays[parts.wDayOfWeek % kDays.size()]) + ", " + Digits(parts.wDay, 2) + " " +
         kMonths[(parts.wMonth + kMonths.size() - 1) % kMonths.size()] + " " +
         Digits(parts.wYear, 4) + " " + Digits(parts.wHour, 2) + ":" + Digits(parts.wMinute, 2) +
         ":" + Digits(parts.wSecond, 2) + (minutes < 0 ? " -" : " +") + Digits(bias / 60, 2) +
         Digits(bias % 60, 2);
}

std::string EncodeForUrl(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string url;
  for (const char c : text) {
    if (IsAlphanumeric(c) || std::string_view("-._~@").find(c) != std::string_view::npos) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return url;
}

}  // namespace brevant
