#include "text/filters.h"

#include "platform/win32.h"
#include "text/charset.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace brevant {
namespace {

// Sorted by name. The names acute, cedil and uml of HTML 3.2 are left out on purpose: references to
// them stay as they are.
constexpr auto kEntities = std::to_array<TEntity>({
    {"AElig", 198},  {"Aacute", 193}, {"Acirc", 194},  {"Agrave", 192}, {"Aring", 197},
    {"Atilde", 195}, {"Auml", 196},   {"Ccedil", 199}, {"ETH", 208},    {"Eacute", 201},
    {"Ecirc", 202},  {"Egrave", 200}, {"Euml", 203},   {"Iacute", 205}, {"Icirc", 206},
    {"Igrave", 204}, {"Iuml", 207},   {"Ntilde", 209}, {"Oacute", 211}, {"Ocirc", 212},
    {"Ograve", 210}, {"Oslash", 216}, {"Otilde", 213}, {"Ouml", 214},   {"THORN", 222},
    {"Uacute", 218}, {"Ucirc", 219},  {"Ugrave", 217}, {"Uuml", 220},   {"Yacute", 221},
    {"aacute", 225}, {"acirc", 226},  {"aelig", 230},  {"agrave", 224}, {"amp", 38},
    {"aring", 229},  {"atilde", 227}, {"auml", 228},   {"brvbar", 166}, {"ccedil", 231},
    {"cent", 162},   {"copy", 169},   {"curren", 164}, {"deg", 176},    {"divide", 247},
    {"eacute", 233}, {"ecirc", 234},  {"egrave", 232}, {"eth", 240},    {"euml", 235},
    {"frac12", 189}, {"frac14", 188}, {"frac34", 190}, {"gt", 62},      {"iacute", 237},
    {"icirc", 238},  {"iexcl", 161},  {"igrave", 236}, {"iquest", 191}, {"iuml", 239},
    {"laquo", 171},  {"lt", 60},      {"macr", 175},   {"micro", 181},  {"middot", 183},
    {"nbsp", 160},   {"not", 172},    {"ntilde", 241}, {"oacute", 243}, {"ocirc", 244},
    {"ograve", 242}, {"ordf", 170},   {"ordm", 186},   {"oslash", 248}, {"otilde", 245},
    {"ouml", 246},   {"para", 182},   {"plusmn", 177}, {"pound", 163},  {"quot", 34},
    {"raquo", 187},  {"reg", 174},    {"sect", 167},   {"shy", 173},    {"sup1", 185},
    {"sup2", 178},   {"sup3", 179},   {"szlig", 223},  {"thorn", 254},  {"times", 215},
    {"uacute", 250}, {"ucirc", 251},  {"ugrave", 249}, {"uuml", 252},   {"yacute", 253},
    {"yen", 165},    {"yuml", 255},
});

constexpr std::size_t kLongestName = 6;
constexpr std::size_t kLongestNumber = 16;
constexpr char kHexDigits[] = "0123456789ABCDEF";
static_assert(std::is_sorted(kEntities.begin(), kEntities.end(),
                             [](const TEntity& a, const TEntity& b) { return a.name < b.name; }));
static_assert(std::all_of(kEntities.begin(), kEntities.end(),
                          [](const TEntity& e) { return e.name.size() <= kLongestName; }));

constexpr std::array<std::string_view, 256> NamesByCharacter() {
  std::array<std::string_view, 256> names{};
  for (const TEntity& entity : kEntities) names[entity.character] = entity.name;
  return names;
}
constexpr std::array<std::string_view, 256> kNames = NamesByCharacter();

unsigned char Byte(char c) { return static_cast<unsigned char>(c); }

// -1 for what is no hexadecimal digit.
int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool NeedsUrlEncoding(char c) { return c == ' ' || c == '#' || c == '%' || Byte(c) >= 128; }

void AppendUrlCode(std::string& text, char c) {
  text += {'%', kHexDigits[Byte(c) >> 4], kHexDigits[Byte(c) & 15]};
}

// The length of the name that starts at text[begin]; npos when it is longer than longest.
std::size_t NameLength(std::string_view text, std::size_t begin, std::size_t longest) {
  for (std::size_t length = 0; length <= longest; ++length) {
    if (begin + length == text.size()) return length;
    char c = text[begin + length];
    if (c == ';' || c == ' ') return length;
  }
  return std::string_view::npos;
}

// Replaces references up to the first "?". lookUp gives the character of a name, write puts it into
// the text at an offset and gives the offset behind; what it writes is no longer than a reference.
template <typename LookUp, typename Write>
void DecodeReferences(std::string& text, std::size_t longest, LookUp lookUp, Write write) {
  const std::size_t end = std::min(text.find('?'), text.size());
  std::size_t from = std::min(text.find('&'), end);
  std::size_t to = from;
  while (from < end) {
    const std::size_t length = NameLength(text, from + 1, longest);
    const auto character = length != std::string_view::npos
                               ? lookUp(std::string_view(text).substr(from + 1, length))
                               : std::nullopt;
    // The "&" of an unknown name stays.
    std::size_t next = from + 1;
    if (character) {
      to = write(text, to, *character);
      from = next += length;
      if (from < text.size() && text[from] == ';') next = ++from;
    }
    // What stands before the next reference goes along in one piece.
    next = std::min(text.find('&', next), end);
    if (to != from) std::memmove(&text[to], &text[from], next - from);
    to += next - from;
    from = next;
  }
  text.erase(to, from - to);
}

// A reference by number: "#8217" or "#x2019".
std::optional<char32_t> NumberedCharacter(std::string_view name) {
  name.remove_prefix(1);
  const bool hexadecimal = !name.empty() && (name[0] == 'x' || name[0] == 'X');
  if (hexadecimal) name.remove_prefix(1);
  std::uint32_t number = 0;
  const auto read =
      std::from_chars(name.data(), name.data() + name.size(), number, hexadecimal ? 16 : 10);
  if (name.empty() || read.ptr != name.data() + name.size()) return std::nullopt;
  if (read.ec != std::errc() || number == 0) return kReplacementCharacter;
  if (number < 128 || number > 159) return number;
  const char byte = static_cast<char>(number);
  const std::string character = DecodeText({&byte, 1}, TCharset::kWindows1252);
  std::string_view rest = character;
  return TakeCharacter(rest);
}

// Puts references in the place of the characters whose first byte is special.
template <typename Special>
void EscapeCharacters(std::string& text, Special special) {
  std::string_view rest = text;
  std::string escaped;
  while (!rest.empty()) {
    const auto stop = std::find_if(rest.begin(), rest.end(), special);
    const auto plain = static_cast<std::size_t>(stop - rest.begin());
    if (plain == text.size()) return;
    escaped.append(rest.substr(0, plain));
    rest.remove_prefix(plain);
    if (rest.empty()) break;
    const char32_t character = TakeCharacter(rest);
    escaped += '&';
    if (const std::string_view name = EntityName(character); !name.empty()) {
      escaped.append(name);
    } else {
      escaped.append(1, '#').append(std::to_string(static_cast<std::uint32_t>(character)));
    }
    escaped += ';';
  }
  text.swap(escaped);
}

}  // namespace

