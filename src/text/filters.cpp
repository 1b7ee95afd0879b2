#include "text/filters.h"

#include "platform/win32.h"

#include <algorithm>
#include <array>

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

// The length of the name that starts at text[begin]; npos when it is longer than any in the table.
std::size_t NameLength(std::string_view text, std::size_t begin) {
  for (std::size_t length = 0; length <= kLongestName; ++length) {
    if (begin + length == text.size()) return length;
    char c = text[begin + length];
    if (c == ';' || c == ' ') return length;
  }
  return std::string_view::npos;
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
  const std::size_t end = std::min(text.find('?'), text.size());
  std::size_t from = text.find('&');
  std::size_t to = from;
  while (from < end) {
    if (text[from] != '&') {
      text[to++] = text[from++];
      continue;
    }
    std::size_t length = NameLength(text, from + 1);
    std::optional<unsigned char> character;
    if (length != std::string_view::npos) {
      character = EntityCharacter(std::string_view(text).substr(from + 1, length));
    }
    if (!character) {
      text[to++] = text[from++];
      continue;
    }
    text[to++] = static_cast<char>(*character);
    from += 1 + length;
    if (from < text.size() && text[from] == ';') ++from;
  }
  if (to < from && from <= text.size()) text.erase(to, from - to);
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
      encoded += '%';
      encoded += kHexDigits[Byte(*at) >> 4];
      encoded += kHexDigits[Byte(*at) & 15];
    } else {
      encoded += *at;
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
