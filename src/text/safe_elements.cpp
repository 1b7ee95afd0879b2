// The allow-list of "Safe HTML".
//
// Left out on purpose: "id", "name" and "class", which would make a visitor's element pass for one
// of the page's; "style", which can cover the page and load files; "target"; everything that loads,
// runs, submits or changes the page around it.
#include "text/safe_elements.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>

namespace brevant {
namespace {

using E = TSafeElement;

constexpr std::uint16_t kBlock = E::kCommon | E::kBlockAlign;
constexpr std::uint16_t kCell = kBlock | E::kCellLook;
constexpr std::uint16_t kList = E::kCommon | E::kListLook;
constexpr std::uint16_t kColumn = E::kCommon | E::kBlockAlign | E::kCellLook | E::kColumns;

// Parts of documents and forms are shown as plain blocks: a mail is not a page of its own.
constexpr auto kElements = std::to_array<E>({
    {"a", "a"},
    {"abbr", "abbr"},
    {"acronym", "acronym"},
    {"address", "address"},
    {"article", "div", E::kNoFlags, kBlock},
    {"aside", "div", E::kNoFlags, kBlock},
    {"b", "b", E::kFormatting},
    {"bdi", "bdi"},
    {"bdo", "bdo"},
    {"big", "big", E::kFormatting},
    {"blockquote", "blockquote"},
    {"br", "br", E::kVoid, E::kCommon | E::kBreak},
    {"caption", "caption", E::kNoFlags, kBlock},
    {"center", "center"},
    {"cite", "cite"},
    {"code", "code", E::kFormatting},
    {"col", "col", E::kVoid, kColumn},
    {"colgroup", "colgroup", E::kNoFlags, kColumn},
    {"dd", "dd"},
    {"del", "del", E::kNoFlags, E::kCommon | E::kWhen},
    {"details", "details", E::kNoFlags, E::kCommon | E::kDisclosed},
    {"dfn", "dfn"},
    {"dir", "ul", E::kNoFlags, kList},
    {"div", "div", E::kNoFlags, kBlock},
    {"dl", "dl", E::kNoFlags, kList},
    {"dt", "dt"},
    {"em", "em", E::kFormatting},
    {"fieldset", "div"},
    {"figcaption", "figcaption"},
    {"figure", "figure"},
    {"font", "font", E::kFormatting, E::kCommon | E::kFontLook},
    {"footer", "div", E::kNoFlags, kBlock},
    {"form", "div"},
    {"h1", "h1", E::kNoFlags, kBlock},
    {"h2", "h2", E::kNoFlags, kBlock},
    {"h3", "h3", E::kNoFlags, kBlock},
    {"h4", "h4", E::kNoFlags, kBlock},
    {"h5", "h5", E::kNoFlags, kBlock},
    {"h6", "h6", E::kNoFlags, kBlock},
    {"header", "div", E::kNoFlags, kBlock},
    {"hgroup", "div"},
    {"hr", "hr", E::kVoid, kBlock | E::kRuleLook},
    {"i", "i", E::kFormatting},
    {"iframe", "", E::kTextToo},
    {"img", "img", E::kVoid, E::kCommon | E::kBlockAlign | E::kImageLook},
    {"ins", "ins", E::kNoFlags, E::kCommon | E::kWhen},
    {"kbd", "kbd"},
    {"legend", "div"},
    {"li", "li", E::kNoFlags, kList},
    {"listing", "pre"},
    {"main", "div"},
    {"mark", "mark"},
    {"math", "", E::kTextToo | E::kForeign},
    {"menu", "ul", E::kNoFlags, kList},
    {"nav", "div"},
    {"noembed", "", E::kTextToo},
    {"noframes", "", E::kTextToo},
    {"ol", "ol", E::kNoFlags, kList},
    {"p", "p", E::kNoFlags, kBlock},
    {"plaintext", "pre"},
    {"pre", "pre"},
    {"q", "q"},
    {"rp", "rp"},
    {"rt", "rt"},
    {"ruby", "ruby"},
    {"s", "s", E::kFormatting},
    {"samp", "samp"},
    {"script", "", E::kTextToo},
    {"search", "div"},
    {"section", "div", E::kNoFlags, kBlock},
    {"small", "small", E::kFormatting},
    {"span", "span"},
    {"strike", "s", E::kFormatting},
    {"strong", "strong", E::kFormatting},
    {"style", "", E::kTextToo},
    {"sub", "sub"},
    {"summary", "summary"},
    {"sup", "sup"},
    {"svg", "", E::kTextToo | E::kForeign},
    {"table", "table", E::kNoFlags, kBlock | E::kTableLook},
    {"tbody", "tbody", E::kNoFlags, kBlock},
    {"td", "td", E::kNoFlags, kCell},
    {"template", "", E::kTextToo},
    {"tfoot", "tfoot", E::kNoFlags, kBlock},
    {"th", "th", E::kNoFlags, kCell},
    {"thead", "thead", E::kNoFlags, kBlock},
    {"time", "time", E::kNoFlags, E::kCommon | E::kWhen},
    {"title", "", E::kTextToo},
    {"tr", "tr", E::kNoFlags, kCell},
    {"tt", "tt", E::kFormatting},
    {"u", "u", E::kFormatting},
    {"ul", "ul", E::kNoFlags, kList},
    {"var", "var"},
    {"wbr", "wbr", E::kVoid},
    {"xmp", "pre"},
});
static_assert(std::is_sorted(kElements.begin(), kElements.end(),
                             [](const E& a, const E& b) { return a.name < b.name; }));

constexpr std::uint16_t kSized = E::kTableLook | E::kCellLook | E::kImageLook | E::kRuleLook;
constexpr std::uint16_t kColoured = E::kTableLook | E::kCellLook;

constexpr auto kAttributes = std::to_array<TSafeAttribute>({
    {"abbr", E::kCellLook, TSafeValue::kText},
    {"align", E::kBlockAlign, TSafeValue::kWord},
    {"alt", E::kImageLook, TSafeValue::kText},
    {"bgcolor", kColoured, TSafeValue::kWord},
    {"border", E::kTableLook | E::kImageLook, TSafeValue::kNumber},
    {"cellpadding", E::kTableLook, TSafeValue::kNumber},
    {"cellspacing", E::kTableLook, TSafeValue::kNumber},
    {"clear", E::kBreak, TSafeValue::kWord},
    {"color", E::kFontLook | E::kRuleLook, TSafeValue::kWord},
    {"colspan", E::kCellLook, TSafeValue::kNumber},
    {"datetime", E::kWhen, TSafeValue::kText},
    {"dir", E::kCommon, TSafeValue::kWord},
    {"face", E::kFontLook, TSafeValue::kWord},
    {"frame", E::kTableLook, TSafeValue::kWord},
    {"height", kSized, TSafeValue::kNumber},
    {"hspace", E::kImageLook, TSafeValue::kNumber},
    {"lang", E::kCommon, TSafeValue::kWord},
    {"noshade", E::kRuleLook, TSafeValue::kFlag},
    {"nowrap", E::kCellLook, TSafeValue::kFlag},
    {"open", E::kDisclosed, TSafeValue::kFlag},
    {"reversed", E::kListLook, TSafeValue::kFlag},
    {"rowspan", E::kCellLook, TSafeValue::kNumber},
    {"rules", E::kTableLook, TSafeValue::kWord},
    {"scope", E::kCellLook, TSafeValue::kWord},
    {"size", E::kFontLook | E::kRuleLook, TSafeValue::kNumber},
    {"span", E::kColumns, TSafeValue::kNumber},
    {"start", E::kListLook, TSafeValue::kNumber},
    {"summary", E::kTableLook, TSafeValue::kText},
    {"title", E::kCommon, TSafeValue::kText},
    {"type", E::kListLook, TSafeValue::kWord},
    {"valign", E::kBlockAlign, TSafeValue::kWord},
    {"value", E::kListLook, TSafeValue::kNumber},
    {"vspace", E::kImageLook, TSafeValue::kNumber},
    {"width", kSized, TSafeValue::kNumber},
});
static_assert(std::is_sorted(kAttributes.begin(), kAttributes.end(),
                             [](const TSafeAttribute& a, const TSafeAttribute& b) {
                               return a.name < b.name;
                             }));

constexpr std::size_t kLongestName = 11;
static_assert(std::all_of(kElements.begin(), kElements.end(),
                          [](const E& e) { return e.name.size() <= kLongestName; }));
static_assert(std::all_of(kAttributes.begin(), kAttributes.end(),
                          [](const TSafeAttribute& a) { return a.name.size() <= kLongestName; }));

constexpr std::size_t kLongestText = 1024;
constexpr std::size_t kLongestWord = 64;
constexpr std::size_t kMostDigits = 4;

// Where the rows begin whose names begin with a letter, from "a" on, and the end of the last ones.
template <typename Row, std::size_t N>
constexpr std::array<std::uint8_t, 27> Letters(const std::array<Row, N>& rows) {
  std::array<std::uint8_t, 27> begins{};
  std::size_t row = 0;
  for (std::size_t letter = 0; letter < begins.size(); ++letter) {
    while (row < N && rows[row].name[0] < static_cast<char>('a' + letter)) ++row;
    begins[letter] = static_cast<std::uint8_t>(row);
  }
  return begins;
}
constexpr auto kElementLetters = Letters(kElements);
constexpr auto kAttributeLetters = Letters(kAttributes);

template <typename Row, std::size_t N>
const Row* Find(const std::array<Row, N>& rows, const std::array<std::uint8_t, 27>& letters,
                std::string_view name) {
  if (name.empty() || name.size() > kLongestName) return nullptr;
  std::array<char, kLongestName> lower;
  std::transform(name.begin(), name.end(), lower.begin(), ToLowerAscii);
  const std::string_view wanted(lower.data(), name.size());
  if (wanted[0] < 'a' || wanted[0] > 'z') return nullptr;
  const auto letter = static_cast<std::size_t>(wanted[0] - 'a');
  for (std::size_t row = letters[letter]; row < letters[letter + 1]; ++row) {
    if (rows[row].name == wanted) return &rows[row];
  }
  return nullptr;
}

bool IsNumber(std::string_view value) {
  if (value.starts_with('+') || value.starts_with('-')) value.remove_prefix(1);
  if (value.ends_with('%')) value.remove_suffix(1);
  return !value.empty() && value.size() <= kMostDigits &&
         std::all_of(value.begin(), value.end(), IsDigitAscii);
}

bool IsWord(std::string_view value) {
  return value.size() <= kLongestWord && std::all_of(value.begin(), value.end(), [](char c) {
           const char lower = ToLowerAscii(c);
           return IsDigitAscii(c) || (lower >= 'a' && lower <= 'z') ||
                  std::string_view(" #,._-").find(c) != std::string_view::npos;
         });
}

bool IsValue(TSafeValue kind, std::string_view value) {
  switch (kind) {
    case TSafeValue::kNumber:
      return IsNumber(value);
    case TSafeValue::kWord:
      return IsWord(value);
    case TSafeValue::kText:
      return value.size() <= kLongestText;
    default:
      return true;
  }
}

}  // namespace

const TElementRule* RuleOf(const TSafeElement& element) {
  static const auto kRules = [] {
    std::array<const TElementRule*, kElements.size()> rules{};
    for (std::size_t i = 0; i < rules.size(); ++i) rules[i] = FindElementRule(kElements[i].shownAs);
    return rules;
  }();
  return kRules[static_cast<std::size_t>(&element - kElements.data())];
}

const TSafeElement* FindSafeElement(std::string_view name) {
  return Find(kElements, kElementLetters, name);
}

std::span<const TSafeAttribute> SafeAttributes() { return kAttributes; }

const TSafeAttribute* FindSafeAttribute(const TSafeElement& element, std::string_view name,
                                        std::string_view value) {
  const TSafeAttribute* row = Find(kAttributes, kAttributeLetters, name);
  const bool fits =
      row != nullptr && (row->elements & element.attributes) != 0 && IsValue(row->value, value);
  return fits ? row : nullptr;
}

}  // namespace brevant