std::span<const TEntity> EntityTable() { return kEntities; }

std::optional<unsigned char> EntityCharacter(std::string_view name) {
  auto at = std::lower_bound(
      kEntities.begin(), kEntities.end(), name,
      [](const TEntity& entity, std::string_view wanted) { return entity.name < wanted; });
  if (at == kEntities.end() || at->name != name) return std::nullopt;
  return at->character;
}

std::string_view EntityName(unsigned codePoint) {
  return codePoint < kNames.size() ? kNames[codePoint] : std::string_view();
}

void HtmlEscape(std::string& text) {
  auto named = [](char c) { return !kNames[Byte(c)].empty(); };
  auto first = std::find_if(text.begin(), text.end(), named);
  if (first == text.end()) return;
  std::string escaped(text.begin(), first);
  escaped.reserve(text.size() + text.size() / 4);
  for (; first != text.end(); ++first) {
    if (named(*first)) {
      escaped.append(1, '&').append(kNames[Byte(*first)]).append(1, ';');
    } else {
      escaped += *first;
    }
  }
  text.swap(escaped);
}

void HtmlDecode(std::string& text) {
  DecodeReferences(
      text, kLongestName, [](std::string_view name) { return EntityCharacter(name); },
      [](std::string& to, std::size_t at, unsigned char character) {
        to[at] = static_cast<char>(character);
        return at + 1;
      });
}

void HtmlDecodeToUtf8(std::string& text) {
  DecodeReferences(
      text, kLongestNumber,
      [](std::string_view name) -> std::optional<char32_t> {
        if (name.starts_with('#')) return NumberedCharacter(name);
        return EntityCharacter(name);
      },
      [](std::string& to, std::size_t at, char32_t character) {
        std::string utf8;
        AppendUtf8(utf8, character);
        to.replace(at, utf8.size(), utf8);
        return at + utf8.size();
      });
}

void HtmlEscapeUtf8(std::string& text) {
  EscapeCharacters(text, [](char c) { return Byte(c) >= 128 || !kNames[Byte(c)].empty(); });
}

void ReferUtf8(std::string& text) {
  EscapeCharacters(text, [](char c) { return Byte(c) >= 128; });
}

void UrlEncode(std::string& text) {
  const std::size_t end = std::min(text.find('?'), text.size());
  auto stop = text.begin() + static_cast<std::ptrdiff_t>(end);
  auto count = static_cast<std::size_t>(std::count_if(text.begin(), stop, NeedsUrlEncoding));
  if (count == 0) return;
  std::string encoded;
  encoded.reserve(text.size() + 2 * count);
  for (auto at = text.begin(); at != stop; ++at) {
    if (NeedsUrlEncoding(*at)) {
      AppendUrlCode(encoded, *at);
    } else {
      encoded += *at;
    }
  }
  text.swap(encoded.append(text, end));
}

void UrlEncodeUtf8(std::string& text) {
  const std::size_t end = std::min(text.find('?'), text.size());
  std::string_view rest = std::string_view(text).substr(0, end);
  if (std::none_of(rest.begin(), rest.end(), NeedsUrlEncoding)) return;
  std::string encoded;
  while (!rest.empty()) {
    if (!NeedsUrlEncoding(rest.front())) {
      encoded += rest.front();
      rest.remove_prefix(1);
      continue;
    }
    const std::string_view from = rest;
    const char32_t character = TakeCharacter(rest);
    const std::string_view bytes = from.substr(0, from.size() - rest.size());
    if (character >= 128 && !EntityName(character).empty()) {
      encoded.append(bytes);
    } else {
      for (const char byte : bytes) AppendUrlCode(encoded, byte);
    }
  }
  text.swap(encoded.append(text, end));
}

void UrlDecode(std::string& text) {
  const std::size_t end = std::min(text.find('?'), text.size());
  std::size_t from = text.find('%');
  if (from >= end) return;
  std::size_t to = from;
  while (from < end) {
    int high = text[from] == '%' && from + 2 < end ? HexValue(text[from + 1]) : -1;
    int low = high >= 0 ? HexValue(text[from + 2]) : -1;
    if (low >= 0) {
      text[to++] = static_cast<char>(high * 16 + low);
      from += 3;
    } else {
      text[to++] = text[from++];
    }
  }
  text.erase(to, from - to);
}

}  // namespace brevant
